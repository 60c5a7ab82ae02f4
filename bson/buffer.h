// Byte buffers from malloc.
#ifndef LUTC_BSON_BUFFER_H
#define LUTC_BSON_BUFFER_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace lutc_bson {

struct free_bytes {
    void operator()(void* bytes) const noexcept { std::free(bytes); }
};

template <class T>
using malloc_ptr = std::unique_ptr<T, free_bytes>;

// size is 1 or more.
inline unsigned char* new_bytes(std::size_t size) {
    auto* const bytes = static_cast<unsigned char*>(std::malloc(size));
    if (bytes == nullptr) throw std::bad_alloc();
    return bytes;
}

inline unsigned char* new_copy_of_bytes(const unsigned char* bytes, std::size_t size) {
    unsigned char* const copy = new_bytes(size);
    std::memcpy(copy, bytes, size);
    return copy;
}

}  // namespace lutc_bson

#endif
