// lutc: every function of the library from the shell.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "cli/commands/commands.h"
#include "cli/console/interrupt.h"
#include "cli/help.h"
#include "colour/error.h"
#include "terminal/command_tree.h"
#include "terminal/narrow_help.h"

namespace {

const char* const exit_codes =
    "Exit codes:\n"
    "  0    done\n"
    "  1    the service refused or gave no usable answer; a file can't be read or written;\n"
    "       a question was answered with no\n"
    "  2    usage: wrong arguments, or an input file whose content is wrong;\n"
    "       a question that could not be asked\n"
    "  3    nobody listens on the service's port (127.0.0.1:54440)\n"
    "  130  interrupted (SIGINT); 143 and 129: by SIGTERM and SIGHUP; watch ends so with 0\n"
    "Every failure is one line on standard error, also with --json.";

// CLI11 takes "-.5" for an option; "-0.5" it takes for a number.
std::vector<std::string> add_leading_zeros(int argc, char** argv) {
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto is_word = [](const std::string& argument) { return argument.empty() || argument[0] != '-'; };
    const auto command = std::find_if(arguments.begin(), arguments.end(), is_word);
    if (command == arguments.end() || (*command != "grade" && *command != "lut")) return arguments;
    for (std::string& argument : arguments) {
        const bool bare = argument.size() > 2 && argument.compare(0, 2, "-.") == 0;
        if (bare && argument[2] >= '0' && argument[2] <= '9') argument.insert(1, "0");
    }
    return arguments;
}

// Of an argument that stands where something else is required, CLI11 says only what is required.
std::string usage_message(CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining(true);
    std::string message = error.what();
    if (unknown.empty()) return message + " (see --help)";
    if (error.get_name() == "RequiredError") message += "; '" + unknown[0] + "' is not known here";
    const auto option =
        std::find_if(unknown.begin(), unknown.end(), [](const std::string& each) { return each[0] == '-'; });
    // Behind a command that isn't known no option is.
    std::string near = lutc_cli::suggest(app, unknown[0]);
    if (near.empty() && option != unknown.end()) near = lutc_cli::suggest(app, *option);
    return message + near + " (see --help)";
}

// The command that "help" asks about; none when the arguments begin otherwise.
std::optional<std::vector<std::string>> find_question(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] != '-') words.emplace_back(argv[i]);
    }
    if (words.empty() || words[0] != "help") return std::nullopt;
    words.erase(words.begin());
    return words;
}

// The title under which --help lists the commands.
void set_title(CLI::App& app, const char* title, std::initializer_list<const char*> commands) {
    for (const char* command : commands) app.get_subcommand(command)->group(title);
}

// style is set by parsing and outlives it.
void build_app(CLI::App& app, lutc_cli::output_style& style) {
    app.set_version_flag("--version", std::string("lutc ") + LUTC_VERSION, "Print the version and exit");
    app.add_flag("--json", style.json, "Print results as JSON; accepted before and after the command");
    lutc_terminal::narrow_help(app);
    lutc_terminal::add_command_tree_flag(app);
    app.fallthrough();
    app.require_subcommand(1);
    for (const auto add : {lutc_cli::add_client, lutc_cli::add_model, lutc_cli::add_presets, lutc_cli::add_grade,
                           lutc_cli::add_state, lutc_cli::add_video, lutc_cli::add_option, lutc_cli::add_watch,
                           lutc_cli::add_dump, lutc_cli::add_lut, lutc_cli::add_config}) {
        add(lutc_cli::command(&app, style));
    }
    app.add_subcommand("help", "Show the help of a command");
    set_title(app, "The device", {"client", "model", "state", "video", "option", "watch"});
    set_title(app, "Presets and grades", {"presets", "grade"});
    set_title(app, "Files, without a service", {"lut", "dump", "config"});
    set_title(app, "About lutc", {"help"});
    lutc_cli::add_examples(app, exit_codes);
}

// Runs the command that the arguments name.
void run(CLI::App& app, int argc, char** argv) {
    if (const auto words = find_question(argc, argv)) {
        std::fputs(lutc_cli::help_of(app, *words).c_str(), stdout);
        return;
    }
    try {
        std::vector<std::string> arguments = add_leading_zeros(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // the order that CLI11 wants
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0) {
            throw lutc_cli::failure(lutc_cli::exit_usage, usage_message(app, error));
        }
        app.exit(error);
    }
}

void run(int argc, char** argv) {
    lutc_cli::output_style style;
    CLI::App app{"Control of a video colour-processing device: presets, grades, channels, routing, options", "lutc"};
    build_app(app, style);
    run(app, argc, argv);
    if (!lutc_cli::flush_output()) {
        throw lutc_cli::failure(lutc_cli::exit_refused, "standard output can't be written");
    }
}

int fail(const lutc_cli::failure& reason) {
    lutc_cli::print_error(reason.what());
    return reason.code();
}

}  // namespace

int main(int argc, char** argv) {
    lutc_cli::take_interrupts();
    try {
        run(argc, argv);
        return lutc_cli::exit_done;
    } catch (const colour::content_error& error) {
        return fail({lutc_cli::exit_usage, error.what()});
    } catch (const std::exception& error) {
        return fail(lutc_cli::explain(error));
    }
}
