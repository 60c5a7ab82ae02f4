#include "cli/presets/progress.h"

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>

#include "cli/console/output.h"

namespace lutc_cli {
namespace {

constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t interrupted = 0;

void note_interrupt(int signal) { interrupted = signal; }

}  // namespace

progress::progress(const char* verb, std::size_t total)
    : verb_(verb), total_(total), is_shown_(isatty(STDERR_FILENO) != 0 && total > 0) {
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (std::size_t i = 0; i < signals.size(); ++i) sigaction(signals[i], &action, &before_[i]);
}

progress::~progress() {
    for (std::size_t i = 0; i < signals.size(); ++i) sigaction(signals[i], &before_[i], nullptr);
    if (is_shown_) std::fputc('\n', stderr);
}

void progress::check() const {
    if (interrupted != 0) throw failure(exit_by_signal + interrupted, "interrupted");
}

void progress::step(const std::function<void()>& handle_preset) {
    check();
    if (is_shown_) std::fprintf(stderr, "\r%s preset %zu of %zu", verb_, done_ + 1, total_);
    handle_preset();
    ++done_;
}

std::string progress::describe() const { return std::to_string(done_) + " of " + std::to_string(total_) + " presets"; }

}  // namespace lutc_cli
