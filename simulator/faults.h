// What is asked to go wrong, and when; and what a reply then looks like on its way. No sockets.
#ifndef LUTC_SIMULATOR_FAULTS_H
#define LUTC_SIMULATOR_FAULTS_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace simulator {

enum class fault_kind {
    refuse,       // the reply has a "code" other than 0; the command isn't performed
    silence,      // no reply; the connection stays open
    close,        // no reply; the connection is closed
    reset,        // no reply; the connection is reset
    truncate,     // the first half of the reply, then the connection is closed
    trickle,      // the reply in a hundred pieces
    delay,        // the reply comes late
    garbage,      // random bytes of the reply's length in its place
    length,       // a reply that claims to be one byte longer than it is
    event_first,  // a message of another type, a pause, then the reply
    event_glued,  // a message of another type and the reply in one piece
};

// The names as options give them, in the order of fault_kind.
const std::vector<std::string>& fault_names();

// A line of help for each kind, with the milliseconds that are meant when none are given.
std::string fault_help();

struct fault {
    fault_kind kind;
    std::uint32_t milliseconds;  // silence: until the connection is closed, at most; others: the pause
};

// Which call of which command goes wrong.
class fault_plan {
  public:
    explicit fault_plan(std::uint64_t seed = 1) : random_(seed) {}

    // Adds "COMMAND[:N]=KIND[,MS]"; throws std::invalid_argument that says what is wrong with it.
    void add(const std::string& text);

    // From 0 to 100: how many of the calls that no other fault is meant for go wrong, each in a random way.
    void set_random_percent(unsigned percent) { random_percent_ = percent; }

    // Counts a call of that command and tells what goes wrong with it. Of several faults the first that was added
    // counts.
    std::optional<fault> next(const std::string& command);

    std::mt19937_64& random() { return random_; }

  private:
    struct rule {
        std::string command;  // "*": any
        std::uint64_t call;   // 0: every one
        fault what;
        std::uint64_t seen = 0;  // calls of that command so far
    };
    std::vector<rule> rules_;
    unsigned random_percent_ = 0;
    std::mt19937_64 random_;
};

// How a reply is delivered: its pieces, each after a pause, and what happens to the connection then.
struct delivery {
    struct piece {
        std::uint32_t pause_milliseconds;
        std::vector<unsigned char> bytes;
    };
    enum class ending { close, reset, hold };

    std::vector<piece> pieces;
    ending end = ending::close;
    std::uint32_t hold_milliseconds = 0;
};

// The delivery of a reply, with the fault that is meant for it, if any.
delivery delivered(std::vector<unsigned char> reply, const std::optional<fault>& what, std::mt19937_64& random);

}  // namespace simulator

#endif
