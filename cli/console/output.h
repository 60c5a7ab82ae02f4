// What every command of the tool shares: results on standard output, failures and questions on standard error.
#ifndef LUTC_CLI_CONSOLE_OUTPUT_H
#define LUTC_CLI_CONSOLE_OUTPUT_H

#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>

#include <lutc/lutc.hpp>
#include "terminal/text.h"

namespace lutc_cli {

enum exit_code {
    exit_done = 0,
    exit_refused = 1,     // the service refused or gave no usable answer; a file can't be read or written
    exit_usage = 2,       // wrong arguments, or an input file whose content is wrong
    exit_nobody = 3,      // nobody listens on the service's port
    exit_by_signal = 128  // and the number of the signal, SIGINT, SIGTERM or SIGHUP, that ended it
};

// Ends a command: one line on standard error, and this exit code.
class failure : public std::runtime_error {
  public:
    failure(int code, const std::string& message) : std::runtime_error(message), code_(code) {}
    int code() const noexcept { return code_; }

  private:
    int code_;
};

// The failure that an exception stands for: for lutc::error its cause.
failure explain(const std::exception& error);

// Calls action; when a call of the library fails there, throws the failure that begins with what describe() returns.
template <class Describe, class Action>
auto attempt(const Describe& describe, const Action& action) {
    try {
        return action();
    } catch (const lutc::error& error) {
        const failure known = explain(error);
        throw failure(known.code(), describe() + ": " + known.what());
    }
}

struct output_style {
    bool json = false;       // --json
    bool to_stderr = false;  // standard output carries something else
};

// Prints the result of a command, an object: as JSON, or as "key: value" lines and a table for each list of objects.
// null is the result of a command that only does something: {"done": true} as JSON, nothing as text.
void print_result(const output_style& style, const nlohmann::ordered_json& result);
void print_done(const output_style& style);

// The only ways in which text and JSON go to a terminal.
using lutc_terminal::printable;
std::string write_json(const nlohmann::ordered_json& value, int indent = -1);  // -1: on one line
bool is_utf8(const std::string& text);

void print_error(const std::string& message);   // "lutc: " and the message, as one line
void print_notice(const std::string& message);  // the same for what is no failure

// Before something is lost: asks on a terminal, needs yes elsewhere. Throws failure unless the answer is yes.
void confirm(bool yes, const std::string& question);

// Whether all of standard output could be written.
bool flush_output();

}  // namespace lutc_cli

#endif
