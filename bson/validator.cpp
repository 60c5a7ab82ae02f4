#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

// A document that is being read.
struct open_document {
    std::uint32_t last;   // where its terminating byte stands
    std::uint32_t index;  // of the next element
    bool isArray;         // the keys must be the indices
};

bool isSpace(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Whether the key reads as that decimal number: leading white space and a sign are allowed, reading stops at
// the first character that is no digit, and a key without digits reads as 0.
bool keyReadsAs(const unsigned char* key, std::uint32_t index) {
    while (isSpace(*key)) ++key;
    const bool negative = *key == '-';
    if (*key == '-' || *key == '+') ++key;
    std::uint64_t number = 0;
    for (; *key >= '0' && *key <= '9' && number <= UINT32_MAX; ++key) {
        number = number * 10 + static_cast<std::uint64_t>(*key - '0');
    }
    return number == index && (!negative || number == 0);
}

// Whether size bytes from start begin and end as a document does; their elements are checked elsewhere.
bool isFramed(const unsigned char* bytes, std::uint32_t start, std::uint64_t size) {
    return size >= emptyDocumentSize && load32(bytes + start) == size && bytes[start + size - 1] == 0;
}

// Where the document inside an element starts: an embedded one, or the scope of javascript. False when its
// length fields leave no place for it.
bool findInnerDocument(const unsigned char* bytes, std::uint8_t t, const extent& value, std::uint32_t& start) {
    start = value.begin;
    if (t != type::javascriptWithScope) return true;
    const std::uint32_t size = value.end - value.begin;
    if (size < 8 || load32(bytes + value.begin + 4) > size - 8) return false;
    start += 8 + load32(bytes + value.begin + 4);
    return true;
}

// Whether the contents of a value are as its type demands. An inner document is not looked at.
bool isContentValid(const unsigned char* bytes, std::uint8_t t, const extent& value) {
    switch (t) {
        case type::boolean:
            return bytes[value.begin] <= 1;
        case type::string:
        case type::javascript:
        case type::symbol:
            return bytes[value.end - 1] == 0;  // of an empty one: the last byte of its length, 0
        case type::dbPointer:
            return bytes[value.end - objectIdSize - 1] == 0;
        default:
            return true;
    }
}

bool areElementsValid(const unsigned char* bytes, std::uint32_t size, bool isArray) {
    std::vector<open_document> above;
    open_document here{size - 1, 0, isArray};
    std::uint32_t position = 4;
    for (;;) {
        while (position == here.last) {
            if (above.empty()) return true;
            position = here.last + 1;
            here = above.back();
            above.pop_back();
        }
        const std::uint8_t t = bytes[position];
        const unsigned char* const key = bytes + position + 1;
        const auto* const keyEnd = static_cast<const unsigned char*>(std::memchr(key, 0, here.last - position - 1));
        if (keyEnd == nullptr) return false;
        if (here.isArray && !keyReadsAs(key, here.index++)) return false;

        extent value;
        const auto body = static_cast<std::uint32_t>(keyEnd + 1 - bytes);
        if (!findExtent(bytes, t, body, here.last, value) || !isContentValid(bytes, t, value)) return false;
        position = value.end;

        if (!isDocumentType(t) && t != type::javascriptWithScope) continue;
        std::uint32_t inner;
        if (!findInnerDocument(bytes, t, value, inner) || !isFramed(bytes, inner, value.end - inner)) return false;
        above.push_back(here);
        here = {value.end - 1, 0, t == type::array};
        position = inner + 4;
    }
}

}  // namespace
}  // namespace lutc_bson

bool bsonDocument::isMessageValid(const unsigned char* bytes, std::uint32_t size, bool isArray) {
    using namespace lutc_bson;
    return bytes != nullptr && size >= emptyDocumentSize && isFramed(bytes, 0, size) &&
           areElementsValid(bytes, size, isArray);
}
