// Calls: the library beside a bare client, against a service in another process. Benchmarks are named FUNCTION/WHO,
// those from several threads parallel/FUNCTION/WHO.
//
// "--call FUNCTION WHO N" makes 2 N such calls and no others, with malloc as it is by default. It prints the page faults and the
// processor time in ns that each of the last N took, separated by a tab.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "bench/run.h"
#include "bench/scenarios.h"

namespace lutc_bench {
namespace {

using client = std::function<bool(bytes& buffer)>;

client through(const scenario& each, bool library) {
    if (library) return [&each](bytes&) { return each.call(); };
    return [&each](bytes& buffer) { return bare_call(each, buffer); };
}

// A call fails when the service pauses for 10 ms within its reply, as it may on a busy machine. A few are no error.
void measure(benchmark::State& state, const scenario& each, const client& call) {
    join_free_memory();
    bytes buffer(each.capacity);
    benchmark::IterationCount failed = 0;
    for (auto _ : state) failed += call(buffer) ? 0 : 1;
    if (failed > 1 + state.iterations() / 20) state.SkipWithError("calls failed");
    state.counters["bytes"] = static_cast<double>(each.command.size() + each.reply_size);
    if (failed > 0) std::fprintf(stderr, "%s: %d calls failed\n", each.name.c_str(), static_cast<int>(failed));
}

void add_all(const std::vector<scenario>& scenarios) {
    for (const scenario& each : scenarios) {
        for (const bool library : {true, false}) {
            const std::string name = each.name + (library ? "/lutc" : "/bare");
            const auto run = [&each, call = through(each, library)](benchmark::State& state) {
                measure(state, each, call);
            };
            benchmark::RegisterBenchmark(name.c_str(), run);
            auto* const parallel = benchmark::RegisterBenchmark(("parallel/" + name).c_str(), run)->UseRealTime();
            for (const int threads : {1, 2, 8, 64}) parallel->Threads(threads);
        }
    }
    benchmark::RegisterBenchmark("records/lutc_preset_list", [reply = preset_list()](benchmark::State& state) {
        join_free_memory();
        for (auto _ : state) {
            if (decode_list_and_fill_records(reply)) continue;
            state.SkipWithError("the reply is not as expected");
            break;
        }
    });
}

struct usage {
    double faults, nanoseconds;
};

usage usage_so_far() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const double microseconds = static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1e6 +
                                static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
    return {static_cast<double>(used.ru_minflt), microseconds * 1e3};
}

int call_again_and_again(const scenario& each, const std::string& who, int times) {
    const client call = through(each, who == "lutc");
    bytes buffer(who == "lutc" ? 0 : each.capacity);
    usage before{};
    for (int i = 0; i < 2 * times; ++i) {
        if (i == times) before = usage_so_far();
        if (!call(buffer)) return 1;
    }
    const usage after = usage_so_far();
    std::printf("%.1f\t%.0f\n", (after.faults - before.faults) / times,
                (after.nanoseconds - before.nanoseconds) / times);
    return 0;
}

}  // namespace
}  // namespace lutc_bench

int main(int argc, char** argv) {
    using namespace lutc_bench;
    try {
        service service;
        if (argc == 5 && std::string("--call") == argv[1]) {
            const std::vector<scenario> chosen = record_scenarios(service, argv[2]);
            if (chosen.size() == 1) return call_again_and_again(chosen[0], argv[3], std::max(std::atoi(argv[4]), 1));
            std::fprintf(stderr, "there is no call %s\n", argv[2]);
            return 2;
        }
        const std::vector<scenario> scenarios = record_scenarios(service);
        add_all(scenarios);
        return run_benchmarks(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
