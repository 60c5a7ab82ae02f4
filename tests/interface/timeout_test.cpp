// A silent service, under a signal every millisecond. These take the whole wait of 15 seconds, side by side.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include <lutc/lutc.h>
#include "tests/support/documents.h"
#include "tests/support/scripted_service.h"
#include "tests/support/signal_storm.h"

namespace {

using line_kind = scripted_service::line_kind;

TEST(Timeout, silenceEndsACall) {
    const std::string event = encoded("{'type':'event'}"), ok = encoded("{'type':'response','code':0}");
    const auto begin = std::chrono::steady_clock::now();
    const auto seconds = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    };
    std::vector<unsigned char> table(4000000);
    const auto expect = [&](std::vector<step> steps, int result, double least, double most,
                            line_kind line = line_kind::socket) {
        return std::thread([=, &table] {
            const signal_storm storm;
            scripted_service service(steps, line);
            EXPECT_EQ(outcome_of([&] {
                          return line == line_kind::socket ? lutc_save_presets_to_media()
                                                           : lutc_send_lut(0, 0, false, "", "", table.data(), 4000000);
                      }),
                      result);
            EXPECT_GT(seconds(), least);
            EXPECT_LT(seconds(), most);
        });
    };
    std::thread threads[] = {
        expect({}, ETIMEDOUT, 14, 25),
        expect({send(event)}, ETIMEDOUT, 14, 25),
        expect({pause(4000), send(event)}, ETIMEDOUT, 18, 29),  // a message begins a new wait
        expect({pause(9000), send(event), pause(9000), send(ok)}, 0, 17, 28),
        expect({}, ETIMEDOUT, 14, 25, line_kind::unread),
        expect({send(ok)}, 0, 17, 60, line_kind::slow),  // progress begins a new wait
    };
    for (auto& thread : threads) thread.join();
}

}  // namespace
