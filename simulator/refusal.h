// Why a command is refused: a code for programs and a sentence for people.
#ifndef LUTC_SIMULATOR_REFUSAL_H
#define LUTC_SIMULATOR_REFUSAL_H

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>

namespace simulator {

// The "code" of a refusing reply.
enum class reason : std::int32_t {
    malformed = 1,        // not a command: no BSON document, or too long
    unknown_command = 2,  // no command has this name
    bad_field = 3,        // a field is missing, of the wrong kind or out of range
    not_found = 4,        // no such preset or option, or nothing selected
    not_possible = 5,     // the device can't do that now: library full, name taken, combination not supported
    media = 6,            // the media can't be read or written
    on_demand = 7,        // a fault that was asked for
    internal = 8,         // out of memory
};

// Bytes of a reply's "message": a client reads most replies into 1024 bytes.
constexpr std::size_t max_message_size = 600;

class refusal : public std::runtime_error {
  public:
    refusal(reason why, const std::string& message) : std::runtime_error(message), why_(why) {}
    reason why() const noexcept { return why_; }

  private:
    reason why_;
};

}  // namespace simulator

#endif
