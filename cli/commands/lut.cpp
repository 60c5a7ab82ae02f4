// lutc lut pack|plot
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "cli/commands/commands.h"
#include "cli/commands/output_option.h"
#include "colour/layout.h"
#include "colour/plot.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

const char* const file_help = "A LUT file: .cube, .3dl, .clf, .spi1d, .spi3d and others";

// What the values of a table span.
struct value_span {
    std::array<float, 3> minimum{};
    std::array<float, 3> maximum{};
    std::size_t outside = 0;  // values below 0 or above 1
};

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

// A number with the digits that it means and no more.
ordered_json shorten(float value) {
    char text[32];
    *std::to_chars(text, text + sizeof text - 1, value).ptr = '\0';
    return std::strtod(text, nullptr);
}

ordered_json shorten(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return std::strtod(text, nullptr);
}

template <class Number>
ordered_json shorten(const std::array<Number, 3>& triple) {
    return {shorten(triple[0]), shorten(triple[1]), shorten(triple[2])};
}

std::string describe_stages(const colour::colour_transform& transform) {
    std::string words;
    for (const std::string& stage : transform.stages) words += (words.empty() ? "" : ", then ") + stage;
    return words.empty() ? "nothing" : words;
}

struct pack_options {
    std::string file;
    std::string samples;
    std::string byte_order;
    std::string order;
    int size = 0;  // 0: as in the file
    bool exact = false;
    output_option output;

    void declare(const command& pack) {
        std::vector<std::string> names;
        for (const colour::sample_type& type : colour::sample_types) names.emplace_back(type.name);
        pack.add_text("file", file, file_help).require();
        pack.add_choice("--samples", samples, names, "How one number is stored").require();
        pack.add_choice("--byte-order", byte_order, {"little", "big"}, "Byte order of each number").require();
        pack.add_choice("--order", order, {"red-fastest", "blue-fastest"},
                        "Which input changes first from entry to entry; cubes need it");
        pack.add_integer("--size", size, 2, "Entries of the curve, or points on each axis of the cube; as in the file");
        pack.add_flag("--exact", exact, "Refuse a file that would have to be resampled or clipped");
        output.declare(pack, "Where the table goes");
    }

    colour::table_layout find_layout(bool is_cube) const {
        if (is_cube && order.empty()) {
            throw failure(exit_usage, file + ": a cube; give --order red-fastest or blue-fastest");
        }
        const std::string name = samples + (byte_order == "big" ? "-be" : "-le") + (is_cube ? "-" + order : "");
        return colour::find_layout(name).value();
    }

    std::size_t find_size(const colour::colour_transform& transform) const {
        const bool is_cube = transform.mixes_channels;
        const std::size_t found = size > 0 ? static_cast<std::size_t>(size) : transform.file_size;
        if (found == 0) {
            throw failure(exit_usage, file + ": the file has no " + (is_cube ? "cube" : "curve") +
                                          " whose size could be kept; give --size");
        }
        const std::size_t largest = is_cube ? colour::max_cube_size : colour::max_curve_size;
        if (found < 2 || found > largest) {
            throw failure(exit_usage, file + ": a size of " + std::to_string(found) + "; possible are 2 to " +
                                          std::to_string(largest));
        }
        return found;
    }

    void run(const output_style& style) const;
};

void pack_options::run(const output_style& style) const {
    const colour::colour_transform transform = colour::read_lut_file(file);
    const bool is_cube = transform.mixes_channels;
    const colour::table_layout layout = find_layout(is_cube);
    const std::size_t packed_size = find_size(transform);
    const bool resampled = !transform.content || packed_size != transform.file_size;
    if (resampled && exact) {
        throw failure(exit_usage, file + ": would have to be resampled to " + std::to_string(packed_size) +
                                      (is_cube ? " points an axis" : " entries") +
                                      ", against --exact; it holds: " + describe_stages(transform));
    }
    const colour::lut_table table = colour::make_table(transform, packed_size);
    const value_span span = find_span(table);
    const bool clips = span.outside > 0 && layout.samples.largest > 0.0;
    if (clips) {
        const std::string message = file + ": " + std::to_string(span.outside) + " of " +
                                    std::to_string(table.values.size()) + " values are outside 0..1, which " + samples +
                                    " can't hold";
        if (exact) throw failure(exit_usage, message + ", against --exact");
        print_notice(message + ": they are clipped");
    }
    const std::vector<unsigned char> bytes = colour::pack(table, layout);
    ordered_json report = {{"file", file}, {"type", is_cube ? "3dlut" : "1dlut"}};
    report["stages"] = transform.stages;
    if (!style.json) report["stages"] = describe_stages(transform);
    report.update({{"fileSize", transform.file_size},
                   {"size", packed_size},
                   {"domainMinimum", shorten(transform.domain_minimum)},
                   {"domainMaximum", shorten(transform.domain_maximum)},
                   {"shaper", transform.has_shaper},
                   {"resampled", resampled},
                   {"minimum", shorten(span.minimum)},
                   {"maximum", shorten(span.maximum)},
                   {"outOfRange", span.outside},
                   {"clipped", clips},
                   {"maximumError", shorten(find_largest_error(transform, colour::unpack(bytes, layout), clips))},
                   {"samples", samples},
                   {"byteOrder", byte_order}});
    if (is_cube) report["order"] = order;
    report["bytes"] = bytes.size();
    report["output"] = output.path;
    output.write(bytes, {file});
    print_result(output.style_beside(style), report);
}

struct plot_options {
    std::string file;
    output_option output;

    void declare(const command& plot) {
        plot.add_text("file", file, file_help).require();
        output.declare(plot, "The picture");
    }

    void run(const output_style& style) const {
        const colour::colour_transform transform = colour::read_lut_file(file);
        output.write(colour::plot(transform, transform.mixes_channels), {file});
        print_done(output.style_beside(style));
    }
};

}  // namespace

void add_lut(const command& tool) {
    const command group = tool.add_group("lut", "LUT files: tables for a device, and pictures");
    group.add<pack_options>("pack", "Turn a LUT file into the bytes of a table, as a device's format calls for");
    group.add<plot_options>("plot", "Draw a LUT file's curves, or its cube's slices, as PNG");
}

}  // namespace lutc_cli
