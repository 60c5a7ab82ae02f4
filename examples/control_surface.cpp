// Pushes a CDL to channel 1 ten times a second, as a control surface does while its wheels turn.
//
//   control_surface [UPDATES]     (default: 50, so five seconds)
#include <lutc/lutc.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

// The wheels' position at an update: a slow swing of the picture's warmth.
cdl wheels(int update) {
    const double warmth = 0.1 * std::sin(update * 0.2);
    cdl values{};
    for (int i = 0; i < 3; ++i) {
        values.slope[i] = 1.0;
        values.power[i] = 1.0;
    }
    values.slope[0] += warmth;
    values.slope[2] -= warmth;
    values.saturation = 1.0;
    return values;
}

}  // namespace

int main(int argc, char** argv) {
    const int updates = argc > 1 ? std::atoi(argv[1]) : 50;
    int sent = 0;
    auto due = std::chrono::steady_clock::now();
    for (int update = 0; update < updates; ++update) {
        const cdl values = wheels(update);
        // The first update starts from a neutral grade; the others only turn the wheels on.
        if (lutc_send_cdl(1, 1, update == 0, &values) == 0) ++sent;

        // A call that took longer than its turn is followed at once by the newest position, not by those
        // missed.
        due += std::chrono::milliseconds(100);
        if (const auto now = std::chrono::steady_clock::now(); due < now) due = now;
        std::this_thread::sleep_until(due);
    }
    std::printf("%d of %d updates taken\n", sent, updates);
    return sent == updates ? 0 : 1;
}
