#include <algorithm>
#include <iterator>
#include <memory>

#include <lutc/bsonDocument.h>
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/validator.h"

using namespace lutc_bson;

namespace {

template <class Matches>
std::vector<bsonElement*>::const_iterator find_occurrence(const std::vector<bsonElement*>& list, Matches matches,
                                                          std::int32_t occurrence) noexcept {
    if (occurrence < 0) return list.end();
    return std::find_if(list.begin(), list.end(),
                        [&](const bsonElement* element) { return matches(*element) && occurrence-- == 0; });
}

template <class Matches>
bsonElement* find(const bsonDocument& document, Matches matches, std::int32_t occurrence) noexcept {
    const auto place = find_occurrence(document.elementList, matches, occurrence);
    return place == document.elementList.end() ? nullptr : *place;
}

template <class Matches>
std::vector<bsonElement*> find_all(const bsonDocument& document, Matches matches) {
    std::vector<bsonElement*> found;
    std::copy_if(document.elementList.begin(), document.elementList.end(), std::back_inserter(found),
                 [&](const bsonElement* element) { return matches(*element); });
    return found;
}

template <class Matches>
std::int32_t delete_occurrence(bsonDocument& document, Matches matches, std::int32_t occurrence) noexcept {
    const auto place = find_occurrence(document.elementList, matches, occurrence);
    if (place == document.elementList.end()) return 0;
    const std::unique_ptr<bsonElement> element(*place);
    document.elementList.erase(place);
    return 1;
}

auto has_key(const std::string& key) {
    return [&key](const bsonElement& element) { return element.key == key; };
}

auto has_type(bson_type type) {
    return [type](const bsonElement& element) { return element.valueType == type; };
}

template <class Value>
void add(bsonDocument& document, const std::string& key, const Value& value) {
    append(document.elementList, std::make_unique<bsonElement>(key, value));
}

// The result of a typed getter, and the element when it is 1.
std::int32_t find_typed(const bsonDocument& document, const std::string& key, bson_type type,
                        const bsonElement*& found) noexcept {
    found = document.getElementWithKey(key, 0);
    if (found == nullptr) return 0;
    return found->valueType == type ? 1 : -1;
}

template <class Value, class Read>
std::int32_t get_typed(const bsonDocument& document, const std::string& key, bson_type type, Value& out, Read read) {
    const bsonElement* element;
    const std::int32_t result = find_typed(document, key, type, element);
    if (result == 1) out = read(*element);
    return result;
}

}  // namespace

bsonDocument::bsonDocument(const unsigned char* bytes, std::uint32_t size, bool copy, bool parse) : bsonDocument() {
    const bool copy_bytes = copy && bytes != nullptr && size != 0;
    message = copy_bytes ? new_copy_of_bytes(bytes, size) : const_cast<unsigned char*>(bytes);
    messageSize = size;
    ownsMessage = copy;
    if (parse) convertMessageToElementList(true);
}

bool bsonDocument::isMessageValid(const unsigned char* bytes, std::uint32_t size, bool isArray) {
    return validate(bytes, size, isArray).broken == rule::none;
}

bsonElement* bsonDocument::getElementWithKey(const std::string& key, std::int32_t occurrence) const noexcept {
    return find(*this, has_key(key), occurrence);
}

bsonElement* bsonDocument::getElementWithValueType(std::uint8_t type, std::int32_t occurrence) const noexcept {
    return find(*this, has_type(bson_type{type}), occurrence);
}

std::vector<bsonElement*> bsonDocument::getElementListWithKey(const std::string& key) const {
    return find_all(*this, has_key(key));
}

std::vector<bsonElement*> bsonDocument::getElementListWithValueType(std::uint8_t type) const {
    return find_all(*this, has_type(bson_type{type}));
}

void bsonDocument::addBooleanElement(const std::string& key, bool value) { add(*this, key, value); }

void bsonDocument::addInt32Element(const std::string& key, std::int32_t value) { add(*this, key, value); }

void bsonDocument::addInt32Element(std::int32_t index, std::int32_t value) { add(*this, std::to_string(index), value); }

void bsonDocument::addDoubleElement(const std::string& key, double value) { add(*this, key, value); }

void bsonDocument::addStringElement(const std::string& key, const std::string& value) { add(*this, key, value); }

void bsonDocument::addStringElement(std::int32_t index, const std::string& value) {
    add(*this, std::to_string(index), value);
}

void bsonDocument::addStringElement(const std::string& key, std::int32_t value) {
    add(*this, key, std::to_string(value));
}

void bsonDocument::addStringElement(std::int32_t index, std::int32_t value) {
    add(*this, std::to_string(index), std::to_string(value));
}

void bsonDocument::addBinaryElement(const std::string& key, const unsigned char* bytes, std::uint32_t size) {
    append(elementList, std::make_unique<bsonElement>(key, bytes, size, true, std::uint8_t{0}));
}

void bsonDocument::addDocumentElement(const std::string& key, bsonDocument* document, bool isArray) {
    append(elementList, std::make_unique<bsonElement>(key, document, false, isArray));
    elementList.back()->ownsDocument = true;  // only now: until here the caller keeps it
}

void bsonDocument::addDocumentElement(std::int32_t index, bsonDocument* document, bool isArray) {
    addDocumentElement(std::to_string(index), document, isArray);
}

std::int32_t bsonDocument::getStringWithKey(const std::string& key, std::string& out) const {
    return get_typed(*this, key, bson_type::string, out, [](const bsonElement& e) { return e.getStringValue(); });
}

std::int32_t bsonDocument::getInt32WithKey(const std::string& key, std::int32_t* out) const noexcept {
    return get_typed(*this, key, bson_type::int32, *out, [](const bsonElement& e) { return e.getInt32Value(); });
}

std::int32_t bsonDocument::getDoubleWithKey(const std::string& key, double* out) const noexcept {
    return get_typed(*this, key, bson_type::real, *out, [](const bsonElement& e) { return e.getDoubleValue(); });
}

std::int32_t bsonDocument::getFloatWithKey(const std::string& key, float* out) const noexcept {
    return get_typed(*this, key, bson_type::real, *out,
                     [](const bsonElement& e) { return static_cast<float>(e.getDoubleValue()); });
}

std::int32_t bsonDocument::getBooleanWithKey(const std::string& key, bool* out) const noexcept {
    return get_typed(*this, key, bson_type::boolean, *out, [](const bsonElement& e) { return e.getBoolValue(); });
}

std::int32_t bsonDocument::getBinaryWithKey(const std::string& key, unsigned char** data,
                                            std::uint32_t* size) const noexcept {
    return get_typed(*this, key, bson_type::binary, *data,
                     [size](const bsonElement& e) { return e.getBinaryValue(size, nullptr, nullptr); });
}

std::int32_t bsonDocument::getDocumentWithKey(const std::string& key, bsonDocument** out) const noexcept {
    return get_typed(*this, key, bson_type::document, *out, [](const bsonElement& e) { return e.documentValue; });
}

std::int32_t bsonDocument::getArrayWithKey(const std::string& key, bsonDocument** out) const noexcept {
    return get_typed(*this, key, bson_type::array, *out, [](const bsonElement& e) { return e.documentValue; });
}

std::int32_t bsonDocument::deleteElementWithKey(const std::string& key, std::int32_t occurrence) noexcept {
    return delete_occurrence(*this, has_key(key), occurrence);
}

std::int32_t bsonDocument::deleteElementWithValueType(std::uint8_t type, std::int32_t occurrence) noexcept {
    return delete_occurrence(*this, has_type(bson_type{type}), occurrence);
}
