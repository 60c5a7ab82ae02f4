// What stands before every colour file: the reader (OpenColorIO) is made to refuse what it would pass in silence.
#ifndef LUTC_CLI_COLOUR_READER_H
#define LUTC_CLI_COLOUR_READER_H

#include <functional>
#include <string>

namespace lutc_cli {

// Checks the text of a colour file, LUT or CDL, XML or not, then runs read, which calls the reader for it. Refused are
// numbers that are not decimal and finite, a .cube with more or fewer rows than it says, XML that is not well-formed,
// in a CDL an unknown or repeated part and a correction without any, whatever the reader refuses, and whatever it warns
// of. Throws Failure with the file, and the line where it is known: EXIT_REFUSED when the file can't be read, else
// EXIT_USAGE. The text of files that are not text is left to the reader.
void read_colour_file(const std::string& path, const std::function<void()>& read);

// Runs read, which calls the reader without a file; name stands in the messages.
void guard_reader(const std::string& name, const std::function<void()>& read);

}  // namespace lutc_cli

#endif
