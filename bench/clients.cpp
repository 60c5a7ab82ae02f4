// Clients that call the service on its port without pause: lutc-bench-clients read|grade SECONDS. Each call of "grade"
// sends another CDL to channel 1. Prints the calls of all in a second, and how many failed.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include <lutc/lutc.h>

namespace {

constexpr int clients = 8;

struct counts {
    std::atomic<long> calls{0}, failed{0};
};

bool read_state() {
    int state = 0;
    return lutc_get_state(&state, 1) == 0;
}

bool send_grade(long number) {
    const cdl values{
        {0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, {0.5 + static_cast<double>(number % 1000) / 1000, 1.0, 1.0}, 1.0};
    return lutc_send_cdl(1, 1, true, &values) == 0;
}

void call_until(std::chrono::steady_clock::time_point end, bool changes, counts& to) {
    while (std::chrono::steady_clock::now() < end) {
        const long number = ++to.calls;
        if (!(changes ? send_grade(number) : read_state())) ++to.failed;
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const bool changes = std::strcmp(argv[1], "grade") == 0;
    const double seconds = std::atof(argv[2]);
    counts all;
    std::vector<std::thread> threads;
    const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(static_cast<long>(seconds * 1e6));
    for (int i = 0; i < clients; ++i) threads.emplace_back([&] { call_until(end, changes, all); });
    for (std::thread& thread : threads) thread.join();
    std::printf("%.1f\t%ld\n", static_cast<double>(all.calls) / seconds, all.failed.load());
}
