#include "cli/console/interrupt.h"

#include <unistd.h>

#include <algorithm>
#include <vector>

namespace lutc_cli {
namespace {

constexpr int taken[] = {SIGINT, SIGTERM, SIGHUP};

std::vector<std::string> unfinished;  // changed while the signals wait

extern "C" void remove_and_end(int signal) {
    for (const std::string& path : unfinished) unlink(path.c_str());
    _exit(128 + signal);
}

}  // namespace

interrupt_pause::interrupt_pause() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : taken) sigaddset(&set, signal);
    sigprocmask(SIG_BLOCK, &set, &before_);
}

interrupt_pause::~interrupt_pause() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

void take_interrupts() {
    struct sigaction action = {};
    action.sa_handler = remove_and_end;
    for (const int signal : taken) sigaddset(&action.sa_mask, signal);
    for (const int signal : taken) {
        struct sigaction before = {};
        sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
    std::signal(SIGXFSZ, SIG_IGN);
}

void add_unfinished(const std::string& path) {
    const interrupt_pause pause;
    unfinished.push_back(path);
}

void drop_unfinished(const std::string& path) {
    const interrupt_pause pause;
    unfinished.erase(std::remove(unfinished.begin(), unfinished.end(), path), unfinished.end());
}

}  // namespace lutc_cli
