// lutc-trace.so, which lutc-trace has programs take: tells it what they send and what comes back.
#include <unistd.h>

#include <atomic>
#include <cstdlib>

#include "trace/reporter.h"
#include "trace/shown_connection.h"

namespace lutc_trace {

namespace {

const reporter& known_reporter() {
    static const reporter known = reporter::read(std::getenv(reporter_variable));
    return known;
}

std::atomic<unsigned> connection_count{0};

void print(unsigned number, const std::string& line) {
    constexpr std::size_t longest = 4000;  // goes through a pipe in one piece
    known_reporter().print("lutc-trace[" + std::to_string(getpid()) + "]: " + std::to_string(number) + " " +
                           line.substr(0, longest));
}

__attribute__((constructor)) void say_loaded() { known_reporter().send(std::string(loaded_mark) + "\n"); }

}  // namespace

std::unique_ptr<watcher> watch() {
    const unsigned number = ++connection_count;
    if (number == 1) known_reporter().send(std::string(seen_mark) + "\n");
    return std::make_unique<shown_connection>([number](const std::string& line) { print(number, line); });
}

}  // namespace lutc_trace
