// A silent service. These take the whole wait of 15 seconds, side by side.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include <lutc/lutc.h>
#include "tests/support/documents.h"
#include "tests/support/scripted_service.h"

namespace {

TEST(Timeout, silenceEndsACall) {
    const std::string event = encoded("{'type':'event'}"), ok = encoded("{'type':'response','code':0}");
    const auto begin = std::chrono::steady_clock::now();
    const auto seconds = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    const auto expect = [&](std::vector<Step> steps, int result, double least, double most) {
        return std::thread([=] {
            ScriptedService service(steps);
            EXPECT_EQ(lutc_save_presets_to_media(), result);
            EXPECT_GT(seconds(), least);
            EXPECT_LT(seconds(), most);
        });
    };
    std::thread threads[] = {
        expect({}, -1, 14, 25),
        expect({send(event)}, -1, 14, 25),
        expect({pause(4000), send(event)}, -1, 18, 29),  // a message begins a new wait
        expect({pause(9000), send(event), pause(9000), send(ok)}, 0, 17, 28),
    };
    for (auto& thread : threads) thread.join();
}

}  // namespace
