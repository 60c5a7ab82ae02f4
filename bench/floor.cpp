#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include "bench/peers.h"

namespace lutc_bench {
namespace {

void* copy_of(span source) {
    void* copy = std::malloc(source.size);
    if (copy == nullptr) std::abort();
    std::memcpy(copy, source.begin, source.size);
    benchmark::DoNotOptimize(copy);
    return copy;
}

}  // namespace

void copy_into(unsigned char* target, const bytes& source) {
    std::memcpy(target, source.data(), source.size());
    benchmark::DoNotOptimize(target);
    benchmark::ClobberMemory();
}

void allocate_copy_free(span source) {
    void* const copy = copy_of(source);
    benchmark::ClobberMemory();
    std::free(copy);
}

void allocate_copy_free_in_turn(const std::vector<span>& sources) {
    for (const span source : sources) allocate_copy_free(source);
}

void allocate_copy_free_together(const std::vector<span>& sources) {
    static std::vector<void*> copies;
    copies.clear();
    copies.reserve(sources.size());
    for (const span source : sources) copies.push_back(copy_of(source));
    benchmark::ClobberMemory();
    for (void* const copy : copies) std::free(copy);
}

}  // namespace lutc_bench
