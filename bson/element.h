// What the document's operations need of an element beyond its public face.
#ifndef LUTC_BSON_ELEMENT_H
#define LUTC_BSON_ELEMENT_H

#include <cstdint>

#include <lutc/bsonDocument.h>
#include "bson/buffer.h"

namespace lutc_bson {

// The number of value bytes that can be read: a null pointer with a size has none.
inline std::uint32_t readable_size(const bsonElement& element) {
    return element.value != nullptr ? element.valueSize : 0;
}

// What a raw value is stored as: a copy of the bytes when there are any to copy, else the pointer itself.
inline unsigned char* stored_bytes(const unsigned char* bytes, std::uint32_t size, bool copy) {
    if (copy && bytes != nullptr && size != 0) return new_copy_of_bytes(bytes, size);
    return const_cast<unsigned char*>(bytes);
}

}  // namespace lutc_bson

#endif
