#include "bench/run.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <climits>
#include <cstdlib>

namespace lutc_bench {
namespace {

// malloc gives memory back to the system and asks for it again as its heap shrinks and grows, and the page faults that
// follow are many times the work measured. Here it keeps what it has had once, for whoever runs next.
void keep_memory() {
    mallopt(M_MMAP_THRESHOLD, 32 << 20);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
}

}  // namespace

void join_free_memory() {
    void* volatile block = std::malloc(1 << 20);
    std::free(block);
}

int run_benchmarks(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    keep_memory();
    return benchmark::RunSpecifiedBenchmarks() > 0 ? 0 : 1;
}

}  // namespace lutc_bench
