// The last commands and their replies, by number.
#ifndef LUTC_SIMULATOR_PAGE_LOG_H
#define LUTC_SIMULATOR_PAGE_LOG_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace simulator {

// A message's length and what is kept of its bytes.
struct logged_message {
    explicit logged_message(const std::vector<unsigned char>& bytes);

    std::size_t size;
    std::vector<unsigned char> first;
};

struct log_entry {
    std::uint64_t number, connection;
    std::string command, reply;  // as the log on standard output has them
    std::int32_t code;
    double milliseconds;  // from the whole command to its reply, without the pauses of faults
    logged_message command_message, reply_message;
    std::vector<std::string> notes = {};  // components that can't run since then, and why
};

class command_log {
  public:
    static constexpr std::size_t capacity = 1000;

    void add(log_entry entry);  // numbered on from the last one
    void note(std::uint64_t number, const std::string& text);

    std::uint64_t first() const { return last_ - entries_.size() + 1; }  // of those that are kept
    std::uint64_t last() const { return last_; }
    const log_entry* find(std::uint64_t number) const;  // null when it isn't kept

  private:
    std::deque<log_entry> entries_;
    std::uint64_t last_ = 0;
};

}  // namespace simulator

#endif
