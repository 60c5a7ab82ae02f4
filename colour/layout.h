// Every way in which the numbers of a table stand as bytes (docs/colour-files.md, "Layout"), by its name:
// SAMPLES-le or SAMPLES-be for curves, with -red-fastest or -blue-fastest behind it for cubes.
#ifndef LUTC_COLOUR_LAYOUT_H
#define LUTC_COLOUR_LAYOUT_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "colour/values.h"

namespace colour {

struct sample_type {
    const char* name;
    std::size_t bytes;
    double largest;  // what 1 is stored as; 0: IEEE 754
};
inline constexpr std::array<sample_type, 4> sample_types = {
    {{"float32", 4, 0.0}, {"uint16", 2, 65535.0}, {"uint12in16", 2, 4095.0}, {"uint10in16", 2, 1023.0}}};

inline constexpr std::size_t max_cube_size = 129;
inline constexpr std::size_t max_curve_size = 65536;

enum class entry_order { curve, red_fastest, blue_fastest };  // of a cube: which input changes first

struct table_layout {
    sample_type samples;
    bool big_endian;
    entry_order order;
};

std::vector<table_layout> list_layouts();
std::string name_of(const table_layout& layout);
std::optional<table_layout> find_layout(std::string_view name);

// The bytes of a table whose kind is the layout's. Whole numbers are limited to 0..1 and rounded, halves up.
std::vector<unsigned char> pack(const lut_table& table, const table_layout& layout);

// The entries of a curve, or the points on an axis of a cube, that the bytes hold; they follow from their number. Throws
// content_error when they are no table: a number of bytes that fits none of 2 to the largest size, a value that is not
// finite or above the largest one.
std::size_t check_table(const std::vector<unsigned char>& bytes, const table_layout& layout);

// That table. Throws as check_table does.
lut_table unpack(const std::vector<unsigned char>& bytes, const table_layout& layout);

}  // namespace colour

#endif
