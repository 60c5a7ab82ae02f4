// The presets of a library, handled one after the other.
#ifndef LUTC_CLI_PRESETS_PROGRESS_H
#define LUTC_CLI_PRESETS_PROGRESS_H

#include <csignal>
#include <cstddef>
#include <functional>
#include <string>

namespace lutc_cli {

// Says on a terminal how far it is. While it lives, SIGINT, SIGTERM and SIGHUP let the current preset be finished; a
// second one ends the program.
class progress {
  public:
    progress(const char* verb, std::size_t total);
    progress(const progress&) = delete;
    progress& operator=(const progress&) = delete;
    ~progress();

    // Throws failure, exit_by_signal and its number, after a signal.
    void check() const;
    void step(const std::function<void()>& handle_preset);  // checks first
    std::size_t done() const { return done_; }              // the steps that ended
    std::string describe() const;                           // "1 of 3 presets"

  private:
    const char* verb_;
    std::size_t total_;
    std::size_t done_ = 0;
    bool is_shown_;
    struct sigaction before_[3] = {};  // of the signals
};

}  // namespace lutc_cli

#endif
