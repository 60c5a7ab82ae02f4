// Elements to bytes and back, and why bytes are refused. The rules of a valid document are fuzz_documents'.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <stdexcept>

#include <lutc/bsonDocument.h>
#include "bson/validator.h"
#include "tests/support/documents.h"

namespace {

std::string wrapped(const std::string& elements) {
    const std::uint32_t length = size_of(elements) + 5;
    return std::string(reinterpret_cast<const char*>(&length), 4) + elements + std::string(1, '\0');
}

TEST(Wire, valuesAreTheBytesBehindTheKey) {
    const struct {
        const char* element;
        const char* value;
    } rows[] = {
        {"02 6B00 03000000 686900", "686900"},
        {"05 6B00 02000000 80 AABB", "AABB"},
        {"06 6B00", ""},
        {"07 6B00 000102030405060708090A0B", "000102030405060708090A0B"},
        {"0B 6B00 5E6100 6900", "5E61006900"},
        {"0C 6B00 02000000 6E00 000102030405060708090A0B", "6E00000102030405060708090A0B"},
        {"0F 6B00 0F000000 02000000 6600 05000000 00", "0F0000000200000066000500000000"},
        {"12 6B00 0000000000000080", "0000000000000080"},
    };
    for (const auto& row : rows) {
        const std::string bytes = wrapped(from_hex(row.element));
        const bsonDocument document(bytes_of(bytes), size_of(bytes), true, true);
        const bsonElement& element = *document.elementList.at(0);
        EXPECT_EQ(to_hex(element.value, element.valueSize), row.value) << row.element;
        EXPECT_EQ(element.binarySubtype, 0) << row.element;
    }
    bsonDocument document;  // a subtype is sent, and reads as 0
    document.elementList.push_back(new bsonElement("b", bytes_of("x"), 1, true, 0x80));
    EXPECT_EQ(to_hex(encoded(document)), to_hex(from_hex("0E000000 05 6200 01000000 80 78 00")));
}

TEST(Wire, decodingGoesAsFarAsItCan) {
    const std::string unknown = wrapped(from_hex("10 6100 01000000 13 6200 0A 6300"));  // no element has type 0x13
    const struct {
        std::string bytes;
        bool validated;
        std::int32_t result;
        const char* text;
    } rows[] = {
        {"", false, 1, "{}"},
        {"", true, 0, "{}"},
        {unknown, true, 0, "{'a':1}"},
        {wrapped(from_hex("03 6F00") + unknown + from_hex("08 7A00 01")), true, 1, "{'o':{'a':1},'z':true}"},
        {wrapped(from_hex("00 6200")), true, 0, "{}"},
        {from_hex("0C000000 10 6100 0100"), false, 0, "{}"},  // reaching past the end
        {from_hex("0F000000 02 7300 FFFFFFFF 686900 00"), false, 0, "{}"},
        {from_hex("0F000000 03 7300 10000000 686900 00"), false, 0, "{}"},
        // An embedded document is validated all the same: this one's boolean is 2.
        {wrapped(from_hex("03 6400 09000000 08 6200 02 00 0A 6E00")), false, 1, "{'d':{},'n':null}"},
    };
    for (const auto& row : rows) {
        bsonDocument document(row.bytes.empty() ? nullptr : bytes_of(row.bytes), size_of(row.bytes), true, false);
        document.addInt32Element("old", 1);
        EXPECT_EQ(document.convertMessageToElementList(row.validated), row.result) << to_hex(row.bytes);
        EXPECT_EQ(text_of(document), row.text) << to_hex(row.bytes);
    }
}

TEST(Wire, embeddedDocumentsBorrowUntilTheyAreEncoded) {
    const std::string bytes = encoded("{'d':{'n':5,'e':[1]}}");
    bsonDocument parent(bytes_of(bytes), size_of(bytes), true, true);
    bsonDocument* child = parent.elementList.at(0)->documentValue;
    EXPECT_FALSE(child->ownsMessage);
    EXPECT_EQ(child->message, parent.message + 7);
    EXPECT_EQ(child->messageSize, bytes.size() - 8);

    child->getElementWithKey("n", 0)->setStringValue("six");
    EXPECT_EQ(decoded(encoded(parent)), "{'d':{'n':'six','e':[1]}}");
    EXPECT_TRUE(child->ownsMessage);
    parent.clearMessage();
    EXPECT_EQ(decoded(std::string(reinterpret_cast<char*>(child->message), child->messageSize)), text_of(*child));
}

TEST(Wire, encodingRefusesWhatHasNoEncoding) {
    bsonDocument document;
    document.addInt32Element("a", 1);
    const std::string before = encoded(document);
    document.elementList.push_back(new bsonElement("d", static_cast<bsonDocument*>(nullptr), true, false));
    EXPECT_THROW(document.calculateMessageSizeFromKeyValueList(), std::invalid_argument);
    EXPECT_THROW(document.convertElementListToMessage(), std::invalid_argument);
    document.deleteElementWithKey("d", 0);

    // The same megabyte, borrowed 4096 times, is 4 GiB.
    const std::string large(1 << 20, 'x');
    for (int i = 0; i < 4096; ++i) {
        document.elementList.push_back(new bsonElement("", bytes_of(large), size_of(large), false, 0));
    }
    EXPECT_THROW(document.calculateMessageSizeFromKeyValueList(), std::length_error);
    EXPECT_THROW(document.convertElementListToMessage(), std::length_error);
    EXPECT_EQ(to_hex(document.message, document.messageSize), to_hex(before));

    bsonDocument null;
    null.elementList.push_back(new bsonElement(0x02, "s", nullptr, 4, true, 0));
    EXPECT_EQ(to_hex(encoded(null)), "0C0000000273000000000000");  // no bytes, whatever the size says
}

TEST(Validation, saysWhereAndWhy) {
    using lutc_bson::rule;
    const struct {
        std::string bytes;
        rule broken;
        std::uint32_t position;
        const char* path;
    } rows[] = {
        {from_hex("05000000"), rule::smallest_size, 0, ""},
        {from_hex("06000000 00"), rule::length, 0, ""},
        {from_hex("05000000 01"), rule::last_byte, 4, ""},
        {wrapped(from_hex("0A 6B00 0A 6B")), rule::key_end, 8, ""},
        {wrapped(from_hex("04 6100 08000000 0A 3100 00")), rule::array_key, 12, "a.1"},
        {wrapped(from_hex("0A 6900 03 6400 0A000000 10 6E00 0102 00")), rule::body_end, 17, "d.n"},
        {wrapped(from_hex("03 6400 09000000 08 6200 02 00")), rule::boolean, 14, "d.b"},
        {wrapped(from_hex("02 7300 02000000 6161")), rule::text_end, 12, "s"},
        {wrapped(from_hex("0F 6B00 0F000000 FFFFFFFF FFFF 0500000000")), rule::code_length, 11, "k"},
        {wrapped(from_hex("0F 6B00 0F000000 02000000 FFFF 0600000000")), rule::length, 17, "k"},
        {wrapped(from_hex("0F 6B00 13000000 02000000 6600 09000000 08 6200 02 00")), rule::boolean, 24, "k.b"},
        {wrapped(from_hex("03 6400 08000000 13 7800 00 14 6300")), rule::none, 11, "d.x"},  // the unknown type byte
    };
    for (const auto& row : rows) {
        const auto found = lutc_bson::validate(bytes_of(row.bytes), size_of(row.bytes), false);
        const std::uint32_t position = row.broken == rule::none ? found.unknown_type : found.position;
        EXPECT_TRUE(found.broken == row.broken) << to_hex(row.bytes) << ": " << static_cast<int>(found.broken);
        EXPECT_EQ(position, row.position) << to_hex(row.bytes);
        EXPECT_EQ(lutc_bson::path_to(bytes_of(row.bytes), size_of(row.bytes), position), row.path);
    }
}

}  // namespace
