// Test patterns, drawn in the size of the picture in whose place they stand.
#ifndef LUTC_COLOUR_PATTERN_H
#define LUTC_COLOUR_PATTERN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "colour/image.h"

namespace colour {

struct test_pattern {
    std::string name;
    // "square" alone:
    double square_size = 0.0;                     // its side as a fraction of the picture's height
    std::array<std::int32_t, 3> foreground = {};  // 0 to 65535
    std::array<std::int32_t, 3> background = {};
};

// "square", "bars" (white, the colours of 75 %, black), "ramp" (black to white, left to right) and "zoneplate" (rings
// which become finer up to one pixel at the left and right edge). The case counts.
bool is_pattern(const std::string& name);

// Only for a name that is_pattern knows.
image_rows draw_pattern(const test_pattern& pattern, std::size_t width, std::size_t height);

}  // namespace colour

#endif
