// The facts of the byte format, one place for each: little-endian numbers, where a body ends.
//
// All numbers are little-endian. A document is its length (4 bytes, the whole document), its elements, and
// one zero byte. An element is its type byte, its key with a zero byte, and its body.
#ifndef LUTC_BSON_WIRE_FORMAT_H
#define LUTC_BSON_WIRE_FORMAT_H

#include <cstdint>
#include <cstring>

#include <lutc/bsonDocument.h>

namespace lutc_bson {

constexpr std::uint32_t empty_document_size = 5;  // the length and the terminating zero
constexpr std::uint32_t object_id_size = 12;

constexpr std::uint8_t byte_of(bson_type t) { return static_cast<std::uint8_t>(t); }

inline bool is_document_type(bson_type t) { return t == bson_type::document || t == bson_type::array; }

inline std::uint32_t load32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

inline std::uint64_t load64(const unsigned char* p) {
    return load32(p) | static_cast<std::uint64_t>(load32(p + 4)) << 32;
}

inline void store32(unsigned char* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(v >> (8 * i));
}

inline void store64(unsigned char* p, std::uint64_t v) {
    store32(p, static_cast<std::uint32_t>(v));
    store32(p + 4, static_cast<std::uint32_t>(v >> 32));
}

// Where the value of one element lies: its first byte and the byte after its last one, counted from the
// message's start. For strings and binaries the value begins behind the length fields; for all others it is
// the whole body.
struct extent {
    std::uint32_t begin;
    std::uint32_t end;
};

inline bool find_extent_of_size(std::uint32_t body, std::uint32_t room, std::uint32_t size, extent& out) {
    out = {body, body + size};
    return size <= room;
}

// A length field, skipped bytes behind it that are not counted in it, the counted bytes, and a tail of fixed
// size.
inline bool find_extent_of_counted(const unsigned char* bytes, std::uint32_t body, std::uint32_t room,
                                   std::uint32_t skipped, std::uint32_t tail, extent& out) {
    const std::uint32_t head = 4 + skipped;
    if (room < 5 || room < head + tail) return false;
    const std::uint32_t length = load32(bytes + body);
    if (length > room - head - tail) return false;
    out = {body + head, body + head + length + tail};
    return true;
}

inline bool find_extent_of_two_strings(const unsigned char* bytes, std::uint32_t body, std::uint32_t room,
                                       extent& out) {
    const unsigned char* const first = bytes + body;
    const auto* const first_end = static_cast<const unsigned char*>(std::memchr(first, 0, room));
    if (first_end == nullptr) return false;
    const std::uint32_t left = room - static_cast<std::uint32_t>(first_end + 1 - first);
    const auto* const second_end = static_cast<const unsigned char*>(std::memchr(first_end + 1, 0, left));
    if (second_end == nullptr) return false;
    out = {body, body + static_cast<std::uint32_t>(second_end + 1 - first)};
    return true;
}

// Finds the value of an element of that type whose body starts at body, in a document whose terminating byte
// is at last (body <= last). False when it doesn't end at last or before. Looks at length fields alone, not
// at contents. A type byte outside the table has no body.
inline bool find_extent(const unsigned char* bytes, bson_type t, std::uint32_t body, std::uint32_t last, extent& out) {
    const std::uint32_t room = last - body;
    switch (t) {
        case bson_type::real:
        case bson_type::utc:
        case bson_type::timestamp:
        case bson_type::int64:
            return find_extent_of_size(body, room, 8, out);
        case bson_type::int32:
            return find_extent_of_size(body, room, 4, out);
        case bson_type::boolean:
            return find_extent_of_size(body, room, 1, out);
        case bson_type::object_id:
            return find_extent_of_size(body, room, object_id_size, out);
        case bson_type::string:
        case bson_type::javascript:
        case bson_type::symbol:
            return find_extent_of_counted(bytes, body, room, 0, 0, out);
        case bson_type::db_pointer:
            return find_extent_of_counted(bytes, body, room, 0, object_id_size, out);
        case bson_type::binary:
            return find_extent_of_counted(bytes, body, room, 1, 0, out);
        case bson_type::document:
        case bson_type::array:
            return room >= empty_document_size && find_extent_of_size(body, room, load32(bytes + body), out);
        case bson_type::javascript_with_scope:
            return room >= 9 && find_extent_of_size(body, room, load32(bytes + body), out);
        case bson_type::regular_expression:
            return find_extent_of_two_strings(bytes, body, room, out);
        default:
            return find_extent_of_size(body, room, 0, out);
    }
}

}  // namespace lutc_bson

#endif
