// Many threads against the service on its own port, and a thread that is cancelled inside a call.
//
//   torture_threads THREADS ROUNDS       each thread, in each round, makes calls of all kinds on a preset of its own
//   torture_threads --same THREADS       all threads call at once; each reads a preset of its own
//   torture_threads --cancel             the service must delay "getOption"
//
// Every answer must be the one to the thread's own question.
#include <dirent.h>
#include <pthread.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include <lutc/lutc.h>
#include "tests/support/check.h"
#include "tests/support/readers.h"

namespace {

std::size_t open_descriptors() {
    DIR* const folder = opendir("/proc/self/fd");
    CHECK(folder != nullptr);
    std::size_t count = 0;
    while (readdir(folder) != nullptr) ++count;
    closedir(folder);
    return count;
}

template <class Work>
void in_threads(int count, Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(work, i);
    for (std::thread& thread : threads) thread.join();
}

std::vector<unsigned char> table_of(int owner, int round) {
    std::vector<unsigned char> table(static_cast<std::size_t>(100 + owner));
    std::iota(table.begin(), table.end(), static_cast<unsigned char>(owner * 31 + round));
    return table;
}

std::string name_of(int owner) { return "preset of thread " + std::to_string(owner); }

void store(int owner, int round) {
    std::vector<unsigned char> table = table_of(owner, round);
    std::string format = "format " + std::to_string(owner);
    gradeComponent lut{};
    lut.kind = LUTC_KIND_LUT_3D;
    lut.data = table.data();
    lut.dataSize = static_cast<int>(table.size());
    lut.typeIndex = 1;
    lut.dataFormat = format.data();
    CHECK(lutc_send_preset(name_of(owner).c_str(), 0, 0, 1, false, 0, &lut, 1) == 0);
}

void fetch(int owner, int round) {
    gradeComponent lut{};
    int count = 1, combination = 0;
    CHECK(lutc_recv_preset(name_of(owner).c_str(), 0, &combination, &lut, &count) == 0);
    CHECK(count == 1 && combination == 1 && lut.kind == LUTC_KIND_LUT_3D);
    CHECK(lut.dataFormat == "format " + std::to_string(owner));
    CHECK(std::vector<unsigned char>(lut.data, lut.data + lut.dataSize) == table_of(owner, round));
    std::free(lut.data);
    std::free(lut.dataFormat);
}

void list(int owner) {
    presetEntry* presets = nullptr;
    int count = 0, most = 0, mine = 0;
    CHECK(lutc_preset_list(&presets, &count, &most) == 0 && count <= most);
    for (int i = 0; i < count; ++i) {
        if (presets[i].presetName == name_of(owner)) ++mine;
        for (char* const slot : presets[i].gradeCombo.slots) std::free(slot);
    }
    std::free(presets);
    CHECK(mine == 1);
}

// Another thread may have chosen its preset meanwhile, renamed it, or deleted it, so that those answers may be -1.
void read_device() {
    CHECK(read_model() && read_video() && read_state());
    for (const auto read : {read_selected, read_override, read_option}) read();
}

void write_device(int owner) {
    const cdl values{{0, 0, 0}, {1, 1, 1}, {1, 1, 1}, 0.9};
    const videoConnection route{LUTC_VIDEO_INPUT, 1, LUTC_VIDEO_CHANNEL, 1};
    unsigned char table[3] = {1, 2, 3};
    const int channel = 1 + owner % 2;
    const std::string mine = name_of(owner), other = "other " + std::to_string(owner);
    CHECK(lutc_client_info("torture", nullptr, mine.c_str()) == 0 && lutc_set_option("note", mine.c_str()) == 0);
    CHECK(lutc_set_state(owner, channel) == 0 && lutc_set_video_connection(&route) == 0);
    CHECK(lutc_send_cdl(channel, 1, true, &values) == 0 && lutc_send_saturation(channel, 1, false, 0.5) == 0);
    CHECK(lutc_send_lut(channel, 1, false, "1dlut", "float", table, 3) == 0);
    CHECK(lutc_send_combination(channel, true, 1) == 0 && lutc_send_live(channel, 1, true, nullptr, 0) == 0);
    CHECK(lutc_set_preset(channel, mine.c_str(), 0) == 0 && lutc_set_override_preset(mine.c_str(), 0) == 0);
    CHECK(lutc_move_preset(mine.c_str(), 0, 1) == 0 && lutc_rename_preset(mine.c_str(), 0, other.c_str()) == 0);
    CHECK(lutc_delete_preset(other.c_str(), 0) == 0);
}

// 23 calls a round.
void mixed(int threads, int rounds) {
    in_threads(threads, [rounds](int owner) {
        for (int round = 0; round < rounds; ++round) {
            store(owner, round);
            fetch(owner, round);
            list(owner);
            read_device();
            write_device(owner);
        }
    });
}

// The threads wait for each other and then call in the same moment.
void at_once(int threads) {
    constexpr int presets = 100;
    for (int owner = 0; owner < presets; ++owner) store(owner, 0);
    std::atomic<int> awaited{threads};
    in_threads(threads, [&awaited](int i) {
        for (--awaited; awaited > 0;) std::this_thread::yield();
        fetch(i % presets, 0);
    });
}

[[maybe_unused]] constexpr int skipped = 77;

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
    const std::string what = count > 1 ? arguments[1] : "";
    const std::size_t descriptors = open_descriptors();
    if (what == "--cancel") {
#ifdef __SANITIZE_ADDRESS__
        return skipped;  // AddressSanitizer takes a cancelled thread's stack for damaged
#endif
        cancel_inside();
    } else if (what == "--same" && count == 3) {
        at_once(std::atoi(arguments[2]));
    } else if (count == 3) {
        mixed(std::atoi(arguments[1]), std::atoi(arguments[2]));
    } else {
        std::fputs("usage: torture_threads THREADS ROUNDS | --same THREADS | --cancel\n", stderr);
        return 2;
    }
    CHECK(open_descriptors() == descriptors);
    return 0;
}
