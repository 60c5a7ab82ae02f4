// Storage for the objects that decoding makes, many at a time, and that are destroyed one by one like all others.
//
// In front of every object stands the address of the block that it came from, null when it was allocated alone. A
// block goes with the last of its objects. Objects of one block may be destroyed in different threads.
#ifndef LUTC_BSON_BATCH_H
#define LUTC_BSON_BATCH_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "bson/buffer.h"

namespace lutc_bson {

struct block {
    std::atomic<std::uint32_t> users;  // objects of it that live or may still be made
};

struct slot {
    block* origin;
};

// Keeps malloc's alignment for an object that was allocated alone.
constexpr std::size_t alone_offset = alignof(std::max_align_t);
static_assert(sizeof(slot) <= alone_offset);

inline slot* slot_of(void* object) noexcept { return static_cast<slot*>(object) - 1; }

inline void leave_block(block* from, std::uint32_t users) noexcept {
    if (from->users.fetch_sub(users, std::memory_order_acq_rel) == users) std::free(from);
}

// The class's operator new and operator delete.
inline void* new_alone(std::size_t size) {
    unsigned char* const object = new_bytes(alone_offset + size) + alone_offset;
    slot_of(object)->origin = nullptr;
    return object;
}

inline void delete_placed(void* object) noexcept {
    if (object == nullptr) return;
    slot* const at = slot_of(object);
    if (at->origin == nullptr) {
        std::free(static_cast<unsigned char*>(object) - alone_offset);
    } else {
        leave_block(at->origin, 1);
    }
}

// Destroys many objects that are likely to come from the same blocks: counts before it leaves a block.
template <class Object>
class destroyer {
  public:
    destroyer() = default;
    destroyer(const destroyer&) = delete;
    destroyer& operator=(const destroyer&) = delete;
    ~destroyer() { leave(); }

    void destroy(Object* object) noexcept {
        object->~Object();
        block* const origin = slot_of(object)->origin;
        if (origin == nullptr) return delete_placed(object);
        if (origin != block_) leave();
        block_ = origin;
        ++users_;
    }

  private:
    void leave() noexcept {
        if (users_ > 0) leave_block(block_, users_);
        users_ = 0;
    }

    block* block_ = nullptr;
    std::uint32_t users_ = 0;
};

// Makes objects in blocks, small ones first.
template <class Object>
class batch {
  public:
    batch() = default;
    batch(const batch&) = delete;
    batch& operator=(const batch&) = delete;
    ~batch() {
        if (left_ > 0) leave_block(block_, left_);
    }

    Object* make() {
        if (left_ == 0) start_block();
        slot* const at = next_;
        at->origin = block_;
        next_ = reinterpret_cast<slot*>(reinterpret_cast<unsigned char*>(at) + stride);
        --left_;
        return ::new (static_cast<void*>(at + 1)) Object();
    }

  private:
    static constexpr std::size_t stride = sizeof(slot) + sizeof(Object);
    static constexpr std::uint32_t most = 1024;
    static_assert(alignof(Object) <= alignof(slot) && stride % alignof(slot) == 0);
    static_assert(sizeof(block) <= sizeof(slot));

    void start_block() {
        unsigned char* const bytes = new_bytes(sizeof(slot) + size_ * stride);
        block_ = ::new (bytes) block{{size_}};
        next_ = reinterpret_cast<slot*>(bytes) + 1;
        left_ = size_;
        if (size_ < most) size_ *= 2;
    }

    block* block_ = nullptr;
    slot* next_ = nullptr;
    std::uint32_t left_ = 0;
    std::uint32_t size_ = 8;
};

}  // namespace lutc_bson

#endif
