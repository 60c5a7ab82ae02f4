// What each call takes from the heap. Writes one line for each to standard output, its fields separated by tabs:
//
//   function  allocations  most bytes held at once  bytes of the command  bytes of the reply
//
// Bytes held are those that malloc really gave, what is handed to the caller included, for this program's malloc counts.
#include <malloc.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "bench/scenarios.h"

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace {

struct heap_use {
    long long allocations;
    long long held;
    long long most_held;
};

// Of the thread that calls; the service's processes count for themselves.
thread_local heap_use use;

void* counted(void* block) {
    if (block == nullptr) return nullptr;
    ++use.allocations;
    use.held += static_cast<long long>(malloc_usable_size(block));
    if (use.held > use.most_held) use.most_held = use.held;
    return block;
}

void uncount(void* block) {
    if (block != nullptr) use.held -= static_cast<long long>(malloc_usable_size(block));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size) { return counted(__libc_malloc(size)); }

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) {
    return counted(__libc_calloc(count, size));
}

__attribute__((visibility("default"))) void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return counted(__libc_memalign(alignment, size));
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size) {
    const std::size_t size_before = block != nullptr ? malloc_usable_size(block) : 0;
    void* const moved = counted(__libc_realloc(block, size));
    if (moved != nullptr || size == 0) use.held -= static_cast<long long>(size_before);
    return moved;
}

__attribute__((visibility("default"))) void free(void* block) {
    uncount(block);
    __libc_free(block);
}
}

int main(int, char** argv) {
    using namespace lutc_bench;
    try {
        service service;
        for (const scenario& each : record_scenarios(service)) {
            const heap_use before = use;
            use.most_held = use.held;
            if (!each.call()) throw std::runtime_error(each.name + " failed");
            std::printf("%s\t%lld\t%lld\t%zu\t%zu\n", each.name.c_str(), use.allocations - before.allocations,
                        use.most_held - before.held, each.command.size(), each.reply_size);
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
