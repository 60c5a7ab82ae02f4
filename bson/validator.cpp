#include "bson/validator.h"

#include <algorithm>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/wire_format.h"

namespace lutc_bson {
namespace {

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

// A document that is being read.
struct open_document {
    std::uint32_t last;   // where its terminating byte stands
    std::uint32_t index;  // of the next element
    bool is_array;        // the keys must be the indices
};

[[gnu::cold]] verdict refuse(rule broken, std::uint32_t position, std::uint32_t room = 0) {
    return {broken, position, room, nowhere};
}

[[gnu::cold]] verdict refuse_frame(const unsigned char* bytes, std::uint32_t start, std::uint32_t size) {
    if (size < empty_document_size) return refuse(rule::smallest_size, start, size);
    if (load32(bytes + start) != size) return refuse(rule::length, start, size);
    return refuse(rule::last_byte, start + size - 1);
}

// Whether size bytes from start begin and end as a document does.
inline verdict check_frame(const unsigned char* bytes, std::uint32_t start, std::uint32_t size) {
    const bool is_framed = size >= empty_document_size && load32(bytes + start) == size && bytes[start + size - 1] == 0;
    return is_framed ? verdict() : refuse_frame(bytes, start, size);
}

// Whether the contents of a value are as its kind demands. Of what holds a document, value becomes the document's
// extent; its elements are not looked at.
verdict check_content(const unsigned char* bytes, const layout& l, extent& value) {
    switch (l.body) {
        case shape::boolean:
            if (bytes[value.begin] > 1) return refuse(rule::boolean, value.begin);
            return {};
        case shape::text: {
            const std::uint32_t last = value.end - (l.size - l.head) - 1;  // of an empty one, the last of its length
            if (bytes[last] != 0) return refuse(rule::text_end, last);
            return {};
        }
        case shape::scope: {
            const std::uint32_t size = value.end - value.begin;
            const std::uint32_t code = load32(bytes + value.begin + 4);
            // Two lengths and the smallest document have 13 bytes.
            if (size < 13 || code > size - 13) return refuse(rule::code_length, value.begin + 4);
            value.begin += 8 + code;
            return check_frame(bytes, value.begin, value.end - value.begin);
        }
        case shape::document:
            return check_frame(bytes, value.begin, value.end - value.begin);
        default:
            return {};
    }
}

verdict check_elements(const unsigned char* bytes, std::uint32_t size, bool isArray) {
    std::vector<open_document> above;
    open_document here{size - 1, 0, isArray};
    std::uint32_t position = 4;
    std::uint32_t unknown = nowhere;
    for (;;) {
        while (position == here.last) {
            if (above.empty()) return {rule::none, 0, 0, unknown};
            position = here.last + 1;
            here = above.back();
            above.pop_back();
        }
        const std::uint8_t type = bytes[position];
        const layout& l = layout_of(type);
        const unsigned char* const key = bytes + position + 1;
        const unsigned char* const key_end = find_key_end(key, bytes + here.last, bytes + size);
        if (key_end == nullptr) return refuse(rule::key_end, position + 1);
        if (here.is_array && !key_reads_as(key, here.index++)) return refuse(rule::array_key, position + 1);

        extent value;
        const auto body = static_cast<std::uint32_t>(key_end + 1 - bytes);
        if (!find_extent(bytes, l, body, here.last, value)) return refuse(rule::body_end, body, here.last - body);
        if (l.body <= shape::fixed) {
            if (l.body == shape::unknown) unknown = std::min(unknown, position);
            position = value.end;
            continue;
        }
        const verdict content = check_content(bytes, l, value);
        if (content.broken != rule::none) return content;
        position = value.end;
        if (l.body < shape::document) continue;
        above.push_back(here);
        here = {value.end - 1, 0, type == bson_type::array};
        position = value.begin + 4;
    }
}

}  // namespace

verdict validate(const unsigned char* bytes, std::uint32_t size, bool isArray) {
    if (bytes == nullptr) return refuse(rule::smallest_size, 0);
    const verdict frame = check_frame(bytes, 0, size);
    return frame.broken == rule::none ? check_elements(bytes, size, isArray) : frame;
}

std::uint32_t count_objects(const unsigned char* bytes, std::uint32_t size) {
    const std::uint32_t last = size - 1;
    std::uint32_t count = 0;
    for (std::uint32_t at = 4; at < last;) {
        if (bytes[at] == 0) {  // the end of an embedded document
            ++at;
            continue;
        }
        const layout& l = layout_of(bytes[at]);
        const unsigned char* const key_end = find_key_end(bytes + at + 1, bytes + last, bytes + size);
        extent value{};
        if (key_end == nullptr ||
            !find_extent(bytes, l, static_cast<std::uint32_t>(key_end + 1 - bytes), last, value)) {
            return count;
        }
        count += l.body == shape::document ? 2 : 1;
        at = l.body == shape::document ? value.begin + 4 : value.end;
    }
    return count;
}

std::string path_to(const unsigned char* bytes, std::uint32_t size, std::uint32_t position) {
    std::string path;
    std::uint32_t at = 4;
    std::uint32_t last = size - 1;
    while (at <= position && position < last) {
        const layout& l = layout_of(bytes[at]);
        const unsigned char* const key = bytes + at + 1;
        const unsigned char* const key_end = find_key_end(key, bytes + last, bytes + size);
        if (key_end == nullptr) return path;
        extent value{};
        const bool ends = find_extent(bytes, l, static_cast<std::uint32_t>(key_end + 1 - bytes), last, value);
        if (ends && value.end <= position) {
            at = value.end;
            continue;
        }
        path += (path.empty() ? "" : ".") + std::string(key, key_end);
        if (!ends || l.body < shape::document) return path;
        if (l.body == shape::scope) {
            if (position < value.begin + 8) return path;
            value.begin += 8 + load32(bytes + value.begin + 4);
        }
        at = value.begin + 4;
        last = value.end - 1;
    }
    return path;
}

}  // namespace lutc_bson
