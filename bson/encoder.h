// Encoding for users inside the library that don't need the messages of the embedded documents.
#ifndef LUTC_BSON_ENCODER_H
#define LUTC_BSON_ENCODER_H

#include <sys/uio.h>

#include <cstdint>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/buffer.h"

namespace lutc_bson {

// An encoding as the pieces that it consists of, in order: parts of bytes, and large values where they lie in the
// document.
struct encoded_document {
    malloc_ptr<unsigned char> bytes;
    std::vector<iovec> pieces;
};

// The encoding of the element list; no message is changed. Values of borrowed_size bytes and more are not copied: the
// document stays as it is until the pieces have been used. Time and memory are linear in its length at any depth.
// Throws as bsonDocument::convertElementListToMessage does.
constexpr std::uint32_t borrowed_size = 4096;
encoded_document encode(const bsonDocument& document);

}  // namespace lutc_bson

#endif
