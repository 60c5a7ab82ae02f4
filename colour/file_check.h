// What colour files must keep to before the reader (OpenColorIO) sees them: it would pass much in silence.
#ifndef LUTC_COLOUR_FILE_CHECK_H
#define LUTC_COLOUR_FILE_CHECK_H

#include <cstddef>
#include <optional>
#include <string>

#include "colour/cube_file.h"

namespace colour {

struct file_facts {
    std::string text;               // as the reader takes it: without a byte-order mark, a CLF with its version
    std::size_t lines = 0;          // of a plain text that is left to the reader
    std::optional<cube_file> cube;  // of a .cube, which is none of the reader's
};

// Refused are names and contents of no known format, numbers that are not decimal and finite, sizes beyond 129 points
// an axis or 65536 entries, what is wrong in a .cube, unknown words in other texts, XML that is not well-formed or
// costs too much to read, in a CDL an unknown or repeated part and a correction without any. Throws error when the file
// can't be read, else content_error with the file and the line.
file_facts check_colour_file(const std::string& path);

}  // namespace colour

#endif
