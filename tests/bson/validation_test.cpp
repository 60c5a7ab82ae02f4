// Each rule of a well-formed document at its limit and one past it.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include <lutc/bsonDocument.h>
#include "bson/validator.h"
#include "tests/support/documents.h"

namespace {

// Validates a copy of exactly that size.
bool valid(const std::string& bytes, bool isArray = false) {
    const auto exact = std::make_unique<unsigned char[]>(bytes.size());
    memcpy(exact.get(), bytes.data(), bytes.size());
    return bsonDocument::isMessageValid(exact.get(), size_of(bytes), isArray);
}

std::string wrapped(const std::string& elements) {
    const std::uint32_t length = size_of(elements) + 5;
    return std::string(reinterpret_cast<const char*>(&length), 4) + elements + std::string(1, '\0');
}

TEST(Validation, documentFrame) {
    const std::pair<const char*, bool> rows[] = {
        {"", false},
        {"05000000", false},
        {"0500000000", true},
        {"0500000001", false},
        {"060000000000", false},
        {"050000000000", false},
        {"0400000000", false},
        {"0500008000", false},
        {"0C0000001061000100000000", true},
        {"0C0000001061000100000001", false},
        {"0D000000106100010000000000", false},
    };
    for (const auto& [hex, expected] : rows) EXPECT_EQ(valid(from_hex(hex)), expected) << hex;
}

TEST(Validation, bodies) {
    const std::pair<const char*, bool> rows[] = {
        // strings; a length of 0 passes, except where nothing follows it
        {"02 6B00 01000000 00", true},
        {"02 6B00 01000000 01", false},
        {"02 6B00 02000000 6100", true},
        {"02 6B00 03000000 6100", false},
        {"02 6B00 01000000 6100", false},
        {"02 6B00 00000000 0A 6B00", true},
        {"02 6B00 00000000", false},
        {"02 6B00 FFFFFFFF 6100", false},
        {"02 6B00 FCFFFFFF 6100", false},
        {"02 6B00 FFFFFF7F 6100", false},
        {"0D 6B00 00000000 0A 6B00", true},
        {"0E 6B00 02000000 6162", false},
        // db pointer
        {"0C 6B00 01000000 00 000102030405060708090A0B", true},
        {"0C 6B00 01000000 00 000102030405060708090A", false},
        {"0C 6B00 00000000 000102030405060708090A0B", true},
        {"0C 6B00 F4FFFFFF 00 000102030405060708090A0B", false},
        // binary
        {"05 6B00 00000000 00", true},
        {"05 6B00 00000000", false},
        {"05 6B00 02000000 00 0102", true},
        {"05 6B00 03000000 00 0102", false},
        {"05 6B00 FBFFFFFF 00 0102", false},
        // embedded documents
        {"03 6B00 05000000 00", true},
        {"03 6B00 05000000 01", false},
        {"03 6B00 04000000 00", false},
        {"03 6B00 06000000 00", false},
        {"03 6B00 00000000 00", false},
        {"03 6B00 FFFFFFFF 00", false},
        {"03 6B00 0D000000 0A 3000 0A 3200 0000", false},
        {"03 6B00 0B000000 0A 3000 0A 3200 00", true},
        {"04 6B00 0B000000 0A 3000 0A 3200 00", false},
        {"04 6B00 0B000000 0A 3000 0A 3100 00", true},
        {"03 6B00 0D000000 04 6B00 05000000 00 00", true},
        // javascript with scope: total length, code length, code, scope
        {"0F 6B00 0D000000 00000000 0500000000", true},
        {"0F 6B00 0F000000 02000000 FFFF 0500000000", true},
        {"0F 6B00 0E000000 02000000 FFFF 0500000000", false},
        {"0F 6B00 10000000 02000000 FFFF 0500000000", false},
        {"0F 6B00 0F000000 01000000 FFFF 0500000000", false},
        {"0F 6B00 0F000000 03000000 FFFF 0500000000", false},
        {"0F 6B00 0F000000 FFFFFFFF FFFF 0500000000", false},
        {"0F 6B00 0F000000 0F000000 FFFF 0500000000 0A 6B6B6B6B6B6B6B F8FFFFFF 00", false},
        {"0F 6B00 FFFFFFFF 02000000 FFFF 0500000000", false},
        {"0F 6B00 0F000000 02000000 FFFF 0600000000", false},
        {"0F 6B00 00000000 00000000 0500000000", false},
        // fixed sizes, and their bytes one short
        {"08 6B00 00", true},
        {"08 6B00 01", true},
        {"08 6B00 02", false},
        {"08 6B00", false},
        {"10 6B00 01020304", true},
        {"10 6B00 010203", false},
        {"01 6B00 01020304050607", false},
        {"12 6B00 0102030405060708", true},
        {"07 6B00 000102030405060708090A", false},
        // regular expression
        {"0B 6B00 00 00", true},
        {"0B 6B00 6100 6900", true},
        {"0B 6B00 6100 69", false},
        {"0B 6B00 61", false},
        // bodiless kinds, unknown ones too; keys
        {"13 6B00 00 00 FF 6B00 7F 00", true},
        {"0A 6B", false},
        {"0A", false},
        {"10 6B", false},
    };
    for (const auto& [hex, expected] : rows) EXPECT_EQ(valid(wrapped(from_hex(hex))), expected) << hex;
}

TEST(Validation, arrayKeysAreReadAsNumbers) {
    const struct {
        std::vector<std::string> keys;
        bool expected;
    } rows[] = {
        {{"0", "1", "2"}, true},
        {{"00", "01"}, true},
        {{" 0", "\t\n\v\f\r 1"}, true},
        {{"+0", "+1"}, true},
        {{"-0"}, true},
        {{""}, true},
        {{"x", "1x", "2 "}, true},
        {{"0", "0000000000000000000001"}, true},
        {{"1"}, false},
        {{"0", "2"}, false},
        {{"0", "-1"}, false},
        {{"0", ""}, false},
        {{"4294967296"}, false},
        {{"0", "4294967297"}, false},
        {{"0", "18446744073709551617"}, false},
        {{"0", "-4294967295"}, false},
        {{"0", "+-1"}, false},
    };
    for (const auto& row : rows) {
        std::string elements, named;
        for (const auto& key : row.keys) {
            elements += "\x0A" + key + '\0';
            named += key + "|";
        }
        EXPECT_EQ(valid(wrapped(elements), true), row.expected) << named;
        EXPECT_TRUE(valid(wrapped(elements), false)) << named;
    }
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
