// LUT files on their way into the tables of a device.
#ifndef LUTC_CLI_PRESETS_PACKING_H
#define LUTC_CLI_PRESETS_PACKING_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "colour/layout.h"
#include "colour/transform.h"

namespace lutc_cli {

// What the values of a table span.
struct value_span {
    std::array<float, 3> minimum{};
    std::array<float, 3> maximum{};
    std::size_t outside = 0;  // values below 0 or above 1
};

value_span find_span(const colour::lut_table& table);

struct packing {
    colour::table_layout layout{};  // of the table's kind
    int size = 0;                   // 0: as in the file
    bool is_exact = false;          // nothing may be resampled or clipped
};

struct packed_table {
    std::vector<unsigned char> bytes;
    std::size_t size = 0;
    bool is_resampled = false;
    bool is_clipped = false;
    value_span span;
    double error = 0.0;  // the largest
};

// The stages of a file in words.
std::string describe_stages(const colour::colour_transform& transform);

// The table of a file. Says on standard error what was clipped, and how far off it is from 0.1 % on. Throws failure
// (exit_usage) when the size isn't possible, or exactness can't be had; messages begin with the transform's name.
packed_table pack_file(const colour::colour_transform& transform, const packing& wanted);

}  // namespace lutc_cli

#endif
