// Text that came from outside, fit for one line.
#ifndef LUTC_SIMULATOR_DEVICE_TEXT_H
#define LUTC_SIMULATOR_DEVICE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace simulator {

// Double quotes and backslashes get a backslash in front, every byte that isn't printable ASCII becomes \xNN; cut after
// limit bytes with "...".
std::string escape(std::string_view text, std::size_t limit = 64);

// The same in double quotes.
std::string quote(std::string_view text, std::size_t limit = 64);

}  // namespace simulator

#endif
