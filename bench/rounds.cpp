#include "bench/rounds.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace lutc_bench {
namespace {

class line_reporter : public benchmark::BenchmarkReporter {
  public:
    int round = 0;
    bool failed = false;

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
                failed = true;
                continue;
            }
            const auto bytes = run.counters.find("bytes");
            std::printf("%d\t%s\t%lld\t%.3f\t%.3f\t%.0f\n", round, run.run_name.function_name.c_str(),
                        static_cast<long long>(run.threads), run.GetAdjustedRealTime(), run.GetAdjustedCPUTime(),
                        bytes == run.counters.end() ? 0.0 : bytes->second.value);
        }
        std::fflush(stdout);
    }
};

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

const char* take_option(int& argc, char** argv, const char* name) {
    const std::size_t length = std::strlen(name);
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], name, length) != 0 || argv[i][length] != '=') continue;
        const char* const value = argv[i] + length + 1;
        for (int j = i; j < argc; ++j) argv[j] = argv[j + 1];
        --argc;
        return value;
    }
    return nullptr;
}

int run_in_rounds(int argc, char** argv) {
    const char* const wanted = take_option(argc, argv, "--rounds");
    const int rounds = wanted != nullptr ? std::atoi(wanted) : 5;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    keep_memory();
    line_reporter reporter;
    for (reporter.round = 0; reporter.round < rounds; ++reporter.round) {
        if (benchmark::RunSpecifiedBenchmarks(&reporter) == 0) return 1;
    }
    return reporter.failed ? 1 : 0;
}

}  // namespace lutc_bench
