// Calls: the library beside a bare client, against a service in another process. Benchmarks are named FUNCTION/WHO,
// those from several threads parallel/FUNCTION/WHO.
//
// With --call=FUNCTION/WHO --times=N it makes N such calls and measures nothing: for a count of system calls.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>

#include "bench/rounds.h"
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

int call_again_and_again(const std::vector<scenario>& scenarios, const std::string& wanted, int times) {
    for (const scenario& each : scenarios) {
        for (const bool library : {true, false}) {
            if (wanted != each.name + (library ? "/lutc" : "/bare")) continue;
            const client call = through(each, library);
            bytes buffer(each.capacity);
            for (int i = 0; i < times; ++i) {
                if (!call(buffer)) return 1;
            }
            return 0;
        }
    }
    std::fprintf(stderr, "there is no call %s\n", wanted.c_str());
    return 2;
}

}  // namespace
}  // namespace lutc_bench

int main(int argc, char** argv) {
    using namespace lutc_bench;
    try {
        service service;
        const std::vector<scenario> scenarios = record_scenarios(service);
        const char* const times = take_option(argc, argv, "--times");
        if (const char* const wanted = take_option(argc, argv, "--call")) {
            return call_again_and_again(scenarios, wanted, times != nullptr ? std::atoi(times) : 1);
        }
        add_all(scenarios);
        return run_in_rounds(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}
