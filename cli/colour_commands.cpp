// lutc lut pack|plot, lutc grade plot
#include <CLI/CLI.hpp>
#include <memory>

#include "cli/arguments.h"
#include "cli/colour_files.h"
#include "cli/commands.h"
#include "cli/grade_file.h"
#include "cli/output.h"

namespace lutc_cli {
namespace {

void add_pack(CLI::App& group, Context& context) {
    auto options = std::make_shared<PackOptions>();
    CLI::App* command =
        group.add_subcommand("pack", "Turn a LUT file into the bytes of a table, as a device's format calls for");
    std::vector<std::string> samples;
    for (const SampleFormat& format : sample_formats) samples.emplace_back(format.name);
    command->add_option("file", options->file, "A LUT file: .cube, .3dl, .clf, .spi1d, .spi3d and others")->required();
    command->add_option("--samples", options->samples, "How one number is stored")
        ->required()
        ->check(CLI::IsMember(samples));
    command->add_option("--byte-order", options->byte_order, "Byte order of each number")
        ->required()
        ->check(CLI::IsMember({"little", "big"}));
    command->add_option("--order", options->order, "Which input changes first from entry to entry; cubes need it")
        ->check(CLI::IsMember({"red-fastest", "blue-fastest"}));
    add_integer(*command, "--size", options->size, 2,
                "Entries of the curve, or points on each axis of the cube; as in the file");
    command->add_flag("--exact", options->exact, "Refuse a file that would have to be resampled or clipped");
    command->add_option("-o,--output", options->output, "Where the table goes; - for standard output")->required();
    command->callback([options, &context] { pack_lut(context, *options); });
}

void add_lut_plot(CLI::App& group, Context& context) {
    struct Options {
        std::string file;
        std::string output;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = group.add_subcommand("plot", "Draw a LUT file's curves, or its cube's slices, as PNG");
    command->add_option("file", options->file, "A LUT file: .cube, .3dl, .clf, .spi1d, .spi3d and others")->required();
    command->add_option("-o,--output", options->output, "The picture")->required();
    command->callback([options, &context] {
        plot_lut(options->file, options->output);
        print_done(context);
    });
}

void add_grade_plot(CLI::App& group, Context& context) {
    struct Options {
        std::string file;
        std::string id;
        std::string output;
        cdl values = neutral_cdl();
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = group.add_subcommand("plot", "Draw what a CDL does to greys, as PNG; nothing is sent");
    add_cdl_values(*command, options->values);
    CLI::Option* file = command->add_option("--file", options->file, "Take the values from a .cc, .ccc or .cdl file");
    command->add_option("--id", options->id, "Which of the file's corrections; #N for the Nth")->needs(file);
    for (const char* name : {"--slope", "--offset", "--power", "--saturation"})
        file->excludes(command->get_option(name));
    command->add_option("-o,--output", options->output, "The picture")->required();
    command->callback([options, file, &context] {
        if (file->count() > 0) options->values = read_cdl_file(options->file, options->id);
        plot_cdl(options->values, options->output);
        print_done(context);
    });
}

}  // namespace

void add_colour_commands(CLI::App& app, Context& context) {
    CLI::App* group = app.add_subcommand("lut", "LUT files: tables for a device, and pictures");
    group->require_subcommand(1);
    add_pack(*group, context);
    add_lut_plot(*group, context);
    add_grade_plot(*app.get_subcommand("grade"), context);
}

}  // namespace lutc_cli
