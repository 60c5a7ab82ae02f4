// The facts of the byte format, one place for each: little-endian numbers, and the layout of every kind.
//
// All numbers are little-endian. A document is its length (4 bytes, the whole document), its elements, and
// one zero byte. An element is its type byte, its key with a zero byte, and its body.
#ifndef LUTC_BSON_WIRE_FORMAT_H
#define LUTC_BSON_WIRE_FORMAT_H

#include <array>
#include <cstdint>
#include <cstring>

#include <lutc/bsonDocument.h>

namespace lutc_bson {

constexpr std::uint32_t empty_document_size = 5;  // the length and the terminating zero

constexpr std::uint8_t byte_of(bson_type t) { return static_cast<std::uint8_t>(t); }

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

// What a body consists of. Those from text to scope begin with a length.
enum class shape : std::uint8_t {
    unknown,      // no body; decoding ends here
    empty,        // no body; decoding makes it null
    fixed,        // bytes of any value
    boolean,      // one byte, 0 or 1
    two_strings,  // each with its zero byte
    text,         // characters whose last one is zero; then, in a db pointer, an id that the length doesn't count
    bytes,        // the subtype, and bytes of any value
    document,     // the document, whose length is the body's
    scope,        // the length is the body's; then text with a length of its own, then a document
};

struct layout {
    shape body;
    std::uint8_t head;      // length and subtype where they are not part of an element's value
    std::uint8_t size;      // of the body, less what its length field counts
    std::uint8_t smallest;  // a body that can't be shorter
};

struct kind {
    bson_type type;
    const char* name;
    layout body;
};

inline constexpr kind kinds[] = {
    {bson_type::real, "double", {shape::fixed, 0, 8, 8}},
    {bson_type::string, "string", {shape::text, 4, 4, 5}},
    {bson_type::document, "embedded document", {shape::document, 0, 0, 5}},
    {bson_type::array, "array document", {shape::document, 0, 0, 5}},
    {bson_type::binary, "binary", {shape::bytes, 5, 5, 5}},
    {bson_type::undefined, "undefined", {shape::empty, 0, 0, 0}},
    {bson_type::object_id, "object id", {shape::fixed, 0, 12, 12}},
    {bson_type::boolean, "boolean", {shape::boolean, 0, 1, 1}},
    {bson_type::utc, "utc", {shape::fixed, 0, 8, 8}},
    {bson_type::null, "null", {shape::empty, 0, 0, 0}},
    {bson_type::regular_expression, "regular expression", {shape::two_strings, 0, 0, 2}},
    {bson_type::db_pointer, "db pointer", {shape::text, 4, 16, 16}},
    {bson_type::javascript, "javascript", {shape::text, 4, 4, 5}},
    {bson_type::symbol, "deprecated", {shape::text, 4, 4, 5}},
    {bson_type::javascript_with_scope, "javascript with scope", {shape::scope, 0, 0, 9}},
    {bson_type::int32, "int32", {shape::fixed, 0, 4, 4}},
    {bson_type::timestamp, "timestamp", {shape::fixed, 0, 8, 8}},
    {bson_type::int64, "int64", {shape::fixed, 0, 8, 8}},
    {bson_type::max_key, "max key", {shape::empty, 0, 0, 0}},
    {bson_type::min_key, "min key", {shape::empty, 0, 0, 0}},
};

inline constexpr std::array<layout, 256> layouts = [] {
    std::array<layout, 256> table{};
    for (const kind& each : kinds) table[byte_of(each.type)] = each.body;
    return table;
}();

inline const layout& layout_of(std::uint8_t type) { return layouts[type]; }

inline bool is_document_type(std::uint8_t type) { return layout_of(type).body == shape::document; }

// The bytes of v that are zero have their highest bit set in the result, as far as the first of them.
inline std::uint64_t find_zeros(std::uint64_t v) { return (v - 0x0101010101010101U) & ~v & 0x8080808080808080U; }

inline std::uint32_t lowest_bit(std::uint64_t v) { return static_cast<std::uint32_t>(__builtin_ctzll(v)); }

// The zero byte that ends a key, in front of last; null when there is none. Everything up to end can be read.
inline const unsigned char* find_key_end(const unsigned char* key, const unsigned char* last,
                                         const unsigned char* end) {
    if (end - key >= 16) {
        const std::uint64_t low = find_zeros(load64(key));
        const std::uint64_t high = find_zeros(load64(key + 8));
        if ((low | high) != 0) {
            const std::uint32_t bits = low != 0 ? lowest_bit(low) : 64 + lowest_bit(high);
            const unsigned char* const zero = key + bits / 8;
            return zero < last ? zero : nullptr;
        }
    }
    return static_cast<const unsigned char*>(std::memchr(key, 0, static_cast<std::size_t>(last - key)));
}

// Where the value of one element lies: its first byte and the byte after its last one, counted from the
// message's start.
struct extent {
    std::uint32_t begin;
    std::uint32_t end;
};

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

// Finds the value of an element of that layout whose body starts at body, in a document whose terminating byte
// is at last (body <= last). False when it doesn't end at last or before. Looks at length fields alone, not
// at contents.
inline bool find_extent(const unsigned char* bytes, const layout& l, std::uint32_t body, std::uint32_t last,
                        extent& out) {
    const std::uint32_t room = last - body;
    if (l.body == shape::two_strings) return find_extent_of_two_strings(bytes, body, room, out);
    if (room < l.smallest) return false;
    std::uint64_t size = l.size;
    if (l.body >= shape::text) size += load32(bytes + body);
    out = {body + l.head, body + static_cast<std::uint32_t>(size)};
    return size <= room;
}

}  // namespace lutc_bson

#endif
