#include <cstring>
#include <stdexcept>

#include <lutc/bsonDocument.h>
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/wire_format.h"

using namespace lutc_bson;

namespace {

// A value in a buffer of its own.
struct stored_value {
    bson_type type;
    unsigned char* bytes;
    std::uint32_t size;
};

stored_value store(bool value) {
    unsigned char* const bytes = new_bytes(1);
    bytes[0] = value ? 1 : 0;
    return {bson_type::boolean, bytes, 1};
}

stored_value store(std::int32_t value) {
    unsigned char* const bytes = new_bytes(4);
    store32(bytes, static_cast<std::uint32_t>(value));
    return {bson_type::int32, bytes, 4};
}

stored_value store(std::int64_t value) {
    unsigned char* const bytes = new_bytes(8);
    store64(bytes, static_cast<std::uint64_t>(value));
    return {bson_type::int64, bytes, 8};
}

stored_value store(double value) {
    static_assert(sizeof(double) == 8, "doubles are IEEE 754 binary64");
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    unsigned char* const bytes = new_bytes(8);
    store64(bytes, bits);
    return {bson_type::real, bytes, 8};
}

// The text is followed by a zero byte, which is stored too.
stored_value store(const char* text, std::size_t length) {
    if (length >= UINT32_MAX) throw std::length_error("the string is longer than 32 bits can say");
    unsigned char* const bytes = new_copy_of_bytes(reinterpret_cast<const unsigned char*>(text), length + 1);
    return {bson_type::string, bytes, static_cast<std::uint32_t>(length + 1)};
}

// For an element that holds no bytes.
void hold(bsonElement& element, const stored_value& value) noexcept {
    element.valueType = byte_of(value.type);
    element.binarySubtype = 0;
    element.value = value.bytes;
    element.valueSize = value.size;
}

void replace(bsonElement& element, const stored_value& value) noexcept {
    element.clearValue();
    hold(element, value);
}

}  // namespace

bsonElement::bsonElement(const std::string& name)
    : valueType(byte_of(bson_type::null)),
      valueSize(0),
      value(nullptr),
      ownsValue(true),
      ownsDocument(true),
      documentValue(nullptr),
      binarySubtype(0),
      key(name) {}

bsonElement::bsonElement(const std::string& name, bool new_value) : bsonElement(name) { hold(*this, store(new_value)); }

bsonElement::bsonElement(const std::string& name, std::int32_t new_value) : bsonElement(name) {
    hold(*this, store(new_value));
}

bsonElement::bsonElement(const std::string& name, std::int64_t new_value) : bsonElement(name) {
    hold(*this, store(new_value));
}

bsonElement::bsonElement(const std::string& name, double new_value) : bsonElement(name) {
    hold(*this, store(new_value));
}

bsonElement::bsonElement(const std::string& name, const std::string& new_value) : bsonElement(name) {
    hold(*this, store(new_value.c_str(), new_value.size()));
}

bsonElement::bsonElement(const std::string& name, const char* new_value) : bsonElement(name) {
    const char* const text = new_value != nullptr ? new_value : "";
    hold(*this, store(text, std::strlen(text)));
}

bsonElement::bsonElement(const std::string& name, const unsigned char* bytes, std::uint32_t size, bool copy,
                         std::uint8_t subtype)
    : bsonElement(name) {
    setBinaryValue(bytes, size, copy, subtype);
}

bsonElement::bsonElement(const std::string& name, bsonDocument* document, bool adopt, bool isArray)
    : bsonElement(name) {
    setDocumentValue(document, adopt, isArray);
}

bsonElement::bsonElement(std::uint8_t raw_type, const std::string& name, const unsigned char* bytes, std::uint32_t size,
                         bool copy, std::uint8_t subtype)
    : bsonElement(name) {
    valueType = raw_type;
    binarySubtype = subtype;
    ownsValue = copy;
    if (is_document_type(raw_type)) {
        documentValue = new bsonDocument(bytes, size, true, true);
        return;
    }
    value = stored_bytes(bytes, size, copy);
    valueSize = size;
}

void bsonElement::setNullValue() noexcept { replace(*this, {bson_type::null, nullptr, 0}); }

void bsonElement::setBoolValue(bool new_value) { replace(*this, store(new_value)); }

void bsonElement::setInt32Value(std::int32_t new_value) { replace(*this, store(new_value)); }

void bsonElement::setInt64Value(std::int64_t new_value) { replace(*this, store(new_value)); }

void bsonElement::setDoubleValue(double new_value) { replace(*this, store(new_value)); }

void bsonElement::setStringValue(const std::string& new_value) {
    replace(*this, store(new_value.c_str(), new_value.size()));
}

void bsonElement::setBinaryValue(const unsigned char* bytes, std::uint32_t size, bool copy, std::uint8_t subtype) {
    replace(*this, {bson_type::binary, stored_bytes(bytes, size, copy), size});
    ownsValue = copy;
    binarySubtype = subtype;
}

void bsonElement::setDocumentValue(bsonDocument* document, bool adopt, bool isArray) noexcept {
    if (document == documentValue) documentValue = nullptr;  // keeps a document that is set again
    replace(*this, {isArray ? bson_type::array : bson_type::document, nullptr, 0});
    documentValue = document;
    ownsDocument = adopt;
}

std::uint8_t bsonElement::getValueType() const noexcept { return valueType; }

std::uint32_t bsonElement::getValueSize() const noexcept { return valueSize; }

unsigned char* bsonElement::getValue() const noexcept { return value; }

bsonDocument* bsonElement::getDocumentValue() const noexcept { return documentValue; }

unsigned char* bsonElement::getBinaryValue(std::uint32_t* size, bool* owned, std::uint8_t* subtype) const noexcept {
    *size = valueSize;
    if (owned != nullptr) *owned = ownsValue;
    if (subtype != nullptr) *subtype = binarySubtype;
    return value;
}

bool bsonElement::getBoolValue() const noexcept { return readable_size(*this) != 0 && value[0] != 0; }

std::int32_t bsonElement::getInt32Value() const noexcept {
    const std::uint32_t size = readable_size(*this);
    if (size >= 4) return static_cast<std::int32_t>(load32(value));
    return size == 0 ? 0 : value[0];
}

std::int64_t bsonElement::getInt64Value() const noexcept {
    if (readable_size(*this) >= 8) return static_cast<std::int64_t>(load64(value));
    return getInt32Value();
}

double bsonElement::getDoubleValue() const noexcept {
    if (readable_size(*this) < 8) return 0.0;
    const std::uint64_t bits = load64(value);
    double result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

std::string bsonElement::getStringValue() const {
    const std::uint32_t size = readable_size(*this);
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(value), size - 1);
}
