// The adders, typed getters and deletions of a document.
#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include <lutc/bsonDocument.h>
#include "tests/support/documents.h"

namespace {

TEST(Edits, addersAppendTheirKind) {
    bsonDocument document;
    std::string bytes = "\x01\x02";
    document.addBooleanElement("b", true);
    document.addInt32Element("i", -1);
    document.addInt32Element(0, 3);
    document.addInt32Element(-5, 4);
    document.addDoubleElement("d", 0.5);
    document.addStringElement("s", "x");
    document.addStringElement(0, static_cast<const char*>(nullptr));
    document.addStringElement("n", 5);
    document.addStringElement(-12, std::numeric_limits<std::int32_t>::min());
    document.addBinaryElement("y", bytes_of(bytes), 2);
    bytes[0] = 9;
    document.addDocumentElement("o", document_from("{'p':1}").release(), false);
    document.addDocumentElement("a", document_from("{'0':2}").release(), true);
    document.addDocumentElement(7, new bsonDocument, false);
    document.addBooleanElement("b", false);
    EXPECT_EQ(text_of(document),
              "{'b':true,'i':-1,'0':3,'-5':4,'d':0.5,'s':'x','0':'','n':'5','-12':'-2147483648','y':'hex:0102',"
              "'o':{'p':1},'a':[2],'7':{},'b':false}");
    EXPECT_TRUE(document.message == nullptr && document.messageSize == 0);  // adding doesn't encode
}

// An output keeps its 99, "-" or null unless the element is of the getter's own kind.
TEST(Edits, typedGettersTellMissingFromMistyped) {
    const auto document = document_from(
        "{'string':'x','int32':-7,'double':0.1,'boolean':true,'binary':'hex:0102','document':{'n':1},'array':[2]}");
    document->addInt32Element("string", 1);  // is not the first of that key
    const std::pair<const char*, const char*> rows[] = {
        {"missing", "0 0 0 0 0 0 0 0: - 99 99 99 99 99 . ."},
        {"string", "1 -1 -1 -1 -1 -1 -1 -1: x 99 99 99 99 99 . ."},
        {"int32", "-1 1 -1 -1 -1 -1 -1 -1: - -7 99 99 99 99 . ."},
        {"double", "-1 -1 1 1 -1 -1 -1 -1: - 99 0.1 0.1 99 99 . ."},
        {"boolean", "-1 -1 -1 -1 1 -1 -1 -1: - 99 99 99 1 99 . ."},
        {"binary", "-1 -1 -1 -1 -1 1 -1 -1: - 99 99 99 99 2=0102 . ."},
        {"document", "-1 -1 -1 -1 -1 -1 1 -1: - 99 99 99 99 99 {'n':1} ."},
        {"array", "-1 -1 -1 -1 -1 -1 -1 1: - 99 99 99 99 99 . [2]"},
    };
    for (const auto& [key, expected] : rows) {
        std::string text = "-";
        std::int32_t number = 99;
        double real = 99;
        float narrow = 99;
        unsigned char truth = 99, *data = nullptr;
        std::uint32_t size = 99;
        bsonDocument *inner = nullptr, *array = nullptr;
        std::ostringstream got;
        got << document->getStringWithKey(key, text) << ' ' << document->getInt32WithKey(key, &number) << ' '
            << document->getDoubleWithKey(key, &real) << ' ' << document->getFloatWithKey(key, &narrow) << ' '
            << document->getBooleanWithKey(key, reinterpret_cast<bool*>(&truth)) << ' '
            << document->getBinaryWithKey(key, &data, &size) << ' ' << document->getDocumentWithKey(key, &inner) << ' '
            << document->getArrayWithKey(key, &array) << ": " << text << ' ' << number << ' ' << real << ' ' << narrow
            << ' ' << int{truth} << ' ' << size << (data ? "=" + to_hex(data, size) : "") << ' '
            << (inner ? text_of(*inner) : ".") << ' ' << (array ? text_of(*array, true) : ".");
        EXPECT_EQ(got.str(), expected) << key;
    }
}

TEST(Edits, occurrencesAreFoundAndDeletedOneByOne) {
    bsonDocument document;
    document.addInt32Element("a", 1);
    document.addStringElement("b", "x");
    document.addInt32Element("a", 2);
    document.addDocumentElement("d", document_from("{'e':[1]}").release(), false);
    const auto& list = document.elementList;
    EXPECT_EQ(document.getElementListWithKey("a"), (std::vector<bsonElement*>{list[0], list[2]}));
    EXPECT_EQ(document.getElementListWithValueType(0x10), (std::vector<bsonElement*>{list[0], list[2]}));
    for (const auto& [occurrence, found] : {std::pair(0, list[0]), {1, list[2]}, {2, nullptr}, {-1, nullptr}}) {
        EXPECT_EQ(document.getElementWithKey("a", occurrence), found);
        EXPECT_EQ(document.getElementWithValueType(0x10, occurrence), found);
    }
    for (const char* key : {"A", "", "aa"}) EXPECT_EQ(document.getElementWithKey(key, 0), nullptr);
    EXPECT_EQ(document.deleteElementWithKey("a", 0), 1);
    EXPECT_EQ(document.deleteElementWithKey("a", 1), 0);
    EXPECT_EQ(document.deleteElementWithKey("a", -1), 0);
    EXPECT_EQ(document.deleteElementWithValueType(0x08, 0), 0);
    EXPECT_EQ(text_of(document), "{'b':'x','a':2,'d':{'e':[1]}}");
    EXPECT_EQ(document.deleteElementWithValueType(0x03, 0), 1);
    EXPECT_EQ(text_of(document), "{'b':'x','a':2}");
}

}  // namespace
