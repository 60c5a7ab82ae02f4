// Any bytes through validate, decode, measure, encode, copy, look up, dump and delete.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/validator.h"
#include "tests/fuzz/target.h"
#include "tests/support/check.h"

namespace {

using bytes = std::vector<unsigned char>;
using document_ptr = std::unique_ptr<bsonDocument>;

// The rules of a valid document, written down plainly and recursively. On the way it makes what encoding must give
// back: null in place of undefined, min key and max key, and binary subtypes of 0.
class reference {
  public:
    static constexpr int deepest = 200;

    bytes normal;                   // the bytes as they come back, if the document is valid and whole
    bool unknown_at_top = false;    // a type byte outside the table, in the document itself
    bool unknown_anywhere = false;  // or in an embedded one
    bool too_deep = false;          // gave up

    reference(const unsigned char* data, std::size_t size) : normal(data, data + size) {}

    bool is_valid(std::size_t start, std::uint64_t size, bool isArray, int depth = 0, bool in_scope = false) {
        if (size < 5 || size > normal.size() - start || number(start) != size) return false;
        const std::size_t last = start + static_cast<std::size_t>(size) - 1;
        if (normal[last] != 0) return false;
        if (depth > deepest) too_deep = true;
        if (too_deep) return true;
        std::size_t at = start + 4;
        for (long index = 0; at < last; ++index) {
            const std::size_t type_at = at++;
            const std::size_t key = at;
            while (at < last && normal[at] != 0) ++at;
            if (at == last) return false;
            const std::size_t body = at + 1;
            if (isArray && std::strtol(reinterpret_cast<const char*>(&normal[key]), nullptr, 10) != index) return false;
            const std::uint64_t end = end_of_body(type_at, body, last, depth, in_scope);
            if (end == 0 || end > last) return false;
            at = static_cast<std::size_t>(end);
        }
        return true;
    }

  private:
    std::uint64_t number(std::size_t at) const {
        std::uint64_t value = 0;
        for (int i = 3; i >= 0; --i) value = value << 8 | normal[at + static_cast<std::size_t>(i)];
        return value;
    }

    // Where the value at v ends; 0 when it doesn't.
    std::uint64_t end_of_body(std::size_t type_at, std::size_t v, std::size_t last, int depth, bool in_scope) {
        static const std::map<unsigned char, std::uint64_t> fixed = {{0x01, 8}, {0x06, 0}, {0x07, 12}, {0x08, 1},
                                                                     {0x09, 8}, {0x0A, 0}, {0x10, 4},  {0x11, 8},
                                                                     {0x12, 8}, {0x7F, 0}, {0xFF, 0}};
        static const std::map<unsigned char, std::size_t> smallest = {{0x02, 5}, {0x03, 5}, {0x04, 5}, {0x05, 5},
                                                                      {0x0C, 5}, {0x0D, 5}, {0x0E, 5}, {0x0F, 9}};
        const unsigned char type = normal[type_at];
        if (const auto size = fixed.find(type); size != fixed.end()) {
            if (type == 0x08 && normal[v] > 1) return 0;
            if (size->second == 0 && !in_scope) normal[type_at] = 0x0A;
            return v + size->second;
        }
        if (type == 0x0B) {
            for (int strings = 0; strings < 2; ++v) {
                if (v >= last) return 0;
                if (normal[v] == 0) ++strings;
            }
            return v;
        }
        const auto least = smallest.find(type);
        if (least == smallest.end()) {
            unknown_anywhere |= !in_scope;
            unknown_at_top |= !in_scope && depth == 0;
            return v;
        }
        if (v + least->second > last) return 0;
        const std::uint64_t length = number(v);
        if (type == 0x03 || type == 0x04) {
            return v + length <= last && is_valid(v, length, type == 0x04, depth + 1, in_scope) ? v + length : 0;
        }
        if (type == 0x05) {
            if (!in_scope && v + 5 + length <= last) normal[v + 4] = 0;
            return v + 5 + length;
        }
        if (type == 0x0F) {
            const std::uint64_t scope = 8 + static_cast<std::uint64_t>(number(v + 4));
            if (v + scope > last || v + length > last || length < scope) return 0;
            return is_valid(v + static_cast<std::size_t>(scope), length - scope, false, depth + 1, true) ? v + length
                                                                                                         : 0;
        }
        const std::uint64_t end = v + 4 + length, tail = type == 0x0C ? 12 : 0;
        return end + tail <= last && normal[static_cast<std::size_t>(end) - 1] == 0 ? end + tail : 0;
    }
};

bytes encoding_of(bsonDocument& document) {
    const std::uint32_t measured = document.calculateMessageSizeFromKeyValueList();
    document.convertElementListToMessage();
    CHECK(document.messageSize == measured && document.ownsMessage);
    return {document.message, document.message + document.messageSize};
}

// Every element is found by its key and its kind; all can be deleted.
void look_up_and_delete(bsonDocument& document) {
    for (const bsonElement* const element : document.elementList) {
        const bsonElement* const first = document.getElementWithKey(element->key, 0);
        CHECK(first != nullptr && first->key == element->key);
        CHECK(!document.getElementListWithValueType(element->valueType).empty());
    }
    while (!document.elementList.empty()) {
        const std::size_t before = document.elementList.size();
        CHECK(document.deleteElementWithKey(std::string(document.elementList.back()->key), 0) == 1);
        CHECK(document.elementList.size() == before - 1);
    }
}

// Whatever the bytes are: decoding that takes them on trust reads nothing beyond them, and gives a whole tree.
void decode_on_trust(const std::uint8_t* data, std::uint32_t size, bool valid, std::int32_t validated_result,
                     const bytes& encoding) {
    bsonDocument trusting(data, size, false, false);
    const std::int32_t result = trusting.convertMessageToElementList(false);
    CHECK(result == 0 || result == 1);
    const bytes again = encoding_of(trusting);
    if (valid) CHECK(result == validated_result && again == encoding);
}

// A copy holds everything but the message of the original's embedded documents, and not even that once it is encoded.
void check_copies(const std::uint8_t* data, std::uint32_t size, const bytes& encoding) {
    auto original = std::make_unique<bsonDocument>(data, size, true, true);
    const document_ptr copy(original->getCopy());
    CHECK(copy->messageSize == size && std::memcmp(copy->message, data, size) == 0);
    CHECK(encoding_of(*copy) == encoding);
    original.reset();
    const document_ptr second(copy->getCopy());
    CHECK(encoding_of(*second) == encoding && encoding_of(*copy) == encoding);
}

const bool output_is_closed = std::freopen("/dev/null", "w", stdout) != nullptr;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t length) {
    const auto size = static_cast<std::uint32_t>(length);
    reference expected(data, length);
    reference expected_array(data, length);
    const bool valid = bsonDocument::isMessageValid(data, size, false);
    const bool same = expected.is_valid(0, length, false) == valid;
    CHECK(same || expected.too_deep);
    const lutc_bson::verdict found = lutc_bson::validate(data, size, false);
    CHECK(valid || found.position <= size);
    CHECK(!valid || !expected.unknown_anywhere || found.unknown_type < size);
    CHECK(lutc_bson::path_to(data, size, valid ? found.unknown_type : found.position).size() <= size);
    CHECK(expected_array.is_valid(0, length, true) == bsonDocument::isMessageValid(data, size, true) ||
          expected_array.too_deep);

    bsonDocument document(data, size, false, false);
    const std::int32_t result = document.convertMessageToElementList(true);
    if (!valid) {
        CHECK(result == 0 && document.elementList.empty());
        decode_on_trust(data, size, false, 0, {});
        return 0;
    }
    if (!expected.too_deep) CHECK(result == (expected.unknown_at_top ? 0 : 1));
    CHECK(document.message == data && !document.ownsMessage);
    const bytes encoding = encoding_of(document);
    if (!expected.too_deep && !expected.unknown_anywhere) CHECK(encoding == expected.normal);
    if (!expected.unknown_anywhere && !expected.too_deep) CHECK(document.convertMessageToElementList(true) == 1);
    // Cut off at an unknown type byte, it may end with a string of length 0, and is then not valid.
    if (document.convertMessageToElementList(true) != 1) return 0;
    CHECK(encoding_of(document) == encoding);

    decode_on_trust(data, size, true, result, encoding);
    check_copies(data, size, encoding);
    if (document.elementList.size() > 64 || size > 4096) return 0;
    CHECK(output_is_closed);
    document.debugPrint(0);
    look_up_and_delete(document);
    return 0;
}
