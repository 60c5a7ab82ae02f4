// Whole files that somebody else may have put there.
#ifndef LUTC_TERMINAL_REGULAR_FILE_H
#define LUTC_TERMINAL_REGULAR_FILE_H

#include <cstddef>
#include <string>
#include <vector>

namespace lutc_terminal {

enum class links { followed, refused };

// The bytes of a regular file. What else stands there (a FIFO, a device, a folder) is refused without waiting for it or
// reading from it, and with links::refused so is a symbolic link at the end of the path. Throws content_error for these
// and for more than limit bytes, std::system_error for a file that can't be read.
std::vector<unsigned char> read_regular_file(const std::string& path, std::size_t limit, links allowed);

}  // namespace lutc_terminal

#endif
