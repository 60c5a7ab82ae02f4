// Calling the reader of colour files (OpenColorIO) so that nothing passes in silence.
#ifndef LUTC_COLOUR_READER_H
#define LUTC_COLOUR_READER_H

#include <functional>
#include <optional>
#include <string>

#include "colour/cube_file.h"
#include "colour/values.h"

namespace colour {

// The values of the correction of a .cc, .ccc, .cdl or .edl file with this id, or with "#N" the Nth; without an id (empty) of
// the only one. When that leaves none the content_error lists the ids that there are.
cdl_values read_cdl_file(const std::string& path, const std::string& id);

// Checks the file; returns it when it is a .cube, else runs read(readable), which calls the reader for the absolute path
// of the file, or of what stands for it. What the reader refuses or warns of is thrown as content_error with the file, and the line where
// it is known.
std::optional<cube_file> read_colour_file(const std::string& path,
                                          const std::function<void(const std::string& readable)>& read);

// Runs read, which calls the reader; name stands in the messages in the place of path.
void guard_reader(const std::string& name, const std::string& path, const std::function<void()>& read);

}  // namespace colour

#endif
