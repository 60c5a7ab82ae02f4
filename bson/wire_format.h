// The facts of the byte format, one place for each: type bytes, little-endian numbers, where a body ends.
//
// All numbers are little-endian. A document is its length (4 bytes, the whole document), its elements, and
// one zero byte. An element is its type byte, its key with a zero byte, and its body.
#ifndef LUTC_BSON_WIRE_FORMAT_H
#define LUTC_BSON_WIRE_FORMAT_H

#include <cstdint>
#include <cstring>

namespace lutc_bson {

namespace type {
constexpr std::uint8_t real = 0x01;
constexpr std::uint8_t string = 0x02;
constexpr std::uint8_t document = 0x03;
constexpr std::uint8_t array = 0x04;
constexpr std::uint8_t binary = 0x05;
constexpr std::uint8_t undefined = 0x06;
constexpr std::uint8_t object_id = 0x07;
constexpr std::uint8_t boolean = 0x08;
constexpr std::uint8_t utc = 0x09;
constexpr std::uint8_t null = 0x0A;
constexpr std::uint8_t regular_expression = 0x0B;
constexpr std::uint8_t db_pointer = 0x0C;
constexpr std::uint8_t javascript = 0x0D;
constexpr std::uint8_t symbol = 0x0E;
constexpr std::uint8_t javascript_with_scope = 0x0F;
constexpr std::uint8_t int32 = 0x10;
constexpr std::uint8_t timestamp = 0x11;
constexpr std::uint8_t int64 = 0x12;
constexpr std::uint8_t max_key = 0x7F;
constexpr std::uint8_t min_key = 0xFF;
}  // namespace type

constexpr std::uint32_t empty_document_size = 5;  // the length and the terminating zero
constexpr std::uint32_t object_id_size = 12;

inline bool is_document_type(std::uint8_t t) { return t == type::document || t == type::array; }

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
inline bool find_extent(const unsigned char* bytes, std::uint8_t t, std::uint32_t body, std::uint32_t last,
                        extent& out) {
    const std::uint32_t room = last - body;
    switch (t) {
        case type::real:
        case type::utc:
        case type::timestamp:
        case type::int64:
            return find_extent_of_size(body, room, 8, out);
        case type::int32:
            return find_extent_of_size(body, room, 4, out);
        case type::boolean:
            return find_extent_of_size(body, room, 1, out);
        case type::object_id:
            return find_extent_of_size(body, room, object_id_size, out);
        case type::string:
        case type::javascript:
        case type::symbol:
            return find_extent_of_counted(bytes, body, room, 0, 0, out);
        case type::db_pointer:
            return find_extent_of_counted(bytes, body, room, 0, object_id_size, out);
        case type::binary:
            return find_extent_of_counted(bytes, body, room, 1, 0, out);
        case type::document:
        case type::array:
            return room >= empty_document_size && find_extent_of_size(body, room, load32(bytes + body), out);
        case type::javascript_with_scope:
            return room >= 9 && find_extent_of_size(body, room, load32(bytes + body), out);
        case type::regular_expression:
            return find_extent_of_two_strings(bytes, body, room, out);
        default:
            return find_extent_of_size(body, room, 0, out);
    }
}

}  // namespace lutc_bson

#endif
