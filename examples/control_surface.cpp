// Pushes a CDL to channel 1 ten times a second, as a control surface does while its wheels turn.
//
//   control_surface [UPDATES]     (default: 50, so five seconds)
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <lutc/lutc.hpp>
#include <thread>

namespace {

// The wheels' position at an update: a slow swing of the picture's warmth.
lutc::cdl_values wheels(int update) {
    const double warmth = 0.1 * std::sin(update * 0.2);
    lutc::cdl_values values;
    values.slope = {1.0 + warmth, 1.0, 1.0 - warmth};
    values.slot = 1;
    return values;
}

}  // namespace

int main(int argc, char** argv) {
    const int updates = argc > 1 ? std::atoi(argv[1]) : 50;
    int sent = 0;
    auto due = std::chrono::steady_clock::now();
    for (int update = 0; update < updates; ++update) {
        std::error_code failure;
        // The first update starts from a neutral grade; the others only turn the wheels on.
        lutc::send_cdl(1, wheels(update), {update == 0}, failure);
        if (!failure) ++sent;

        // A call that took longer than its turn is followed at once by the newest position, not by those missed.
        due += std::chrono::milliseconds(100);
        if (const auto now = std::chrono::steady_clock::now(); due < now) due = now;
        std::this_thread::sleep_until(due);
    }
    std::printf("%d of %d updates taken\n", sent, updates);
    return sent == updates ? 0 : 1;
}
