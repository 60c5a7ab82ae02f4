// What is asked to go wrong, and when; and what a reply then looks like when it is sent. No sockets.
#ifndef LUTC_SIMULATOR_FAULTS_H
#define LUTC_SIMULATOR_FAULTS_H

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// How a reply is sent: its pieces, each after a pause, and what happens to the connection then.
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

struct fault_kind {
    std::string_view name;       // as options give it
    std::uint32_t milliseconds;  // unless given
    const char* help;
    bool is_performed;  // whether the command is
    void (*shape)(delivery& sent, std::mt19937_64& random);
};

extern const std::vector<fault_kind> fault_kinds;

// A line of help for each kind.
std::string fault_help();

struct fault {
    const fault_kind* kind;
    std::uint32_t milliseconds;
    bool is_performed;  // whether the command is

    std::string name() const;
};

// Which call of which command goes wrong.
class fault_plan {
  public:
    explicit fault_plan(std::uint64_t seed = 1) : random_(seed) {}

    // Adds "COMMAND[:N[-M]]=[before-]KIND[,MS]"; throws std::invalid_argument that says what is wrong with it.
    void add(const std::string& text);

    // From 0 to 100: how many of the calls that no other fault fits go wrong, each in a random way.
    void set_random_percent(unsigned percent) { random_percent_ = percent; }

    // Those that can still happen, as they were added.
    std::vector<std::string> list() const;
    bool remove(std::string_view text);  // the first that reads so; false when there is none
    void clear() { rules_.clear(); }

    // Counts a call of that command and tells what goes wrong with it. Of several faults the first that was added
    // counts.
    std::optional<fault> next(std::string_view command);

    // The delivery of a reply, with the fault that goes with it, if any.
    delivery send(std::vector<unsigned char> reply, const std::optional<fault>& wrong);

  private:
    struct rule {
        std::string text;
        std::string command;        // "*": any
        std::uint64_t first, last;  // calls; 0: every one
        fault wrong;
        std::uint64_t seen = 0;  // calls of that command so far
    };
    std::vector<rule> rules_;
    unsigned random_percent_ = 0;
    std::mt19937_64 random_;
};

}  // namespace simulator

#endif
