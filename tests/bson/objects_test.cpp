// Elements and documents as objects: values, ownership, copies.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include <lutc/bsonDocument.h>
#include "tests/support/documents.h"

namespace {

// One rule for what constructors and adders take. What they refuse would become a boolean or another number.
template <class T>
constexpr bool makes_element = std::is_constructible_v<bsonElement, const char*, T>;
template <class T, class = void>
constexpr bool adds_int32 = false;
template <class T>
constexpr bool
    adds_int32<T, std::void_t<decltype(std::declval<bsonDocument&>().addInt32Element("k", std::declval<T>()))>> = true;
template <class T, class = void>
constexpr bool adds_string = false;
template <class T>
constexpr bool
    adds_string<T, std::void_t<decltype(std::declval<bsonDocument&>().addStringElement(1, std::declval<T>()))>> = true;
template <class T, class = void>
constexpr bool adds_boolean = false;
template <class T>
constexpr bool
    adds_boolean<T, std::void_t<decltype(std::declval<bsonDocument&>().addBooleanElement("k", std::declval<T>()))>> =
        true;

enum plain { first, second };
enum class scoped { first };
enum wide : std::uint32_t { third };
using bit = std::vector<bool>::reference;

template <class... T>
constexpr bool are_int32 = ((makes_element<T> && adds_int32<T> && adds_string<T> && !adds_boolean<T>)&&...);
template <class... T>
constexpr bool are_no_int32 = ((!adds_int32<T> && (!adds_string<T> || std::is_convertible_v<T, std::string>)) && ...);
template <class... T>
constexpr bool are_refused = ((!makes_element<T> && !adds_string<T> && !adds_boolean<T>)&&...) && are_no_int32<T...>;
static_assert(are_int32<std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t, plain>);
static_assert(are_no_int32<bool, bit, std::int64_t, long long, float, double, const char*, std::string>);
static_assert(are_refused<std::uint32_t, std::uint64_t, char, wchar_t, char16_t, long double, scoped, wide, void*,
                          const int*, std::nullptr_t>);
static_assert(makes_element<bool> && makes_element<bit> && makes_element<long long> && makes_element<float> &&
              makes_element<std::int64_t> && makes_element<const char*> && makes_element<std::string>);
static_assert(adds_boolean<bool> && adds_boolean<bit> && adds_string<const char*> && adds_string<std::string>);
static_assert(!std::is_constructible_v<bsonElement, std::nullptr_t>);
static_assert(!std::is_copy_constructible_v<bsonElement> && !std::is_copy_assignable_v<bsonDocument>);

std::unique_ptr<bsonElement> raw(std::uint8_t type, const std::string& bytes, std::uint8_t subtype = 0) {
    return std::make_unique<bsonElement>(type, "k", bytes_of(bytes), size_of(bytes), true, subtype);
}

// Kind, subtype and value bytes.
std::string look(const bsonElement& element) {
    return to_hex(&element.valueType, 1) + " " + to_hex(&element.binarySubtype, 1) + " " +
           to_hex(element.value, element.valueSize);
}

TEST(Element, constructorsAndSettersStoreTheBytesOfTheirKind) {
    const std::string inner("a\0b", 3);
    const unsigned char bytes[] = {1, 2};
    struct {
        bsonElement element;
        const char* expected;
    } const made[] = {
        {{}, "00 00 "},
        {bsonElement("k"), "0A 00 "},
        {{"k", true}, "08 00 01"},
        {{"k", std::int32_t{-2}}, "10 00 FEFFFFFF"},
        {{"k", std::int64_t{-2}}, "12 00 FEFFFFFFFFFFFFFF"},
        {{"k", std::uint8_t{200}}, "10 00 C8000000"},
        {{"k", second}, "10 00 01000000"},
        {{"k", std::vector<bool>{true}[0]}, "08 00 01"},
        {{"k", static_cast<const char*>(nullptr)}, "02 00 00"},
        {{"k", 1.0}, "01 00 000000000000F03F"},
        {{"k", "ab"}, "02 00 616200"},
        {{"k", inner}, "02 00 61006200"},
        {{"k", bytes, 2, true, 0x80}, "05 80 0102"},
        {{0x13, "k", bytes, 2, true, 7}, "13 07 0102"},
    };
    for (const auto& one : made) {
        EXPECT_EQ(look(one.element), one.expected);
        EXPECT_TRUE(one.element.ownsValue && one.element.ownsDocument && !one.element.documentValue);
    }
    EXPECT_EQ(made[11].element.getStringValue(), inner);

    bsonElement element("k", new bsonDocument, true, true);
    EXPECT_EQ(look(element), "04 00 ");
    element.setDocumentValue(element.documentValue, true, false);  // the same once more
    EXPECT_EQ(look(element) + text_of(*element.documentValue), "03 00 {}");
    element.setInt32Value(1);  // the document goes
    EXPECT_EQ(element.documentValue, nullptr);
    element.setBinaryValue(bytes, 2, true, 0x80);
    element.clearValue();
    EXPECT_EQ(look(element), "05 80 ");
    const std::pair<void (*)(bsonElement&), const char*> setters[] = {
        {[](bsonElement& e) { e.setBoolValue(false); }, "08 00 00"},
        {[](bsonElement& e) { e.setInt64Value(1); }, "12 00 0100000000000000"},
        {[](bsonElement& e) { e.setDoubleValue(-0.0); }, "01 00 0000000000000080"},
        {[](bsonElement& e) { e.setStringValue(static_cast<const char*>(nullptr)); }, "02 00 00"},
        {[](bsonElement& e) { e.setStringValue(e.getStringValue() + e.key); }, "02 00 6B00"},
        {[](bsonElement& e) { e.setNullValue(); }, "0A 00 "},
    };
    for (const auto& [set, expected] : setters) {
        set(element);
        EXPECT_EQ(look(element), expected);
    }
}

TEST(Element, gettersReadWhateverBytesThereAre) {
    const struct {
        const char* hex;
        bool as_bool;
        std::int32_t as_int32;
        std::int64_t as_int64;
        double as_double;
    } rows[] = {
        {"", false, 0, 0, 0.0},
        {"00FF", false, 0, 0, 0.0},
        {"3412", true, 52, 52, 0.0},
        {"FF0000", true, 255, 255, 0.0},
        {"FFFFFFFF", true, -1, -1, 0.0},
        {"FEFFFFFF000000", true, -2, -2, 0.0},
        {"0100000000000080", true, 1, -9223372036854775807, -4.9406564584124654e-324},
        {"000000000000F83FFF", false, 0, 0x3FF8000000000000, 1.5},
        {"02", true, 2, 2, 0.0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.hex);
        const auto element = raw(0x0A, from_hex(row.hex));
        EXPECT_EQ(element->getBoolValue(), row.as_bool);
        EXPECT_EQ(element->getInt32Value(), row.as_int32);
        EXPECT_EQ(element->getInt64Value(), row.as_int64);
        EXPECT_EQ(element->getDoubleValue(), row.as_double);
        const std::string all = from_hex(row.hex);
        EXPECT_EQ(element->getStringValue(), all.substr(0, all.empty() ? 0 : all.size() - 1));
    }
    bsonDocument document;  // null is written without a body, whatever it holds
    document.elementList.push_back(raw(0x0A, "bytes").release());
    EXPECT_EQ(to_hex(encoded(document)), "080000000A6B0000");
    const bsonElement nothing(0x10, "k", nullptr, 4, true, 0);
    EXPECT_EQ(nothing.getInt32Value(), 0);
    EXPECT_EQ(nothing.getStringValue(), "");
}

TEST(Element, bytesAreCopiedBorrowedOrAdoptedAsTold) {
    unsigned char bytes[] = {1, 2, 3};
    bsonElement borrowing("k", bytes, 3, false, 0x80);
    bsonElement copying("k", bytes, 3, true, 0);
    bytes[0] = 9;
    std::uint32_t size = 0;
    bool owned = true;
    std::uint8_t subtype = 0;
    EXPECT_EQ(borrowing.getBinaryValue(&size, &owned, &subtype), bytes);
    EXPECT_EQ(std::make_tuple(size, owned, subtype), std::make_tuple(3u, false, 0x80));
    EXPECT_EQ(look(borrowing), "05 80 090203");
    EXPECT_EQ(copying.getBinaryValue(&size, nullptr, nullptr)[0], 1);

    const std::unique_ptr<bsonElement> shared(borrowing.getCopy()), separate(copying.getCopy());
    EXPECT_TRUE(shared->value == bytes && !shared->ownsValue && shared->binarySubtype == 0x80);
    EXPECT_TRUE(separate->value != copying.value && separate->ownsValue && look(*separate) == look(copying));
    borrowing.clearValue();
    EXPECT_TRUE(borrowing.ownsValue && !borrowing.value && borrowing.valueSize == 0);

    bsonElement adopting("k", static_cast<unsigned char*>(std::malloc(2)), 2, false, 0);
    adopting.ownsValue = true;  // from here on the element releases the block
}

TEST(Element, documentsAreOwnedOrReferredToAsTold) {
    const auto inner = document_from("{'n':1}");
    bsonElement referring("k", inner.get(), false, false);
    const std::unique_ptr<bsonElement> shared(referring.getCopy());
    EXPECT_TRUE(shared->documentValue == inner.get() && !shared->ownsDocument);

    const auto owner = document_from("{'a':{'b':[1,'x']},'c':'hex:FF'}");
    const std::unique_ptr<bsonDocument> copy(owner->getCopy());
    EXPECT_NE(copy->elementList[0]->documentValue, owner->elementList[0]->documentValue);
    owner->clearElementList();
    EXPECT_EQ(text_of(*copy), "{'a':{'b':[1,'x']},'c':'hex:FF'}");
    EXPECT_EQ(text_of(*owner), "{}");
    referring.clearValue();
    EXPECT_TRUE(referring.ownsDocument);
    EXPECT_EQ(text_of(*inner), "{'n':1}");
}

TEST(Element, rawConstructorDecodesDocuments) {
    std::string bytes = encoded("{'0':7}");
    const auto array = raw(0x04, bytes), broken = raw(0x03, "broken");
    bytes.assign(bytes.size(), 'x');
    EXPECT_EQ(look(*array), "04 00 ");
    EXPECT_EQ(text_of(*array->documentValue, true), "[7]");
    EXPECT_EQ(text_of(*broken->documentValue), "{}");
    EXPECT_EQ(broken->documentValue->messageSize, 6u);
}

TEST(Document, messageIsCopiedOrBorrowedAsTold) {
    std::string bytes = encoded("{'n':1}");
    bsonDocument copying(bytes_of(bytes), size_of(bytes), true, true);
    bsonDocument borrowing(bytes_of(bytes), size_of(bytes), false, true);
    const std::unique_ptr<bsonDocument> separate(copying.getCopy()), shared(borrowing.getCopy());
    EXPECT_TRUE(copying.ownsMessage && separate->ownsMessage && separate->message != copying.message);
    EXPECT_TRUE(!borrowing.ownsMessage && !shared->ownsMessage && shared->message == bytes_of(bytes));
    bytes.assign(bytes.size(), 'x');
    EXPECT_EQ(text_of(copying) + text_of(borrowing) + text_of(*shared), "{'n':1}{'n':1}{'n':1}");
    EXPECT_EQ(to_hex(separate->message, separate->messageSize), to_hex(encoded("{'n':1}")));

    borrowing.clearMessage();
    EXPECT_TRUE(!borrowing.message && borrowing.messageSize == 0 && borrowing.ownsMessage);
    EXPECT_EQ(text_of(borrowing), "{'n':1}");

    const bsonDocument invalid(bytes_of(bytes), size_of(bytes), true, true);
    EXPECT_TRUE(invalid.elementList.empty() && invalid.messageSize == bytes.size());
    const bsonDocument none(nullptr, 7, true, true);  // reads as no bytes
    EXPECT_TRUE(none.elementList.empty());
    const std::unique_ptr<bsonDocument> copy_of_none(none.getCopy());
    EXPECT_FALSE(bsonDocument::isMessageValid(nullptr, 7, false));
}

}  // namespace
