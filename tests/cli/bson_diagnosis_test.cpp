#include "cli/bson_diagnosis.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>

namespace {

using Bytes = std::vector<unsigned char>;

// One element of every kind.
Bytes sample() {
    bsonDocument document;
    const unsigned char twelve[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const unsigned char pointer[] = "ns\0twelve bytes";
    const unsigned char expression[] = "a.*\0i";
    const unsigned char scope[] = {15, 0, 0, 0, 2, 0, 0, 0, 'x', 0, 5, 0, 0, 0, 0};
    for (const int type : {0x01, 0x09, 0x11, 0x12}) {
        document.elementList.push_back(new bsonElement(static_cast<std::uint8_t>(type), "eight", twelve, 8, true, 0));
    }
    document.elementList.push_back(new bsonElement(0x07, "id", twelve, 12, true, 0));
    document.elementList.push_back(new bsonElement(0x0B, "re", expression, 6, true, 0));
    document.elementList.push_back(new bsonElement(0x0C, "ptr", pointer, 15, true, 0));
    document.elementList.push_back(new bsonElement(0x0F, "scope", scope, 15, true, 0));
    document.addStringElement("s", "text");
    document.addInt32Element("i", 7);
    document.addBooleanElement("b", true);
    document.addBinaryElement("bin", twelve, 3);
    document.elementList.push_back(new bsonElement("n"));
    auto* inner = new bsonDocument;
    auto* list = new bsonDocument;
    list->addStringElement(0, "x");
    list->addInt32Element(1, 2);
    inner->addDocumentElement("list", list, true);
    document.addDocumentElement("d", inner, false);
    document.convertElementListToMessage();
    return Bytes(document.message, document.message + document.messageSize);
}

void expect_agreement(const Bytes& bytes) {
    const bool valid = bsonDocument::isMessageValid(bytes.data(), static_cast<std::uint32_t>(bytes.size()), false);
    const auto defect = lutc_cli::find_defect(bytes.data(), bytes.size());
    ASSERT_EQ(valid, !defect.has_value()) << (defect ? defect->reason : "no defect found");
    if (!valid) {
        ASSERT_LE(defect->position, bytes.size());
    }
}

TEST(BsonDiagnosis, AgreesWithTheValidatorOnEveryDamage) {
    const Bytes whole = sample();
    expect_agreement(whole);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        expect_agreement(cut);
        if (size < 5) continue;
        cut[0] = static_cast<unsigned char>(size);
        cut[size - 1] = 0;
        expect_agreement(cut);
    }
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (int value = 0; value < 256; ++value) {
            Bytes changed = whole;
            changed[i] = static_cast<unsigned char>(value);
            expect_agreement(changed);
        }
    }
}

TEST(BsonDiagnosis, SaysWhereAndWhy) {
    const struct {
        std::string bytes;
        std::size_t position;
        const char* reason;
    } cases[] = {
        {std::string("\5\0\0\0", 4), 0, "at least 5 bytes"},
        {std::string("\6\0\0\0\0", 5), 0, "the length says 6 bytes; there are 5"},
        {std::string("\5\0\0\0\1", 5), 4, "does not end with a zero byte"},
        {std::string("\11\0\0\0\10b\0\2\0", 9), 7, "element 'b': a boolean is 0 or 1"},
        {std::string("\10\0\0\0\20a\0\0", 8), 7, "element 'a': its value needs 4 bytes; 0 are left"},
        {std::string("\20\0\0\0\4a\0\10\0\0\0\n1\0\0\0", 16), 12, "element 0 of an array has the key '1'"},
    };
    for (const auto& one : cases) {
        const auto defect =
            lutc_cli::find_defect(reinterpret_cast<const unsigned char*>(one.bytes.data()), one.bytes.size());
        ASSERT_TRUE(defect.has_value()) << one.reason;
        EXPECT_EQ(defect->position, one.position) << one.reason;
        EXPECT_NE(defect->reason.find(one.reason), std::string::npos) << defect->reason;
    }
    const Bytes unknown = {16, 0, 0, 0, 3, 'd', 0, 8, 0, 0, 0, 0x13, 'x', 0, 0, 0};
    EXPECT_FALSE(lutc_cli::find_defect(unknown.data(), unknown.size()).has_value());
    EXPECT_EQ(lutc_cli::find_unknown_type(unknown.data(), unknown.size()).value().position, 11u);
}

}  // namespace
