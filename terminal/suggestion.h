// What a word that isn't known may have been meant to be.
#ifndef LUTC_TERMINAL_SUGGESTION_H
#define LUTC_TERMINAL_SUGGESTION_H

#include <string>
#include <string_view>
#include <vector>

namespace lutc_terminal {

// The known word that takes the fewest letters to be added, left out, changed or swapped with the next; empty when none
// is near.
std::string find_nearest(std::string_view word, const std::vector<std::string>& known);

// "; did you mean 'select'?", or nothing.
std::string suggest(std::string_view word, const std::vector<std::string>& known);

}  // namespace lutc_terminal

#endif
