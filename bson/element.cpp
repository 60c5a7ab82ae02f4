#include <cstring>
#include <memory>
#include <stdexcept>

#include <lutc/bsonDocument.h>
#include "bson/batch.h"
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/wire_format.h"

using namespace lutc_bson;

namespace {

// What a raw value is stored as: a copy of the bytes when there are any to copy, else the pointer itself.
unsigned char* stored_bytes(const unsigned char* bytes, std::uint32_t size, bool copy) {
    if (copy && bytes != nullptr && size != 0) return new_copy_of_bytes(bytes, size);
    return const_cast<unsigned char*>(bytes);
}

void replace_value(bsonElement& element, bson_type type, unsigned char* bytes, std::uint32_t size) noexcept {
    element.clearValue();
    element.valueType = byte_of(type);
    element.binarySubtype = 0;
    element.value = bytes;
    element.valueSize = size;
}

void replace_with8_bytes(bsonElement& element, bson_type type, std::uint64_t bits) {
    unsigned char* const bytes = new_bytes(8);
    store64(bytes, bits);
    replace_value(element, type, bytes, 8);
}

}  // namespace

bsonElement::bsonElement()
    : valueType(0),
      valueSize(0),
      value(nullptr),
      ownsValue(true),
      ownsDocument(true),
      documentValue(nullptr),
      binarySubtype(0) {}

bsonElement::bsonElement(const std::string& name)
    : valueType(byte_of(bson_type::null)),
      valueSize(0),
      value(nullptr),
      ownsValue(true),
      ownsDocument(true),
      documentValue(nullptr),
      binarySubtype(0),
      key(name) {}

bsonElement::bsonElement(const std::string& name, bool new_value) : bsonElement(name) { setBoolValue(new_value); }

bsonElement::bsonElement(const std::string& name, std::int32_t new_value) : bsonElement(name) {
    setInt32Value(new_value);
}

bsonElement::bsonElement(const std::string& name, std::int64_t new_value) : bsonElement(name) {
    setInt64Value(new_value);
}

bsonElement::bsonElement(const std::string& name, double new_value) : bsonElement(name) { setDoubleValue(new_value); }

bsonElement::bsonElement(const std::string& name, const std::string& new_value) : bsonElement(name) {
    setStringValue(new_value);
}

bsonElement::bsonElement(const std::string& name, const char* new_value)
    : bsonElement(name, std::string(new_value != nullptr ? new_value : "")) {}

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

bsonElement::~bsonElement() { clearValue(); }

void* bsonElement::operator new(std::size_t size) { return new_alone(size); }

void bsonElement::operator delete(void* element) noexcept { delete_placed(element); }

void bsonElement::clearValue() noexcept {
    if (ownsValue && valueSize != 0) std::free(value);
    value = nullptr;
    valueSize = 0;
    ownsValue = true;
    if (ownsDocument) delete documentValue;
    documentValue = nullptr;
    ownsDocument = true;
}

void bsonElement::setNullValue() noexcept { replace_value(*this, bson_type::null, nullptr, 0); }

void bsonElement::setBoolValue(bool new_value) {
    unsigned char* const bytes = new_bytes(1);
    bytes[0] = new_value ? 1 : 0;
    replace_value(*this, bson_type::boolean, bytes, 1);
}

void bsonElement::setInt32Value(std::int32_t new_value) {
    unsigned char* const bytes = new_bytes(4);
    store32(bytes, static_cast<std::uint32_t>(new_value));
    replace_value(*this, bson_type::int32, bytes, 4);
}

void bsonElement::setInt64Value(std::int64_t new_value) {
    replace_with8_bytes(*this, bson_type::int64, static_cast<std::uint64_t>(new_value));
}

void bsonElement::setDoubleValue(double new_value) {
    static_assert(sizeof(double) == 8, "doubles are IEEE 754 binary64");
    std::uint64_t bits;
    std::memcpy(&bits, &new_value, sizeof bits);
    replace_with8_bytes(*this, bson_type::real, bits);
}

void bsonElement::setStringValue(const std::string& new_value) {
    const std::size_t size = new_value.size() + 1;
    if (size > UINT32_MAX) throw std::length_error("the string is longer than 32 bits can say");
    replace_value(*this, bson_type::string,
                  new_copy_of_bytes(reinterpret_cast<const unsigned char*>(new_value.c_str()), size),
                  static_cast<std::uint32_t>(size));
}

void bsonElement::setBinaryValue(const unsigned char* bytes, std::uint32_t size, bool copy, std::uint8_t subtype) {
    replace_value(*this, bson_type::binary, stored_bytes(bytes, size, copy), size);
    ownsValue = copy;
    binarySubtype = subtype;
}

void bsonElement::setDocumentValue(bsonDocument* document, bool adopt, bool isArray) noexcept {
    if (document == documentValue) documentValue = nullptr;  // keeps a document that is set again
    replace_value(*this, isArray ? bson_type::array : bson_type::document, nullptr, 0);
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

bsonElement* bsonElement::getCopy() const {
    auto copy = std::make_unique<bsonElement>();
    copy_without_document(*copy, *this);
    if (documentValue != nullptr) {
        copy->documentValue = ownsDocument ? documentValue->getCopy() : documentValue;
        copy->ownsDocument = ownsDocument;
    }
    return copy.release();
}

void lutc_bson::copy_without_document(bsonElement& copy, const bsonElement& source) {
    copy.key = source.key;
    copy.valueType = source.valueType;
    copy.binarySubtype = source.binarySubtype;
    copy.value = stored_bytes(source.value, source.valueSize, source.ownsValue);
    copy.valueSize = source.valueSize;
    copy.ownsValue = source.ownsValue;
}
