#include "cli/help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <string_view>

#include "cli/console/output.h"
#include "terminal/suggestion.h"

namespace lutc_cli {
namespace {

// By the command with the groups that it is in.
const std::map<std::string, const char*, std::less<>> examples{
    {"lutc", "lutc grade cdl --channel 1 --slope 1.1 1 0.9"},
    {"lutc help", "lutc help presets upload"},
    {"lutc client", "lutc client --model grading-panel --client-version 1.2"},
    {"lutc model", "lutc model --json"},
    {"lutc state", "lutc state get --channel 1"},
    {"lutc state get", "lutc state get --channel 1"},
    {"lutc state set", "lutc state set --channel 1 0"},
    {"lutc video", "lutc video list"},
    {"lutc video list", "lutc video list"},
    {"lutc video connect", "lutc video connect input:1 channel:2"},
    {"lutc option", "lutc option get videoFormat"},
    {"lutc option get", "lutc option get videoFormat"},
    {"lutc option set", "lutc option set videoFormat 2160p25"},
    {"lutc watch", "lutc watch --json --option videoFormat"},
    {"lutc config", "lutc config layout uint16-le-red-fastest"},
    {"lutc config layout", "lutc config layout uint16-le-red-fastest"},
    {"lutc config format", "lutc config format uint16"},
    {"lutc presets", "lutc presets list"},
    {"lutc presets list", "lutc presets list"},
    {"lutc presets upload", "lutc presets upload --name A --cdl shot.cc --lut look.cube --apply --channel 1"},
    {"lutc presets download", "lutc presets download evening.json --name evening"},
    {"lutc presets delete", "lutc presets delete --name evening --yes"},
    {"lutc presets rename", "lutc presets rename --name evening --new-name dusk"},
    {"lutc presets duplicate", "lutc presets duplicate --name evening --to-name night"},
    {"lutc presets move", "lutc presets move --name evening --to 1"},
    {"lutc presets select", "lutc presets select --name evening --channel 1"},
    {"lutc presets selected", "lutc presets selected --channel 1"},
    {"lutc presets override", "lutc presets override set --name evening"},
    {"lutc presets override get", "lutc presets override get"},
    {"lutc presets override set", "lutc presets override set --name evening"},
    {"lutc presets override clear", "lutc presets override clear"},
    {"lutc presets load", "lutc presets load --yes"},
    {"lutc presets save", "lutc presets save"},
    {"lutc presets clear", "lutc presets clear --yes"},
    {"lutc presets backup", "lutc presets backup library --yes"},
    {"lutc presets restore", "lutc presets restore library --yes"},
    {"lutc grade", "lutc grade cdl --channel 1 --slope 1.1 1 0.9"},
    {"lutc grade combination", "lutc grade combination 2 --channel 1 --reset"},
    {"lutc grade lut", "lutc grade lut look.cube --channel 1"},
    {"lutc grade cdl", "lutc grade cdl --channel 1 --slope 1.1 1 0.9 --offset -0.02 0 .01"},
    {"lutc grade saturation", "lutc grade saturation 0.8 --channel 1"},
    {"lutc grade live", "lutc grade live grade.json --channel 1 --reset"},
    {"lutc grade plot", "lutc grade plot --file shot.cc -o shot.png"},
    {"lutc grade preview", "lutc grade preview look.cube --split -o look.png"},
    {"lutc dump", "lutc dump message.bson"},
    {"lutc lut", "lutc lut plot look.cube -o look.png"},
    {"lutc lut info", "lutc lut info look.cube 0.5 0.4 0.3"},
    {"lutc lut pack", "lutc lut pack look.cube --layout uint16-le-red-fastest -o look.bin"},
    {"lutc lut plot", "lutc lut plot look.cube -o look.png"},
};

std::vector<CLI::App*> commands_of(CLI::App& group) {
    return group.get_subcommands([](CLI::App*) { return true; });
}

std::string example_of(const std::string& command) {
    const auto found = examples.find(command);
    return found == examples.end() ? "" : std::string("Example:\n  ") + found->second;
}

void add_examples_below(CLI::App& group, const std::string& path) {
    for (CLI::App* const each : commands_of(group)) {
        const std::string name = path + " " + each->get_name();
        each->footer(example_of(name));
        add_examples_below(*each, name);
    }
}

// The commands of a group with the words that lead to them.
void add_paths(CLI::App& group, const std::string& above, std::map<std::string, std::string>& paths) {
    for (CLI::App* const each : commands_of(group)) {
        const std::string path = above + each->get_name();
        paths.emplace(each->get_name(), path);
        add_paths(*each, path + " ", paths);
    }
}

std::vector<std::string> names_of(const std::vector<CLI::App*>& commands) {
    std::vector<std::string> names;
    for (const CLI::App* const each : commands) names.push_back(each->get_name());
    return names;
}

std::vector<std::string> options_of(CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
    return names;
}

// Among the commands of the group, else among all.
std::string suggest_command(CLI::App& tool, CLI::App& group, const std::string& word) {
    const std::string near = lutc_terminal::suggest(word, names_of(commands_of(group)));
    if (!near.empty()) return near;
    std::map<std::string, std::string> paths;
    add_paths(tool, "", paths);
    std::vector<std::string> names;
    for (const auto& [name, path] : paths) names.push_back(name);
    const auto found = paths.find(lutc_terminal::find_nearest(word, names));
    return found == paths.end() ? "" : "; did you mean '" + found->second + "'?";
}

}  // namespace

void add_examples(CLI::App& tool, const std::string& notes) {
    tool.footer(notes + "\n\n" + example_of(tool.get_name()));
    add_examples_below(tool, tool.get_name());
}

std::string help_of(CLI::App& tool, const std::vector<std::string>& words) {
    CLI::App* command = &tool;
    std::string above;
    for (const std::string& word : words) {
        const std::vector<CLI::App*> known = commands_of(*command);
        const auto next =
            std::find_if(known.begin(), known.end(), [&](const CLI::App* each) { return each->check_name(word); });
        if (next == known.end()) {
            throw failure(exit_usage, "help: '" + word + "' is no command" + suggest_command(tool, *command, word));
        }
        above += (above.empty() ? "" : " ") + command->get_name();
        command = *next;
    }
    return command->help(above);
}

std::string suggest(CLI::App& tool, const std::string& unknown) {
    CLI::App* command = &tool;
    while (!command->get_subcommands().empty()) command = command->get_subcommands().back();
    if (unknown.empty() || unknown[0] == '-') {
        std::vector<std::string> known = options_of(*command);
        const std::vector<std::string> everywhere = options_of(tool);
        known.insert(known.end(), everywhere.begin(), everywhere.end());
        return lutc_terminal::suggest(unknown.substr(0, unknown.find('=')), known);
    }
    return commands_of(*command).empty() ? "" : suggest_command(tool, *command, unknown);
}

}  // namespace lutc_cli
