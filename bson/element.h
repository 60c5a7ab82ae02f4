// What the document's operations need of an element beyond its public face.
#ifndef LUTC_BSON_ELEMENT_H
#define LUTC_BSON_ELEMENT_H

#include <cstdint>

#include <lutc/bsonDocument.h>

namespace lutc_bson {

// The number of value bytes that can be read: a null pointer with a size has none.
inline std::uint32_t readable_size(const bsonElement& element) {
    return element.value != nullptr ? element.valueSize : 0;
}

// Makes a new element a copy of source that holds no embedded document yet.
void copy_without_document(bsonElement& copy, const bsonElement& source);

}  // namespace lutc_bson

#endif
