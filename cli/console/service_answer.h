// What the service itself said: the library doesn't pass it on, so it is read from the bytes that go by.
#ifndef LUTC_CLI_CONSOLE_SERVICE_ANSWER_H
#define LUTC_CLI_CONSOLE_SERVICE_ANSWER_H

#include <cstdint>
#include <optional>
#include <string>

namespace lutc_cli {

struct service_answer {
    std::int32_t code = 0;
    std::string message;
};

// The answer to the last call; none when none came that could be read.
std::optional<service_answer> last_answer();

}  // namespace lutc_cli

#endif
