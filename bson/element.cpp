#include <cstring>
#include <memory>
#include <stdexcept>

#include "bson/batch.h"
#include <lutc/bsonDocument.h>
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/wire_format.h"

using namespace lutc_bson;

namespace {

// What a raw value is stored as: a copy of the bytes when there are any to copy, else the pointer itself.
unsigned char* storedBytes(const unsigned char* bytes, std::uint32_t size, bool copy) {
    if (copy && bytes != nullptr && size != 0) return newCopyOfBytes(bytes, size);
    return const_cast<unsigned char*>(bytes);
}

void replaceValue(bsonElement& element, std::uint8_t valueType, unsigned char* bytes, std::uint32_t size) noexcept {
    element.clearValue();
    element.valueType = valueType;
    element.binarySubtype = 0;
    element.value = bytes;
    element.valueSize = size;
}

void replaceWith8Bytes(bsonElement& element, std::uint8_t valueType, std::uint64_t bits) {
    unsigned char* const bytes = newBytes(8);
    store64(bytes, bits);
    replaceValue(element, valueType, bytes, 8);
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
    : valueType(type::null),
      valueSize(0),
      value(nullptr),
      ownsValue(true),
      ownsDocument(true),
      documentValue(nullptr),
      binarySubtype(0),
      key(name) {}

bsonElement::bsonElement(const std::string& name, bool newValue) : bsonElement(name) { setBoolValue(newValue); }

bsonElement::bsonElement(const std::string& name, std::int32_t newValue) : bsonElement(name) {
    setInt32Value(newValue);
}

bsonElement::bsonElement(const std::string& name, std::int64_t newValue) : bsonElement(name) {
    setInt64Value(newValue);
}

bsonElement::bsonElement(const std::string& name, double newValue) : bsonElement(name) { setDoubleValue(newValue); }

bsonElement::bsonElement(const std::string& name, const std::string& newValue) : bsonElement(name) {
    setStringValue(newValue);
}

bsonElement::bsonElement(const std::string& name, const char* newValue)
    : bsonElement(name, std::string(newValue != nullptr ? newValue : "")) {}

bsonElement::bsonElement(const std::string& name, const unsigned char* bytes, std::uint32_t size, bool copy,
                         std::uint8_t subtype)
    : bsonElement(name) {
    setBinaryValue(bytes, size, copy, subtype);
}

bsonElement::bsonElement(const std::string& name, bsonDocument* document, bool adopt, bool isArray)
    : bsonElement(name) {
    setDocumentValue(document, adopt, isArray);
}

bsonElement::bsonElement(std::uint8_t rawType, const std::string& name, const unsigned char* bytes, std::uint32_t size,
                         bool copy, std::uint8_t subtype)
    : bsonElement(name) {
    valueType = rawType;
    binarySubtype = subtype;
    ownsValue = copy;
    if (isDocumentType(rawType)) {
        documentValue = new bsonDocument(bytes, size, true, true);
        return;
    }
    value = storedBytes(bytes, size, copy);
    valueSize = size;
}

bsonElement::~bsonElement() { clearValue(); }

void* bsonElement::operator new(std::size_t size) { return newAlone(size); }

void bsonElement::operator delete(void* element) noexcept { deletePlaced(element); }

void bsonElement::clearValue() noexcept {
    if (ownsValue && valueSize != 0) std::free(value);
    value = nullptr;
    valueSize = 0;
    ownsValue = true;
    if (ownsDocument) delete documentValue;
    documentValue = nullptr;
    ownsDocument = true;
}

void bsonElement::setNullValue() noexcept { replaceValue(*this, type::null, nullptr, 0); }

void bsonElement::setBoolValue(bool newValue) {
    unsigned char* const bytes = newBytes(1);
    bytes[0] = newValue ? 1 : 0;
    replaceValue(*this, type::boolean, bytes, 1);
}

void bsonElement::setInt32Value(std::int32_t newValue) {
    unsigned char* const bytes = newBytes(4);
    store32(bytes, static_cast<std::uint32_t>(newValue));
    replaceValue(*this, type::int32, bytes, 4);
}

void bsonElement::setInt64Value(std::int64_t newValue) {
    replaceWith8Bytes(*this, type::int64, static_cast<std::uint64_t>(newValue));
}

void bsonElement::setDoubleValue(double newValue) {
    static_assert(sizeof(double) == 8, "doubles are IEEE 754 binary64");
    std::uint64_t bits;
    std::memcpy(&bits, &newValue, sizeof bits);
    replaceWith8Bytes(*this, type::real, bits);
}

void bsonElement::setStringValue(const std::string& newValue) {
    const std::size_t size = newValue.size() + 1;
    if (size > UINT32_MAX) throw std::length_error("the string is longer than 32 bits can say");
    replaceValue(*this, type::string, newCopyOfBytes(reinterpret_cast<const unsigned char*>(newValue.c_str()), size),
                 static_cast<std::uint32_t>(size));
}

void bsonElement::setBinaryValue(const unsigned char* bytes, std::uint32_t size, bool copy, std::uint8_t subtype) {
    replaceValue(*this, type::binary, storedBytes(bytes, size, copy), size);
    ownsValue = copy;
    binarySubtype = subtype;
}

void bsonElement::setDocumentValue(bsonDocument* document, bool adopt, bool isArray) noexcept {
    if (document == documentValue) documentValue = nullptr;  // keeps a document that is set again
    replaceValue(*this, isArray ? type::array : type::document, nullptr, 0);
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

bool bsonElement::getBoolValue() const noexcept { return readableSize(*this) != 0 && value[0] != 0; }

std::int32_t bsonElement::getInt32Value() const noexcept {
    const std::uint32_t size = readableSize(*this);
    if (size >= 4) return static_cast<std::int32_t>(load32(value));
    return size == 0 ? 0 : value[0];
}

std::int64_t bsonElement::getInt64Value() const noexcept {
    if (readableSize(*this) >= 8) return static_cast<std::int64_t>(load64(value));
    return getInt32Value();
}

double bsonElement::getDoubleValue() const noexcept {
    if (readableSize(*this) < 8) return 0.0;
    const std::uint64_t bits = load64(value);
    double result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

std::string bsonElement::getStringValue() const {
    const std::uint32_t size = readableSize(*this);
    return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(value), size - 1);
}

bsonElement* bsonElement::getCopy() const {
    std::unique_ptr<bsonElement> copy = copyWithoutDocument(*this);
    if (documentValue != nullptr) {
        copy->ownsDocument = ownsDocument;
        copy->documentValue = ownsDocument ? documentValue->getCopy() : documentValue;
    }
    return copy.release();
}

std::unique_ptr<bsonElement> lutc_bson::copyWithoutDocument(const bsonElement& source) {
    auto copy = std::make_unique<bsonElement>(source.key);
    copy->valueType = source.valueType;
    copy->binarySubtype = source.binarySubtype;
    copy->value = storedBytes(source.value, source.valueSize, source.ownsValue);
    copy->valueSize = source.valueSize;
    copy->ownsValue = source.ownsValue;
    return copy;
}
