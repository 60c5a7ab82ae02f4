// Text that came from outside, fit for one line.
#ifndef LUTC_TERMINAL_TEXT_H
#define LUTC_TERMINAL_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace lutc_terminal {

// UTF-8 stays as it is, but every byte of a character that could steer a terminal (a control character, or one that turns
// the direction of text), and every byte that isn't UTF-8, becomes \xNN.
std::string printable(std::string_view text);

// JSON text with such characters as \u00NN: those from U+007F on, since the others stand in no string of it.
std::string printable_json(std::string_view json);

// As printable, and double quotes and backslashes get a backslash in front. Cut after limit bytes, or the character that
// begins there, with "...".
std::string escape(std::string_view text, std::size_t limit = 64);

// The same in double quotes.
std::string quote(std::string_view text, std::size_t limit = 64);

}  // namespace lutc_terminal

#endif
