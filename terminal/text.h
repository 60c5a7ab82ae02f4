// Text that came from outside, fit for one line.
#ifndef LUTC_TERMINAL_TEXT_H
#define LUTC_TERMINAL_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace lutc_terminal {

// UTF-8 stays as it is. Double quotes and backslashes get a backslash in front; every byte of a control character, and
// every byte that isn't UTF-8, becomes \xNN. Cut after limit bytes, or the character that begins there, with "...".
std::string escape(std::string_view text, std::size_t limit = 64);

// The same in double quotes.
std::string quote(std::string_view text, std::size_t limit = 64);

}  // namespace lutc_terminal

#endif
