// Builds a BSON document with the document classes, encodes it, decodes the bytes again and prints what they
// hold. Needs no service.
#include <lutc/bsonDocument.h>

#include <cstdio>
#include <memory>

int main() {
    auto slope = std::make_unique<bsonDocument>();
    slope->elementList.push_back(new bsonElement("0", 1.1));  // the document owns its elements
    slope->elementList.push_back(new bsonElement("1", 1.0));
    slope->elementList.push_back(new bsonElement("2", 0.9));

    const unsigned char table[] = {0x00, 0x40, 0x80, 0xC0, 0xFF};
    bsonDocument grade;
    grade.addStringElement("name", "evening");
    grade.addInt32Element("gradeComboIndex", 2);
    grade.addBooleanElement("applyPreset", true);
    grade.addDocumentElement("slope", slope.get(), true);
    slope.release();  // handed over to the element
    grade.addBinaryElement("data", table, sizeof table);

    grade.convertElementListToMessage();
    std::printf("%u bytes\n", grade.messageSize);

    bsonDocument received(grade.message, grade.messageSize, true, false);
    if (received.convertMessageToElementList(true) != 1) {
        std::fprintf(stderr, "build_and_dump: not a valid document\n");
        return 1;
    }
    std::int32_t combination = 0;
    if (received.getInt32WithKey("gradeComboIndex", &combination) != 1) return 1;
    std::printf("combination %d\n", static_cast<int>(combination));
    received.debugPrint(0);
    return 0;
}
