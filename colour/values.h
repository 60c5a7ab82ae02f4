// Colours, CDL values and tables.
#ifndef LUTC_COLOUR_VALUES_H
#define LUTC_COLOUR_VALUES_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace colour {

using rgb = std::array<double, 3>;

struct cdl_values {  // by default they leave the picture as it is
    rgb slope = {1.0, 1.0, 1.0};
    rgb offset = {0.0, 0.0, 0.0};
    rgb power = {1.0, 1.0, 1.0};
    double saturation = 1.0;
};

// Why such values can't be applied, in words; empty when they can.
std::string find_cdl_obstacle(const cdl_values& values);
std::string find_saturation_obstacle(double saturation);

// A table over inputs 0..1: RGB triples. A curve has size of them; a cube size * size * size, red fastest.
struct lut_table {
    bool is_cube = false;
    std::size_t size = 0;
    std::vector<float> values;
};

}  // namespace colour

#endif
