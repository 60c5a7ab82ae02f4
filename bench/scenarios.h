// The calls that are measured, each through the library and as the same bytes through the same socket calls without it.
#ifndef LUTC_BENCH_SCENARIOS_H
#define LUTC_BENCH_SCENARIOS_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "bench/samples.h"
#include "bench/service.h"

namespace lutc_bench {

struct scenario {
    std::string name;            // the exported function's
    std::function<bool()> call;  // one call through the library; what it hands out is freed
    bytes command;               // what that call sends
    std::size_t reply_size;      // what the service answers
    std::size_t capacity;        // the most that the library reads
};

// Records what each call sends, and starts the service.
std::vector<scenario> record_scenarios(service& service, const std::string& wanted = {});

// The exchange alone: true when the whole reply is in the buffer, which has the capacity at least.
bool bare_call(const scenario& scenario, bytes& buffer);

// What lutc_preset_list can't do without: decodes its reply once, makes the caller's records of it, and frees both.
bool decode_list_and_fill_records(const bytes& reply);

}  // namespace lutc_bench

#endif
