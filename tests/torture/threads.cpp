// Many threads against the service on its own port, and a thread that is cancelled inside a call.
//
//   torture_threads THREADS ROUNDS       each thread, in each round, makes calls of all kinds on a preset of its own
//   torture_threads                      the service must delay "getOption"
//
// Every answer must be the one to the thread's own question.
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <lutc/lutc.hpp>
#include "tests/support/check.h"

namespace {

std::ptrdiff_t count_descriptors() { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); }

// Stores a table that only this thread has, in a preset that only it knows; reads it back and deletes it.
void round_trip(const std::string& name) {
    const lutc::grade sent = {lutc::lut_3d{name, std::vector<unsigned char>(name.begin(), name.end()), 1}};
    lutc::send_preset(name, sent);
    CHECK(lutc::recv_preset(name).components == sent);
    lutc::delete_preset(name);
}

void make_calls(int owner, int rounds) {
    const std::string name = "preset of thread " + std::to_string(owner);
    for (int round = 0; round < rounds; ++round) {
        round_trip(name);
        const lutc::preset_library library = lutc::preset_list();
        CHECK(library.presets.size() <= static_cast<std::size_t>(library.maximum));
        CHECK(lutc::get_option("serialNumber") == "SIM-0001");
        lutc::set_state(owner, 1 + owner % 2);
        lutc::send_cdl(1, lutc::cdl_values{});
        std::error_code failure;
        lutc::rename_preset(name, "another", failure);  // it is deleted
        CHECK(failure.value() == EREMOTEIO);
    }
}

void in_threads(int count, int rounds) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(make_calls, i, rounds);
    for (std::thread& thread : threads) thread.join();
}

struct cancelled_call {
    std::atomic<int> result{1};
    bool went_on = false;
};

// The call is finished, and then the thread ends: before it does anything else.
[[maybe_unused]] void cancel_inside() {
    cancelled_call call;
    const auto body = [](void* argument) -> void* {
        auto* const mine = static_cast<cancelled_call*>(argument);
        char value[64];
        mine->result = lutc_get_option("serialNumber", value, sizeof value);
        pthread_testcancel();
        mine->went_on = true;
        return nullptr;
    };
    pthread_t thread;
    void* end = nullptr;
    const std::ptrdiff_t before = count_descriptors();
    CHECK(pthread_create(&thread, nullptr, body, &call) == 0);
    while (count_descriptors() == before && call.result == 1) std::this_thread::yield();  // until it is connected
    CHECK(pthread_cancel(thread) == 0 && pthread_join(thread, &end) == 0);
    CHECK(end == PTHREAD_CANCELED && call.result == 0 && !call.went_on);
}

}  // namespace

int main(int count, char** arguments) {
    const std::ptrdiff_t descriptors = count_descriptors();
    if (count > 2) {
        in_threads(std::atoi(arguments[1]), std::atoi(arguments[2]));
    } else {
#ifdef __SANITIZE_ADDRESS__
        return 77;  // skipped: AddressSanitizer takes a cancelled thread's stack for damaged
#endif
        cancel_inside();
    }
    CHECK(count_descriptors() == descriptors);
}
