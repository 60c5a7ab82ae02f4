// Failures of this room; what() begins with the name of the file.
#ifndef LUTC_COLOUR_ERROR_H
#define LUTC_COLOUR_ERROR_H

#include <stdexcept>

namespace colour {

// A file can't be read, or this build can't read colour files.
class error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The content of a file, or the bytes of a table, are wrong.
class content_error : public error {
  public:
    using error::error;
};

}  // namespace colour

#endif
