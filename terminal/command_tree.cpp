#include "terminal/command_tree.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

namespace lutc_terminal {
namespace {

using json = nlohmann::ordered_json;

// CLI11 gives them ordered by their addresses; here they are ordered by name.
json names_of(const std::set<CLI::Option*>& options) {
    std::set<std::string> names;
    for (const CLI::Option* option : options) names.insert(option->get_name());
    return names;
}

// CLI11 puts an option's type and its checks into one word: "TEXT:{little,big}", "UINT:UINT in [0 - 100]".
void describe_value(json& entry, const CLI::Option& option) {
    if (option.get_expected_max() == 0) return;  // a flag
    const std::string word = option.get_type_name();
    const std::size_t colon = word.find(':');
    const std::string check = colon == std::string::npos ? "" : word.substr(colon + 1);
    entry["value"] = word.substr(0, colon);
    if (check.size() > 1 && check.front() == '{' && check.back() == '}') {
        json choices = CLI::detail::split(check.substr(1, check.size() - 2), ',');
        for (json& choice : choices) choice = choice.get<std::string>().substr(0, choice.get<std::string>().find("->"));
        entry["choices"] = choices;
    } else {
        entry["check"] = check;
    }
    entry["repeats"] = option.get_expected_max() == CLI::detail::expected_max_vector_size;
    if (const std::string text = option.get_default_str(); text != "[]") entry["default"] = text;
}

json describe_option(const CLI::Option& option) {
    json names = json::array();
    for (const std::string& name : option.get_snames()) names.push_back("-" + name);
    for (const std::string& name : option.get_lnames()) names.push_back("--" + name);
    json entry = {{"names", names},
                  {"description", option.get_description()},
                  {"required", option.get_required()},
                  {"needs", names_of(option.get_needs())},
                  {"excludes", names_of(option.get_excludes())}};
    if (names.empty()) entry["names"] = {option.get_name(true)};
    describe_value(entry, option);
    return entry;
}

json describe_command(const CLI::App& command) {
    json entry = {
        {"name", command.get_name()},    {"group", command.get_group()}, {"description", command.get_description()},
        {"notes", command.get_footer()}, {"arguments", json::array()},   {"options", json::array()},
        {"commands", json::array()}};
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_group().empty()) continue;
        entry[option->get_positional() ? "arguments" : "options"].push_back(describe_option(*option));
    }
    for (const CLI::App* each :
         command.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); })) {
        entry["commands"].push_back(describe_command(*each));
    }
    return entry;
}

}  // namespace

void add_command_tree_flag(CLI::App& app) {
    const auto print = [&app] { throw CLI::CallForVersion(describe_command(app).dump(2), 0); };
    app.add_flag_callback("--command-tree", print, "Print all commands and options as JSON and exit");
}

}  // namespace lutc_terminal
