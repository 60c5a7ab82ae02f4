// What colour files must keep to before the reader (OpenColorIO) sees them: it would pass much in silence.
#ifndef LUTC_COLOUR_FILE_CHECK_H
#define LUTC_COLOUR_FILE_CHECK_H

#include <cstddef>
#include <string>

namespace colour {

// Refused are numbers that are not decimal and finite, a .cube with more or fewer rows than it says, XML that is not
// well-formed, in a CDL an unknown or repeated part and a correction without any. Files that are not text are left to
// the reader. Returns the number of lines, or 0 for XML and what is not text. Throws error when the file can't be read,
// else content_error with the file and the line.
std::size_t check_colour_file(const std::string& path);

}  // namespace colour

#endif
