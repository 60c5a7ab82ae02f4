#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

// A document that is being read.
struct open_document {
    std::uint32_t last;   // where its terminating byte stands
    std::uint32_t index;  // of the next element
    bool is_array;        // the keys must be the indices
};

bool is_space(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Whether the key reads as that decimal number: leading white space and a sign are allowed, reading stops at
// the first character that is no digit, and a key without digits reads as 0.
bool key_reads_as(const unsigned char* key, std::uint32_t index) {
    while (is_space(*key)) ++key;
    const bool negative = *key == '-';
    if (*key == '-' || *key == '+') ++key;
    std::uint64_t number = 0;
    for (; *key >= '0' && *key <= '9' && number <= UINT32_MAX; ++key) {
        number = number * 10 + static_cast<std::uint64_t>(*key - '0');
    }
    return number == index && (!negative || number == 0);
}

// Whether size bytes from start begin and end as a document does; their elements are checked elsewhere.
bool is_framed(const unsigned char* bytes, std::uint32_t start, std::uint64_t size) {
    return size >= empty_document_size && load32(bytes + start) == size && bytes[start + size - 1] == 0;
}

// Where the document inside an element starts: an embedded one, or the scope of javascript. False when its
// length fields leave no place for it.
bool find_inner_document(const unsigned char* bytes, bson_type t, const extent& value, std::uint32_t& start) {
    start = value.begin;
    if (t != bson_type::javascript_with_scope) return true;
    const std::uint32_t size = value.end - value.begin;
    if (size < 8 || load32(bytes + value.begin + 4) > size - 8) return false;
    start += 8 + load32(bytes + value.begin + 4);
    return true;
}

// Whether the contents of a value are as its type demands. An inner document is not looked at.
bool is_content_valid(const unsigned char* bytes, bson_type t, const extent& value) {
    switch (t) {
        case bson_type::boolean:
            return bytes[value.begin] <= 1;
        case bson_type::string:
        case bson_type::javascript:
        case bson_type::symbol:
            return bytes[value.end - 1] == 0;  // of an empty one: the last byte of its length, 0
        case bson_type::db_pointer:
            return bytes[value.end - object_id_size - 1] == 0;
        default:
            return true;
    }
}

bool are_elements_valid(const unsigned char* bytes, std::uint32_t size, bool isArray) {
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
        const bson_type t{bytes[position]};
        const unsigned char* const key = bytes + position + 1;
        const auto* const key_end = static_cast<const unsigned char*>(std::memchr(key, 0, here.last - position - 1));
        if (key_end == nullptr) return false;
        if (here.is_array && !key_reads_as(key, here.index++)) return false;

        extent value;
        const auto body = static_cast<std::uint32_t>(key_end + 1 - bytes);
        if (!find_extent(bytes, t, body, here.last, value) || !is_content_valid(bytes, t, value)) return false;
        position = value.end;

        if (!is_document_type(t) && t != bson_type::javascript_with_scope) continue;
        std::uint32_t inner;
        if (!find_inner_document(bytes, t, value, inner) || !is_framed(bytes, inner, value.end - inner)) return false;
        above.push_back(here);
        here = {value.end - 1, 0, t == bson_type::array};
        position = inner + 4;
    }
}

}  // namespace
}  // namespace lutc_bson

bool bsonDocument::isMessageValid(const unsigned char* bytes, std::uint32_t size, bool isArray) {
    using namespace lutc_bson;
    return bytes != nullptr && size >= empty_document_size && is_framed(bytes, 0, size) &&
           are_elements_valid(bytes, size, isArray);
}
