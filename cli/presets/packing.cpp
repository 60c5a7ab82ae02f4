#include "cli/presets/packing.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "cli/console/output.h"

namespace lutc_cli {
namespace {

constexpr double told_error = 0.001;  // of the whole range
constexpr double small_error = 0.01;
constexpr std::array<std::size_t, 3> cube_sizes = {33, 65, 129};  // those that are proposed
constexpr std::array<std::size_t, 3> curve_sizes = {1024, 4096, 65536};

std::size_t find_size(const colour::colour_transform& transform, int wanted) {
    const bool is_cube = transform.mixes_channels;
    const std::size_t found = wanted > 0 ? static_cast<std::size_t>(wanted) : transform.file_size;
    if (found == 0) {
        throw failure(exit_usage, transform.name + ": the file has no " + (is_cube ? "cube" : "curve") +
                                      " whose size could be kept; give --size");
    }
    const std::size_t largest = is_cube ? colour::max_cube_size : colour::max_curve_size;
    if (found >= 2 && found <= largest) return found;
    throw failure(exit_usage, transform.name + ": a size of " + std::to_string(found) + "; possible are 2 to " +
                                  std::to_string(largest));
}

std::string percent(double part) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2g %%", part < 1e-5 ? 0.0 : 100.0 * part);
    return text;
}

double find_error(const colour::colour_transform& transform, const packed_table& packed,
                  const colour::table_layout& layout) {
    return colour::find_largest_error(transform, colour::unpack(packed.bytes, layout), packed.is_clipped);
}

packed_table pack_in_size(const colour::colour_transform& transform, const colour::table_layout& layout,
                          std::size_t size) {
    const colour::lut_table table = colour::make_table(transform, size);
    packed_table packed;
    packed.bytes = colour::pack(table, layout);
    packed.size = size;
    packed.is_resampled = !transform.content || size != transform.file_size;
    packed.span = find_span(table);
    packed.is_clipped = packed.span.outside > 0 && layout.samples.largest > 0.0;
    return packed;
}

// The smallest size that makes the error small, else the one with the least; nothing where none is better.
std::string propose_size(const colour::colour_transform& transform, const packed_table& packed,
                         const colour::table_layout& layout) {
    double least = packed.error;
    std::string words;
    for (const std::size_t size : transform.mixes_channels ? cube_sizes : curve_sizes) {
        if (size <= packed.size || least < small_error) continue;
        const double error = find_error(transform, pack_in_size(transform, layout, size), layout);
        if (error >= least) continue;
        least = error;
        words = "; --size " + std::to_string(size) + " gives " + percent(error);
    }
    return words;
}

// Throws where exactness is asked for; says what is lost where it isn't.
void check_loss(const colour::colour_transform& transform, const packed_table& packed, const packing& wanted) {
    if (packed.is_resampled && wanted.is_exact) {
        throw failure(exit_usage, transform.name + ": would have to be resampled to " + std::to_string(packed.size) +
                                      (transform.mixes_channels ? " points an axis" : " entries") +
                                      ", against --exact; it holds: " + describe_stages(transform));
    }
    if (!packed.is_clipped) return;
    const std::size_t values = packed.bytes.size() / wanted.layout.samples.bytes;
    const std::string message = transform.name + ": " + std::to_string(packed.span.outside) + " of " +
                                std::to_string(values) + " values are outside 0..1, which " +
                                wanted.layout.samples.name + " can't hold";
    if (wanted.is_exact) throw failure(exit_usage, message + ", against --exact");
    print_notice(message + ": they are clipped");
}

}  // namespace

value_span find_span(const colour::lut_table& table) {
    value_span span;
    for (std::size_t i = 0; i < table.values.size(); ++i) {
        const float value = table.values[i];
        float& least = span.minimum[i % 3];
        float& most = span.maximum[i % 3];
        least = i < 3 ? value : std::min(least, value);
        most = i < 3 ? value : std::max(most, value);
        if (value < 0.0F || value > 1.0F) ++span.outside;
    }
    return span;
}

std::string describe_stages(const colour::colour_transform& transform) {
    std::string words;
    for (const std::string& stage : transform.stages) words += (words.empty() ? "" : ", then ") + stage;
    return words.empty() ? "nothing" : words;
}

packed_table pack_file(const colour::colour_transform& transform, const packing& wanted) {
    packed_table packed = pack_in_size(transform, wanted.layout, find_size(transform, wanted.size));
    check_loss(transform, packed, wanted);
    packed.error = find_error(transform, packed, wanted.layout);
    if (packed.error >= told_error) {
        print_notice(transform.name + ": " + (packed.is_resampled ? "resampled" : "clipped") + ": up to " +
                     percent(packed.error) + " off" + propose_size(transform, packed, wanted.layout));
    }
    return packed;
}

}  // namespace lutc_cli
