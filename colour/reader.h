// Calling the reader of colour files (OpenColorIO) so that nothing passes in silence.
#ifndef LUTC_COLOUR_READER_H
#define LUTC_COLOUR_READER_H

#include <array>
#include <functional>
#include <string>

namespace colour {

using rgb = std::array<double, 3>;

struct cdl_values {  // by default they leave the picture as it is
    rgb slope = {1.0, 1.0, 1.0};
    rgb offset = {0.0, 0.0, 0.0};
    rgb power = {1.0, 1.0, 1.0};
    double saturation = 1.0;
};

// The values of the correction of a .cc, .ccc or .cdl file with this id, or with "#N" the Nth; without an id (empty) of
// the only one. When that leaves none the content_error lists the ids that there are.
cdl_values read_cdl_file(const std::string& path, const std::string& id);

// Checks the file, then runs read, which calls the reader for it. What the reader refuses or warns of is thrown as
// content_error with the file, and the line where it is known.
void read_colour_file(const std::string& path, const std::function<void()>& read);

// Runs read, which calls the reader without a file; name stands in the messages.
void guard_reader(const std::string& name, const std::function<void()>& read);

}  // namespace colour

#endif
