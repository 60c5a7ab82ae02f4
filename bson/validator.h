// What is wrong with a message, and where.
#ifndef LUTC_BSON_VALIDATOR_H
#define LUTC_BSON_VALIDATOR_H

#include <cstdint>
#include <string>

namespace lutc_bson {

enum class rule : std::uint8_t {
    none,
    smallest_size,  // a document has at least 5 bytes
    length,         // its length is the number of its bytes
    last_byte,      // its last byte is zero
    key_end,        // a key ends before its document does
    array_key,      // the keys of an array are the indices of its elements
    body_end,       // a body ends before its document does
    boolean,        // a boolean is 0 or 1
    text_end,       // a text ends with a zero byte
    code_length     // the code of javascript with scope leaves room for the scope
};

// Positions count from the message's start.
constexpr std::uint32_t nowhere = UINT32_MAX;

struct verdict {
    rule broken = rule::none;              // the first that the bytes break, in the order in which they are read
    std::uint32_t position = nowhere;      // of the byte that breaks it
    std::uint32_t room = 0;                // the document's bytes, or those that are left for the body
    std::uint32_t unknown_type = nowhere;  // of the first unknown type byte, where the decoding of its document ends
};

verdict validate(const unsigned char* bytes, std::uint32_t size, bool isArray);

// How many objects the decoding of a valid message makes: its elements and the documents that are embedded in it.
std::uint32_t count_objects(const unsigned char* bytes, std::uint32_t size);

// The keys that lead to the element in which a byte stands, joined by points; empty for a byte of no element.
// Everything in front of the byte is valid.
std::string path_to(const unsigned char* bytes, std::uint32_t size, std::uint32_t position);

}  // namespace lutc_bson

#endif
