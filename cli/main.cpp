// lutc: every function of the library from the shell.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <initializer_list>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/output.h"
#include "terminal/command_tree.h"

namespace {

const char* const exit_codes =
    "Exit codes:\n"
    "  0    done\n"
    "  1    the service refused or gave no usable answer; a file can't be read or written;\n"
    "       a question was answered with no\n"
    "  2    usage: wrong arguments, or an input file whose content is wrong;\n"
    "       a question that could not be asked\n"
    "  3    nobody listens on the service's port (127.0.0.1:54440)\n"
    "  130  a backup or restore was interrupted (SIGINT or SIGTERM)\n"
    "Every failure is one line on standard error, also with --json.";

// CLI11 takes "-.5" for an option; "-0.5" it takes for a number.
std::vector<std::string> with_leading_zeros(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto is_word = [](const std::string& argument) { return argument.empty() || argument[0] != '-'; };
    const auto command = std::find_if(arguments.begin(), arguments.end(), is_word);
    if (command == arguments.end() || *command != "grade") return arguments;
    for (std::string& argument : arguments) {
        const bool bare = argument.size() > 2 && argument.compare(0, 2, "-.") == 0;
        if (bare && argument[2] >= '0' && argument[2] <= '9') argument.insert(1, "0");
    }
    return arguments;
}

// Of an argument that stands where something else is required, CLI11 says only what is required.
std::string usage_message(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    std::string message = error.what();
    if (error.get_name() == "RequiredError" && !unknown.empty()) message += "; '" + unknown[0] + "' is not known here";
    return message + " (see --help)";
}

// The title under which --help lists the commands.
void group(CLI::App& app, const char* title, std::initializer_list<const char*> commands) {
    for (const char* command : commands) app.get_subcommand(command)->group(title);
}

int run(int argc, char** argv) {
    lutc_cli::Context context;
    CLI::App app{"Control of a video colour-processing device: presets, grades, channels, routing, options", "lutc"};
    app.set_version_flag("--version", std::string("lutc ") + LUTC_VERSION, "Print the version and exit");
    app.add_flag("--json", context.json, "Print results as JSON; accepted before and after the command");
    lutc_terminal::add_command_tree_flag(app);
    app.footer(exit_codes);
    app.fallthrough();
    app.require_subcommand(1);
    lutc_cli::add_device_commands(app, context);
    lutc_cli::add_preset_commands(app, context);
    lutc_cli::add_grade_commands(app, context);
    lutc_cli::add_state_commands(app, context);
    lutc_cli::add_video_commands(app, context);
    lutc_cli::add_option_commands(app, context);
    lutc_cli::add_dump_command(app, context);
    lutc_cli::add_colour_commands(app, context);
    group(app, "The device", {"client", "model", "state", "video", "option"});
    group(app, "Presets and grades", {"presets", "grade"});
    group(app, "Files, without a service", {"lut", "dump"});
    try {
        std::vector<std::string> arguments = with_leading_zeros(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // the order that CLI11 wants
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);
        } else {
            throw lutc_cli::Failure(lutc_cli::exit_usage, usage_message(app, error));
        }
    }
    if (!lutc_cli::flush_output()) {
        throw lutc_cli::Failure(lutc_cli::exit_refused, "standard output can't be written");
    }
    return lutc_cli::exit_done;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const lutc_cli::Failure& failure) {
        lutc_cli::print_error(failure.what());
        return failure.code();
    } catch (const std::exception& error) {
        lutc_cli::print_error(error.what());
        return lutc_cli::exit_refused;
    }
}
