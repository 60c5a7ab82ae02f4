// Encoding for users inside the library that don't need the messages of the embedded documents.
#ifndef LUTC_BSON_ENCODER_H
#define LUTC_BSON_ENCODER_H

#include <cstdint>

#include <lutc/bsonDocument.h>
#include "bson/buffer.h"

namespace lutc_bson {

struct encoded_document {
    malloc_ptr<unsigned char> bytes;
    std::uint32_t size;
};

// The encoding of the element list; no message is changed. Time and memory are linear in its length at any
// depth. Throws as bsonDocument::convertElementListToMessage does.
encoded_document encode(const bsonDocument& document);

// Whether every element of the document's message is in its list, as decoding left it: decoding stops at an unknown
// type byte, and what follows is missing. Looks at the document itself alone, not into embedded ones.
bool is_decoded_whole(const bsonDocument& document);

}  // namespace lutc_bson

#endif
