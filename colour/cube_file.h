// .cube files, read here: OpenColorIO has two readers for them, and each passes over
// what only the other knows.
#ifndef LUTC_COLOUR_CUBE_FILE_H
#define LUTC_COLOUR_CUBE_FILE_H

#include <cstddef>
#include <string>
#include <string_view>

#include "colour/values.h"

namespace colour {

// A table with the inputs that it covers; size 0: there is none.
struct ranged_table {
    lut_table table;
    rgb minimum = {0.0, 0.0, 0.0};
    rgb maximum = {1.0, 1.0, 1.0};
};

// What a file does, in this order.
struct cube_file {
    std::string title;
    bool takes_video_range = false;  // code values 64 to 940 of 1023 are what the tables take as 0 to 1
    ranged_table curve;
    ranged_table cube;
    bool gives_video_range = false;  // what the tables give as 0 to 1 becomes 64 to 940 of 1023
};

// Keywords count wherever they stand, in capitals or not. Throws content_error, with the line, for an unknown keyword or one that
// stands twice, a size beyond 129 points an axis or 65536 entries, a minimum that isn't below its maximum, a row that isn't
// three numbers, and more or fewer rows than the sizes say.
cube_file parse_cube_file(const std::string& path, std::string_view text);

}  // namespace colour

#endif
