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

}  // namespace lutc_bson

#endif
