#include "cli/commands/command.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>

namespace lutc_cli {
namespace {

template <class Number>
bool reads_as(const std::string& text, Number& value) {
    const char* begin = text.data();
    const char* end = begin + text.size();
    if (end - begin > 1 && *begin == '+' && begin[1] != '-') ++begin;
    const std::from_chars_result result = std::from_chars(begin, end, value);
    return result.ec == std::errc() && result.ptr == end;
}

double read_number(const char* name, const std::string& text) {
    double value = 0.0;
    if (!reads_as(text, value) || !std::isfinite(value)) {
        throw CLI::ValidationError(name, "'" + text + "' is not a decimal number");
    }
    return value;
}

}  // namespace

const argument& argument::require() const {
    option_->required();
    return *this;
}

const argument& argument::need(const argument& other) const {
    option_->needs(other.option_);
    return *this;
}

const argument& argument::exclude(const argument& other) const {
    option_->excludes(other.option_);
    return *this;
}

bool argument::is_given() const { return option_->count() > 0; }

command command::add_group(const char* name, const char* description) const {
    return command(app_->add_subcommand(name, description)->require_subcommand(1), style_);
}

command command::add_command(const char* name, const char* description) const {
    return command(app_->add_subcommand(name, description), style_);
}

std::string command::full_name() const {
    std::string name = app_->get_name();
    for (const CLI::App* group = app_->get_parent(); group->get_parent() != nullptr; group = group->get_parent()) {
        name = group->get_name() + " " + name;
    }
    return name;
}

// CLI11 calls a group's callback after that of its command.
void command::set_callback(std::function<void()> callback, bool is_group) const {
    if (is_group) app_->require_subcommand(0, 1);
    app_->callback([app = app_, callback = std::move(callback)] {
        if (app->get_subcommands().empty()) callback();
    });
}

void command::add_texts_in_order(const named_texts& options, named_texts& texts) const {
    for (const auto& [name, description] : options) {
        const auto read = [&texts, name = name](const std::string& text) { texts.emplace_back(name, text); };
        app_->add_option_function<std::string>(name, read, description)->trigger_on_parse();
    }
}

argument command::add_flag(const char* name, bool& value, const char* description) const {
    return argument(app_->add_flag(name, value, description));
}

argument command::add_text(const char* name, std::string& value, const char* description) const {
    return argument(app_->add_option(name, value, description));
}

argument command::add_text(const char* name, std::optional<std::string>& value, const char* description) const {
    return argument(app_->add_option(name, value, description));
}

argument command::add_texts(const char* name, std::vector<std::string>& values, const char* description) const {
    return argument(app_->add_option(name, values, description)->allow_extra_args(false));
}

argument command::add_path(const char* name, std::string& path, const char* description) const {
    // An empty path would be the current folder, which nobody means.
    const auto fault = [](const std::string& text) { return text.empty() ? "must not be empty" : std::string(); };
    return argument(app_->add_option(name, path, description)->required()->check(fault));
}

argument command::add_choice(const char* name, std::string& value, const std::vector<std::string>& choices,
                             const char* description) const {
    return argument(app_->add_option(name, value, description)->check(CLI::IsMember(choices)));
}

argument command::add_integer(const char* name, int& value, int minimum, const char* description) const {
    const auto read = [name, &value, minimum](const std::string& text) {
        if (!reads_as(text, value)) throw CLI::ValidationError(name, "'" + text + "' is not a whole number in range");
        if (value < minimum) {
            throw CLI::ValidationError(name, "'" + text + "' is less than " + std::to_string(minimum));
        }
    };
    return argument(app_->add_option_function<std::string>(name, read, description)->type_name("N"));
}

argument command::add_number(const char* name, double& value, const char* description) const {
    const auto read = [name, &value](const std::string& text) { value = read_number(name, text); };
    return argument(app_->add_option_function<std::string>(name, read, description)->type_name("NUMBER"));
}

argument command::add_triple(const char* name, std::array<double, 3>& values, const char* description) const {
    const auto read = [name, &values](const std::vector<std::string>& texts) {
        for (std::size_t i = 0; i < 3; ++i) values[i] = read_number(name, texts[i]);
    };
    return argument(
        app_->add_option_function<std::vector<std::string>>(name, read, description)->expected(3)->type_name("R G B"));
}

argument command::add_channel(int& channel) const {
    return add_integer("--channel", channel, 1, "The channel, from 1; without it the service decides");
}

argument command::add_yes(bool& yes, const std::string& deed) const {
    return add_flag("--yes", yes, (deed + " without being asked").c_str());
}

void command::add_preset(preset_selector& preset) const {
    const auto read_name = [&preset](const std::string& text) {
        check_preset_name(text);
        preset.name = text;
    };
    const argument name(
        app_->add_option_function<std::string>("--name", read_name, "The preset, by its name (at most 32 bytes)"));
    add_integer("--index", preset.index, 1, "The preset, by its place in the list, from 1").exclude(name);
}

std::string preset_selector::describe() const {
    if (!is_given()) throw failure(exit_usage, "which preset? Give --name or --index");
    return name ? quote(*name) : "preset " + std::to_string(index);
}

std::string quote(const std::string& text) { return "'" + text + "'"; }

std::string describe_channel(int channel) {
    return channel > 0 ? "channel " + std::to_string(channel) : "no channel named";
}

void check_preset_name(const std::string& name) {
    if (name.size() > LUTC_PRESET_NAME_SIZE) {
        throw failure(exit_usage, "preset name '" + name + "' has " + std::to_string(name.size()) +
                                      " bytes; at most 32 are possible");
    }
    if (name.find('\0') != std::string::npos) throw failure(exit_usage, "a preset name can't hold a zero byte");
}

}  // namespace lutc_cli
