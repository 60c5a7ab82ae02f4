// lutc grade combination|lut|cdl|saturation|live
#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/arguments.h"
#include "cli/colour_files.h"
#include "cli/commands.h"
#include "cli/files.h"
#include "cli/grade_file.h"
#include "cli/output.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

struct Options {
    int channel = 0;
    int slot = 0;
    int combination = 0;
    bool reset = false;
    double saturation = 1.0;
    cdl values = neutral_cdl();
    std::string file;
    std::string id;
    std::string type;
    std::string format;
};

void add_target(CLI::App& command, Options& options) {
    add_channel(command, options.channel);
    command.add_flag("--reset", options.reset, "Start from a neutral grade and apply this at once");
}

void add_slot(CLI::App& command, Options& options) {
    add_integer(command, "--slot", options.slot, 1, "Slot among the components of its type, from 1");
}

ordered_json shown(const cdl& values) {
    const auto triple = [](const double(&three)[3]) { return ordered_json::array({three[0], three[1], three[2]}); };
    return {{"slope", triple(values.slope)},
            {"offset", triple(values.offset)},
            {"power", triple(values.power)},
            {"saturation", values.saturation}};
}

void send_lut(const Options& options) {
    std::vector<unsigned char> data = read_file(options.file, payload_limit);
    if (data.empty()) throw Failure(exit_usage, options.file + ": holds no table");
    require_success("grade lut", lutc_send_lut(options.channel, options.slot, options.reset, options.type.c_str(),
                                               options.format.c_str(), data.data(), static_cast<int>(data.size())));
}

void send_live(const Options& options) {
    Grade grade = read_grade_file(options.file, GradeUse::live);
    const std::vector<gradeComponent> records = records_of(grade);
    const int combination = options.combination > 0 ? options.combination : grade.grade_combo_index;
    require_success("grade live", lutc_send_live(options.channel, combination, options.reset, records.data(),
                                                 static_cast<int>(records.size())));
}

void add_combination(CLI::App& group, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* command = group.add_subcommand("combination", "Choose the grade combination of a channel");
    add_integer(*command, "combination", options->combination, 1, "The combination, from 1 (see lutc model)")
        ->required();
    add_target(*command, *options);
    command->callback([options, &context] {
        require_success("grade combination",
                        lutc_send_combination(options->channel, options->reset, options->combination));
        print_done(context);
    });
}

void add_lut(CLI::App& group, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* command = group.add_subcommand("lut", "Send a LUT to a channel");
    command->add_option("file", options->file, "The table's bytes, sent as they are; - for standard input")->required();
    command->add_option("--type", options->type, "Type of the LUT, such as 1dlut or 3dlut")->required();
    command->add_option("--format", options->format, "Name of the table's format, one of the service's")->required();
    add_slot(*command, *options);
    add_target(*command, *options);
    command->callback([options, &context] {
        send_lut(*options);
        print_done(context);
    });
}

void add_cdl(CLI::App& group, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* command = group.add_subcommand("cdl", "Send CDL values to a channel");
    add_cdl_values(*command, options->values);
    add_slot(*command, *options);
    add_target(*command, *options);
    CLI::Option* file = command->add_option("--file", options->file, "Take the values from a .cc, .ccc or .cdl file");
    command->add_option("--id", options->id, "Which of the file's corrections; #N for the Nth")->needs(file);
    for (const char* name : {"--slope", "--offset", "--power", "--saturation"})
        file->excludes(command->get_option(name));
    command->callback([options, file, &context] {
        if (file->count() > 0) options->values = read_cdl_file(options->file, options->id);
        require_success("grade cdl", lutc_send_cdl(options->channel, options->slot, options->reset, &options->values));
        if (file->count() == 0) return print_done(context);
        print_result(context, shown(options->values));
    });
}

void add_saturation(CLI::App& group, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* command = group.add_subcommand("saturation", "Send a saturation to a channel");
    add_number(*command, "saturation", options->saturation, "1 leaves the picture as it is, 0 gives greys")->required();
    add_slot(*command, *options);
    add_target(*command, *options);
    command->callback([options, &context] {
        require_success("grade saturation",
                        lutc_send_saturation(options->channel, options->slot, options->reset, options->saturation));
        print_done(context);
    });
}

void add_live(CLI::App& group, const std::shared_ptr<Options>& options, Context& context) {
    CLI::App* command = group.add_subcommand("live", "Send a whole grade to a channel, without storing it");
    command->add_option("file", options->file, "A grade file; - for standard input")->required();
    add_integer(*command, "--combination", options->combination, 1,
                "The grade combination, from 1, in place of the file's");
    add_target(*command, *options);
    command->callback([options, &context] {
        send_live(*options);
        print_done(context);
    });
}

}  // namespace

void add_grade_commands(CLI::App& app, Context& context) {
    auto options = std::make_shared<Options>();
    CLI::App* group = app.add_subcommand("grade", "Send grades to a channel");
    group->require_subcommand(1);
    add_combination(*group, options, context);
    add_lut(*group, options, context);
    add_cdl(*group, options, context);
    add_saturation(*group, options, context);
    add_live(*group, options, context);
}

}  // namespace lutc_cli
