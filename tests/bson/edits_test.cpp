// The adders, typed getters and deletions of a document.
#include <gtest/gtest.h>

#include <functional>
#include <limits>

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
    EXPECT_EQ(document.message, nullptr);  // adding doesn't encode
}

TEST(Edits, typedGettersTellMissingFromMistyped) {
    const auto document = document_from(
        "{'string':'x','int32':-7,'double':0.1,'boolean':true,'binary':'hex:0102','document':{'n':1},'array':[2]}");
    // Prints what was written; an output that must stay untouched prints its sentinel.
    const std::pair<std::string, std::function<std::string(const std::string&)>> getters[] = {
        {"string",
         [&](const std::string& key) {
             std::string out = "-";
             return std::to_string(document->getStringWithKey(key, out)) + out;
         }},
        {"int32",
         [&](const std::string& key) {
             std::int32_t out = 99;
             const auto result = document->getInt32WithKey(key, &out);
             return std::to_string(result) + (out == 99 ? "-" : std::to_string(out));
         }},
        {"double",
         [&](const std::string& key) {
             double out = 99;
             float narrow = 99;
             const auto result = document->getDoubleWithKey(key, &out);
             EXPECT_EQ(document->getFloatWithKey(key, &narrow), result);
             if (result != 1) return std::to_string(result) + (out == 99.0 && narrow == 99.0F ? "-" : "written");
             return "1" + std::string(out == 0.1 && narrow == 0.1F ? "0.1" : "wrong");
         }},
        {"boolean",
         [&](const std::string& key) {
             unsigned char out = 99;
             const auto result = document->getBooleanWithKey(key, reinterpret_cast<bool*>(&out));
             return std::to_string(result) + (out == 99 ? "-" : std::to_string(out));
         }},
        {"binary",
         [&](const std::string& key) {
             unsigned char* data = nullptr;
             std::uint32_t size = 99;
             const auto result = document->getBinaryWithKey(key, &data, &size);
             return std::to_string(result) + (size == 99 ? "-" : to_hex(data, size));
         }},
        {"document",
         [&](const std::string& key) {
             bsonDocument* out = nullptr;
             const auto result = document->getDocumentWithKey(key, &out);
             return std::to_string(result) + (out ? text_of(*out) : "-");
         }},
        {"array",
         [&](const std::string& key) {
             bsonDocument* out = nullptr;
             const auto result = document->getArrayWithKey(key, &out);
             return std::to_string(result) + (out ? text_of(*out, true) : "-");
         }},
    };
    const char* const values[] = {"1x", "1-7", "10.1", "11", "10102", "1{'n':1}", "1[2]"};
    for (std::size_t g = 0; g < std::size(getters); ++g) {
        const auto& [own, get] = getters[g];
        SCOPED_TRACE(own);
        EXPECT_EQ(get("missing"), "0-");
        for (const auto& [kind, unused] : getters) EXPECT_EQ(get(kind), kind == own ? values[g] : "-1-") << kind;
    }
}

TEST(Edits, typedGettersLookAtTheFirstElementAlone) {
    bsonDocument document;
    document.addStringElement("v", "text");
    document.addInt32Element("v", 1);
    std::int32_t out = 99;
    EXPECT_EQ(document.getInt32WithKey("v", &out), -1);
    EXPECT_EQ(out, 99);
}

TEST(Edits, deletionsRemoveOneOccurrence) {
    bsonDocument document;
    document.addInt32Element("a", 1);
    document.addStringElement("b", "x");
    document.addInt32Element("a", 2);
    document.addDocumentElement("d", document_from("{'e':[1]}").release(), false);
    EXPECT_EQ(document.deleteElementWithKey("a", 0), 1);
    EXPECT_EQ(document.deleteElementWithKey("a", 1), 0);
    EXPECT_EQ(document.deleteElementWithKey("a", -1), 0);
    EXPECT_EQ(document.deleteElementWithValueType(0x08, 0), 0);
    EXPECT_EQ(text_of(document), "{'b':'x','a':2,'d':{'e':[1]}}");
    EXPECT_EQ(document.deleteElementWithValueType(0x03, 0), 1);
    EXPECT_EQ(text_of(document), "{'b':'x','a':2}");
}

}  // namespace
