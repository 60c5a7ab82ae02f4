// Colour transforms as OpenColorIO computes them, and the tables that stand for them.
#ifndef LUTC_COLOUR_TRANSFORM_H
#define LUTC_COLOUR_TRANSFORM_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "colour/values.h"

namespace colour {

// What a LUT file, a CDL or a table makes of RGB triples.
struct colour_transform {
    std::string name;   // in messages
    std::string title;  // that the file gives itself; possibly empty
    std::function<void(std::vector<float>& triples)> apply;
    bool mixes_channels = false;      // an output depends on more than its own input: a cube is called for, else curves
    std::vector<std::string> stages;  // those that do something, in words, in order
    bool has_shaper = false;          // a curve stands ahead of the cube
    bool is_tetrahedral = false;      // how the cube is interpolated, linearly if not
    rgb domain_minimum = {};          // the inputs that the first table covers
    rgb domain_maximum = {1.0, 1.0, 1.0};
    std::size_t file_size = 0;         // entries of its largest table of the kind that is called for, or 0
    std::optional<lut_table> content;  // set when it is nothing but this table
};

// Throws error when the file can't be read or this build has no reader, content_error for a content that is wrong.
colour_transform read_lut_file(const std::string& path);
// Limited to 0..1 ahead of the power and at the end, as the ASC defines it. Throws content_error for values that it
// doesn't allow.
colour_transform make_cdl_transform(const cdl_values& values);
colour_transform make_table_transform(const lut_table& table, bool is_tetrahedral);

// The transform as a table: its content when that has this size, else what it makes of the inputs i / (size - 1).
// Throws content_error when a value is not finite.
lut_table make_table(const colour_transform& transform, std::size_t size);

// The largest difference of any channel between the transform and a table in its place, on a dense grid over 0..1;
// clipped: both limited to 0..1 first.
double find_largest_error(const colour_transform& transform, const lut_table& table, bool clipped);

}  // namespace colour

#endif
