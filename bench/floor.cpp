#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include "bench/peers.h"

namespace lutc_bench {
namespace {

void* copyOf(span source) {
    void* copy = std::malloc(source.size);
    if (copy == nullptr) std::abort();
    std::memcpy(copy, source.begin, source.size);
    benchmark::DoNotOptimize(copy);
    return copy;
}

}  // namespace

void copyInto(unsigned char* target, const bytes& source) {
    std::memcpy(target, source.data(), source.size());
    benchmark::DoNotOptimize(target);
    benchmark::ClobberMemory();
}

void allocateCopyFree(span source) {
    void* const copy = copyOf(source);
    benchmark::ClobberMemory();
    std::free(copy);
}

void allocateCopyFreeInTurn(const std::vector<span>& sources) {
    for (const span source : sources) allocateCopyFree(source);
}

void allocateCopyFreeTogether(const std::vector<span>& sources) {
    static std::vector<void*> copies;
    copies.clear();
    copies.reserve(sources.size());
    for (const span source : sources) copies.push_back(copyOf(source));
    benchmark::ClobberMemory();
    for (void* const copy : copies) std::free(copy);
}

}  // namespace lutc_bench
