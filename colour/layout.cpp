#include "colour/layout.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "colour/error.h"

namespace colour {
namespace {

constexpr std::array<const char*, 3> order_names = {"", "-red-fastest", "-blue-fastest"};  // by entry_order

// The place in the table, whose red is fastest, of the entry at place i of the bytes; it is its own inverse.
std::size_t place_of(std::size_t i, std::size_t size, entry_order order) {
    if (order != entry_order::blue_fastest) return i;
    return i / size / size + i / size % size * size + i % size * size * size;
}

std::uint32_t bits_of(float value, double largest) {
    if (largest > 0.0) return static_cast<std::uint32_t>(std::clamp(double{value}, 0.0, 1.0) * largest + 0.5);
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

float value_of(std::uint32_t bits, double largest) {
    if (largest > 0.0) return static_cast<float>(bits / largest);
    float value = 0.0F;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// Where byte i of a number with the lowest byte first stands.
std::size_t byte_place(std::size_t i, const table_layout& layout) {
    return layout.big_endian ? layout.samples.bytes - 1 - i : i;
}

// Number i of a table.
std::uint32_t read_bits(const std::vector<unsigned char>& bytes, std::size_t i, const table_layout& layout) {
    std::uint32_t bits = 0;
    for (std::size_t byte = 0; byte < layout.samples.bytes; ++byte) {
        bits |= std::uint32_t{bytes[i * layout.samples.bytes + byte_place(byte, layout)]} << 8 * byte;
    }
    return bits;
}

std::size_t size_of(std::size_t bytes, const table_layout& layout) {
    const bool is_cube = layout.order != entry_order::curve;
    const std::size_t entries = bytes / layout.samples.bytes / 3;
    const std::size_t size = is_cube ? static_cast<std::size_t>(std::lround(std::cbrt(entries))) : entries;
    const std::size_t largest = is_cube ? max_cube_size : max_curve_size;
    const bool fits = size >= 2 && size <= largest && (is_cube ? size * size * size : size) == entries;
    if (fits && entries * 3 * layout.samples.bytes == bytes) return size;
    throw content_error(std::to_string(bytes) + " bytes are no table of " + name_of(layout) + " with 2 to " +
                        std::to_string(largest) + (is_cube ? " points an axis" : " entries"));
}

}  // namespace

std::vector<table_layout> list_layouts() {
    std::vector<table_layout> layouts;
    for (const sample_type& samples : sample_types) {
        for (const bool big_endian : {false, true}) {
            for (const auto order : {entry_order::curve, entry_order::red_fastest, entry_order::blue_fastest}) {
                layouts.push_back({samples, big_endian, order});
            }
        }
    }
    return layouts;
}

std::string name_of(const table_layout& layout) {
    return std::string(layout.samples.name) + (layout.big_endian ? "-be" : "-le") +
           order_names[static_cast<std::size_t>(layout.order)];
}

std::optional<table_layout> find_layout(std::string_view name) {
    for (const table_layout& layout : list_layouts()) {
        if (name_of(layout) == name) return layout;
    }
    return {};
}

std::vector<unsigned char> pack(const lut_table& table, const table_layout& layout) {
    const std::size_t width = layout.samples.bytes;
    std::vector<unsigned char> bytes(table.values.size() * width);
    for (std::size_t i = 0; i < table.values.size(); ++i) {
        const float value = table.values[3 * place_of(i / 3, table.size, layout.order) + i % 3];
        const std::uint32_t bits = bits_of(value, layout.samples.largest);
        for (std::size_t byte = 0; byte < width; ++byte) {
            bytes[i * width + byte_place(byte, layout)] = static_cast<unsigned char>(bits >> 8 * byte);
        }
    }
    return bytes;
}

std::size_t check_table(const std::vector<unsigned char>& bytes, const table_layout& layout) {
    const std::size_t size = size_of(bytes.size(), layout);
    const double largest = layout.samples.largest;
    if (largest == 65535.0) return size;  // every number is good
    for (std::size_t i = 0; i < bytes.size() / layout.samples.bytes; ++i) {
        const std::uint32_t bits = read_bits(bytes, i, layout);
        const bool is_finite = std::isfinite(value_of(bits, largest));
        if (is_finite && (largest == 0.0 || bits <= largest)) continue;
        throw content_error("number " + std::to_string(i) + " of the table, counted from 0, is " +
                            (is_finite ? "above " + std::to_string(std::lround(largest)) : "not finite"));
    }
    return size;
}

lut_table unpack(const std::vector<unsigned char>& bytes, const table_layout& layout) {
    lut_table table{layout.order != entry_order::curve, check_table(bytes, layout), {}};
    table.values.resize(bytes.size() / layout.samples.bytes);
    for (std::size_t i = 0; i < table.values.size() / 3; ++i) {
        float* const entry = table.values.data() + 3 * place_of(i, table.size, layout.order);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            entry[channel] = value_of(read_bits(bytes, 3 * i + channel, layout), layout.samples.largest);
        }
    }
    return table;
}

}  // namespace colour
