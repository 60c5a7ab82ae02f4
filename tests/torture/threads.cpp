// Many threads against the service on its own port, and a thread that is cancelled inside a call.
//
//   torture_threads THREADS ROUNDS       each thread, in each round, makes calls of all kinds on a preset of its own
//   torture_threads --cancel             the service must delay "getOption"
//
// Every answer must be the one to the thread's own question.
#include <dirent.h>
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <lutc/lutc.h>
#include "tests/support/check.h"

namespace {

std::size_t open_descriptors() {
    DIR* const folder = opendir("/proc/self/fd");
    CHECK(folder != nullptr);
    std::size_t count = 0;
    while (readdir(folder) != nullptr) ++count;
    closedir(folder);
    return count;
}

// Stores a table that only this thread has, in a preset that only it knows; reads it back and deletes it.
void round_trip(const std::string& name) {
    std::vector<unsigned char> table(1000 + name.size());
    for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<unsigned char>(name[i % name.size()] + i);
    gradeComponent sent{}, got{};
    sent.kind = LUTC_KIND_LUT_3D;
    sent.data = table.data();
    sent.dataSize = static_cast<int>(table.size());
    sent.typeIndex = 1;
    sent.dataFormat = const_cast<char*>(name.c_str());
    int count = 1, combination = 0;
    CHECK(lutc_send_preset(name.c_str(), 0, 0, 1, false, 0, &sent, 1) == 0);
    CHECK(lutc_recv_preset(name.c_str(), 0, &combination, &got, &count) == 0);
    CHECK(count == 1 && combination == 1 && got.dataFormat == name);
    CHECK(got.dataSize == sent.dataSize && std::memcmp(got.data, sent.data, table.size()) == 0);
    std::free(got.data);
    std::free(got.dataFormat);
    CHECK(lutc_delete_preset(name.c_str(), 0) == 0);
}

void list() {
    presetEntry* presets = nullptr;
    int count = 0, most = 0;
    CHECK(lutc_preset_list(&presets, &count, &most) == 0 && count <= most);
    for (int i = 0; i < count; ++i) {
        for (char* const slot : presets[i].gradeCombo.slots) std::free(slot);
    }
    std::free(presets);
}

void make_calls(int owner, int rounds) {
    const std::string name = "preset of thread " + std::to_string(owner);
    const cdl values{{0, 0, 0}, {1, 1, 1}, {1, 1, 1}, 0.9};
    char serial[64];
    for (int round = 0; round < rounds; ++round) {
        round_trip(name);
        list();
        CHECK(lutc_get_option("serialNumber", serial, sizeof serial) == 0 && std::strcmp(serial, "SIM-0001") == 0);
        CHECK(lutc_set_state(owner, 1 + owner % 2) == 0 && lutc_send_cdl(1, 1, true, &values) == 0);
        CHECK(lutc_rename_preset(name.c_str(), 0, "another") == -1);  // refused: it is deleted
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
    const std::size_t before = open_descriptors();
    CHECK(pthread_create(&thread, nullptr, body, &call) == 0);
    while (open_descriptors() == before && call.result == 1) std::this_thread::yield();  // until it is connected
    CHECK(pthread_cancel(thread) == 0 && pthread_join(thread, &end) == 0);
    CHECK(end == PTHREAD_CANCELED && call.result == 0 && !call.went_on);
}

}  // namespace

int main(int count, char** arguments) {
    const std::size_t descriptors = open_descriptors();
    if (count == 2 && std::strcmp(arguments[1], "--cancel") == 0) {
#ifdef __SANITIZE_ADDRESS__
        return 77;  // skipped: AddressSanitizer takes a cancelled thread's stack for damaged
#endif
        cancel_inside();
    } else if (count == 3) {
        in_threads(std::atoi(arguments[1]), std::atoi(arguments[2]));
    } else {
        std::fputs("usage: torture_threads THREADS ROUNDS | --cancel\n", stderr);
        return 2;
    }
    CHECK(open_descriptors() == descriptors);
}
