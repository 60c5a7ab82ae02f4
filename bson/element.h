// What the document's operations need of an element beyond its public face.
#ifndef LUTC_BSON_ELEMENT_H
#define LUTC_BSON_ELEMENT_H

#include <cstdint>
#include <memory>

#include <lutc/bsonDocument.h>

namespace lutc_bson {

// The number of value bytes that can be read: a null pointer with a size has none.
inline std::uint32_t readable_size(const bsonElement& element) {
    return element.value != nullptr ? element.valueSize : 0;
}

// Makes a new element a copy of source that holds no embedded document yet.
void copy_without_document(bsonElement& copy, const bsonElement& source);

// Appends an element that the list then owns.
inline void append(std::vector<bsonElement*>& list, std::unique_ptr<bsonElement> element) {
    constexpr std::size_t few = 8;  // most documents that are built need no more
    if (list.capacity() == 0) list.reserve(few);
    list.push_back(element.get());
    element.release();
}

}  // namespace lutc_bson

#endif
