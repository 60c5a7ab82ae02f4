#include "cli/arguments.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>

#include "cli/output.h"

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

double read_number(const std::string& name, const std::string& text) {
    double value = 0.0;
    if (!reads_as(text, value) || !std::isfinite(value)) {
        throw CLI::ValidationError(name, "'" + text + "' is not a decimal number");
    }
    return value;
}

}  // namespace

CLI::Option* add_integer(CLI::App& command, const std::string& name, int& value, int minimum,
                         const std::string& description) {
    const auto read = [name, &value, minimum](const std::string& text) {
        if (!reads_as(text, value)) throw CLI::ValidationError(name, "'" + text + "' is not a whole number in range");
        if (value < minimum) {
            throw CLI::ValidationError(name, "'" + text + "' is less than " + std::to_string(minimum));
        }
    };
    return command.add_option_function<std::string>(name, read, description)->type_name("N");
}

CLI::Option* add_number(CLI::App& command, const std::string& name, double& value, const std::string& description) {
    const auto read = [name, &value](const std::string& text) { value = read_number(name, text); };
    return command.add_option_function<std::string>(name, read, description)->type_name("NUMBER");
}

CLI::Option* add_triple(CLI::App& command, const std::string& name, double (&values)[3],
                        const std::string& description) {
    const auto read = [name, &values](const std::vector<std::string>& texts) {
        for (std::size_t i = 0; i < 3; ++i) values[i] = read_number(name, texts[i]);
    };
    return command.add_option_function<std::vector<std::string>>(name, read, description)
        ->expected(3)
        ->type_name("R G B");
}

CLI::Option* add_channel(CLI::App& command, int& channel) {
    return add_integer(command, "--channel", channel, 1, "The channel, from 1; without it the service decides");
}

CLI::Option* add_yes(CLI::App& command, bool& yes, const std::string& what) {
    return command.add_flag("--yes", yes, what + " without being asked");
}

void add_cdl_values(CLI::App& command, cdl& values) {
    add_triple(command, "--slope", values.slope, "Slope of red, green and blue (default 1 1 1)");
    add_triple(command, "--offset", values.offset, "Offset of red, green and blue (default 0 0 0)");
    add_triple(command, "--power", values.power, "Power of red, green and blue (default 1 1 1)");
    add_number(command, "--saturation", values.saturation, "Saturation (default 1)");
}

void PresetSelector::add_to(CLI::App& command) {
    const auto read_name = [this](const std::string& text) {
        check_preset_name(text);
        name = text;
        named = true;
    };
    CLI::Option* by_name =
        command.add_option_function<std::string>("--name", read_name, "The preset, by its name (at most 32 bytes)");
    CLI::Option* by_index = add_integer(command, "--index", index, 1, "The preset, by its place in the list, from 1");
    by_name->excludes(by_index);
}

void PresetSelector::require() const {
    if (!given()) throw Failure(exit_usage, "which preset? Give --name or --index");
}

std::string PresetSelector::shown() const {
    return named ? "preset '" + name + "'" : "preset " + std::to_string(index);
}

void check_preset_name(const std::string& name) {
    if (name.size() > LUTC_PRESET_NAME_SIZE) {
        throw Failure(exit_usage, "preset name '" + name + "' has " + std::to_string(name.size()) +
                                      " bytes; at most 32 are possible");
    }
    if (name.find('\0') != std::string::npos) throw Failure(exit_usage, "a preset name can't hold a zero byte");
}

}  // namespace lutc_cli
