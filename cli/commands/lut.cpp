// lutc lut pack|plot
#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "cli/commands/commands.h"
#include "cli/commands/output_option.h"
#include "cli/commands/table_option.h"
#include "cli/presets/config.h"
#include "cli/presets/packing.h"
#include "colour/layout.h"
#include "colour/plot.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

const char* const file_help = "A LUT file: .cube, .3dl, .csp, .clf, .ctf, .spi1d or .spi3d";

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

struct pack_options {
    std::string file;
    std::optional<std::string> layout;
    std::string samples;  // and the next two: the same in three options
    std::string byte_order;
    std::string order;
    int size = 0;  // 0: as in the file
    bool exact = false;
    output_option output;

    void declare(const command& pack) {
        std::vector<std::string> names;
        for (const colour::sample_type& type : colour::sample_types) names.emplace_back(type.name);
        pack.add_text("file", file, file_help).require();
        const argument name = add_layout(pack, layout);
        const argument number = pack.add_choice("--samples", samples, names, "How one number is stored").exclude(name);
        const argument bytes =
            pack.add_choice("--byte-order", byte_order, {"little", "big"}, "Byte order of each number");
        bytes.need(number);
        number.need(bytes);
        pack.add_choice("--order", order, {"red-fastest", "blue-fastest"},
                        "Which input changes first from entry to entry; cubes need it")
            .need(number);
        pack.add_integer("--size", size, 2, "Entries of the curve, or points on each axis of the cube; as in the file");
        pack.add_flag("--exact", exact, "Refuse a file that would have to be resampled or clipped");
        output.declare(pack, "Where the table goes");
    }

    colour::table_layout find_layout(bool is_cube) const {
        if (!samples.empty()) {
            if (is_cube && order.empty()) {
                throw failure(exit_usage, file + ": a cube; give --order red-fastest or blue-fastest");
            }
            return settle_layout(samples + (byte_order == "big" ? "-be" : "-le") + (is_cube ? "-" + order : ""),
                                 is_cube);
        }
        const std::optional<std::string> name = layout ? layout : read_config().layout;
        if (name) return settle_layout(*name, is_cube);
        throw failure(exit_usage,
                      file + ": into which layout? Give --layout NAME, or write it down once: lutc config layout NAME");
    }

    void run(const output_style& style) const;
};

void pack_options::run(const output_style& style) const {
    const colour::colour_transform transform = colour::read_lut_file(file);
    const bool is_cube = transform.mixes_channels;
    const colour::table_layout found = find_layout(is_cube);
    const packed_table packed = pack_file(transform, {found, size, exact});
    ordered_json report = {{"file", file}, {"type", is_cube ? "3dlut" : "1dlut"}};
    report["stages"] = transform.stages;
    if (!style.json) report["stages"] = describe_stages(transform);
    report.update({{"fileSize", transform.file_size},
                   {"size", packed.size},
                   {"domainMinimum", shorten(transform.domain_minimum)},
                   {"domainMaximum", shorten(transform.domain_maximum)},
                   {"shaper", transform.has_shaper},
                   {"resampled", packed.is_resampled},
                   {"minimum", shorten(packed.span.minimum)},
                   {"maximum", shorten(packed.span.maximum)},
                   {"outOfRange", packed.span.outside},
                   {"clipped", packed.is_clipped},
                   {"maximumError", shorten(packed.error)},
                   {"layout", colour::name_of(found)},
                   {"samples", found.samples.name},
                   {"byteOrder", found.big_endian ? "big" : "little"}});
    if (is_cube) report["order"] = found.order == colour::entry_order::red_fastest ? "red-fastest" : "blue-fastest";
    report["bytes"] = packed.bytes.size();
    report["output"] = output.path;
    output.write(packed.bytes, {file});
    print_result(output.style_beside(style), report);
}

struct info_options {
    std::string file;
    std::array<double, 3> colour{};
    std::optional<argument> given;

    void declare(const command& info) {
        info.add_text("file", file, file_help).require();
        given = info.add_triple("colour", colour, "A colour, to see what the file makes of it");
    }

    ordered_json run() const {
        const colour::colour_transform transform = colour::read_lut_file(file);
        const bool is_cube = transform.mixes_channels;
        const std::size_t unknown_size = is_cube ? 33 : 1024;  // of a file without a table
        const value_span span =
            find_span(colour::make_table(transform, transform.file_size > 1 ? transform.file_size : unknown_size));
        ordered_json report = {{"file", file},
                               {"title", transform.title.empty() ? ordered_json() : ordered_json(transform.title)},
                               {"type", is_cube ? "3dlut" : "1dlut"},
                               {"stages", describe_stages(transform)},
                               {"fileSize", transform.file_size},
                               {"domainMinimum", shorten(transform.domain_minimum)},
                               {"domainMaximum", shorten(transform.domain_maximum)},
                               {"shaper", transform.has_shaper},
                               {"minimum", shorten(span.minimum)},
                               {"maximum", shorten(span.maximum)},
                               {"outOfRange", span.outside},
                               {"exact", transform.content.has_value()}};
        if (!given->is_given()) return report;
        std::vector<float> triple(colour.begin(), colour.end());
        transform.apply(triple);
        report["input"] = colour;
        report["output"] = shorten(std::array<float, 3>{triple[0], triple[1], triple[2]});
        return report;
    }
};

struct lut_plot_options {
    std::string file;
    output_option output;

    void declare(const command& plot) {
        plot.add_text("file", file, file_help).require();
        output.declare(plot, "The picture, an SVG when its name ends in .svg, else a PNG");
    }

    void run(const output_style& style) const {
        const colour::colour_transform transform = colour::read_lut_file(file);
        output.write(colour::plot(transform, output.is_svg()), {file});
        print_done(output.style_beside(style));
    }
};

}  // namespace

void add_lut(const command& tool) {
    const command group = tool.add_group("lut", "LUT files: tables for a device, and pictures");
    group.add<pack_options>("pack", "Turn a LUT file into the bytes of a table, as a device's format calls for");
    group.add<info_options>("info", "Show what a LUT file is, and what it makes of a colour");
    group.add<lut_plot_options>("plot", "Draw a LUT file's curves, and its cube's slices");
}

}  // namespace lutc_cli
