// Commands and their arguments. Only command.cpp and main.cpp include CLI11, which takes seconds to compile.
// What arguments are read into outlives the parsing. Numbers are decimal and read as they are written.
#ifndef LUTC_CLI_COMMANDS_COMMAND_H
#define LUTC_CLI_COMMANDS_COMMAND_H

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <lutc/lutc.hpp>
#include "cli/console/output.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace lutc_cli {

// A preset, by its name or by its place in the list.
struct preset_selector {
    std::optional<std::string> name;
    int index = 0;

    bool is_given() const { return name || index > 0; }
    lutc::preset_ref ref() const { return name ? lutc::preset_ref(*name) : lutc::preset_ref(index); }
    std::string describe() const;  // for messages; throws failure when neither was given
};

std::string quote(const std::string& text);  // for messages
std::string describe_channel(int channel);   // likewise

// Throws failure for a name of more than 32 bytes, or with a zero byte.
void check_preset_name(const std::string& name);

class argument {
  public:
    explicit argument(CLI::Option* option) : option_(option) {}
    const argument& require() const;
    const argument& need(const argument& other) const;
    const argument& exclude(const argument& other) const;
    bool is_given() const;  // once the command line is parsed

  private:
    CLI::Option* option_;
};

class command {
  public:
    command(CLI::App* app, const output_style& style) : app_(app), style_(style) {}  // parsing sets the style
    command add_group(const char* name, const char* description) const;  // one of its commands has to follow

    // The same with an action of its own, when none of them does.
    template <class Action>
    command add_group(const char* name, const char* description, Action action) const {
        const command group = add_command(name, description);
        group.set_action([action, name = std::string(name)] { return attempt([&] { return name; }, action); }, true);
        return group;
    }

    // A command that calls action and prints the JSON that it returns; null and nothing at all are "done".
    template <class Action>
    void add(const char* name, const char* description, Action action) const {
        const command added = add_command(name, description);
        added.set_action(
            [action, full_name = added.full_name()] { return attempt([&] { return full_name; }, action); });
    }

    // A command whose arguments are members of Options: declare(const command&) adds them, run() is its action;
    // run(const output_style&) prints its result itself. subject(), if there is one, names in failures what it acts on.
    template <class Options>
    void add(const char* name, const char* description) const {
        const auto options = std::make_shared<Options>();
        const command added = add_command(name, description);
        options->declare(added);
        if constexpr (std::is_invocable_v<decltype(&Options::run), Options&, const output_style&>) {
            added.set_callback([options, &style = style_] { options->run(style); }, false);
        } else {
            added.set_action([options, name = added.full_name()] {
                return attempt([&] { return name + subject_of(*options, 0); }, [&] { return options->run(); });
            });
        }
    }

    // A name with dashes is an option, without them an argument that stands alone.
    // A text for each time that one of the options stands there, in the order of all of them, with the option's name.
    using named_texts = std::vector<std::pair<std::string, std::string>>;
    void add_texts_in_order(const named_texts& options, named_texts& texts) const;  // options: names, descriptions

    argument add_flag(const char* name, bool& value, const char* description) const;
    argument add_text(const char* name, std::string& value, const char* description) const;
    argument add_text(const char* name, std::optional<std::string>& value, const char* description) const;
    argument add_texts(const char* name, std::vector<std::string>& values, const char* description) const;  // repeated
    argument add_path(const char* name, std::string& path, const char* description) const;  // required, not empty
    argument add_choice(const char* name, std::string& value, const std::vector<std::string>& choices,
                        const char* description) const;
    argument add_integer(const char* name, int& value, int minimum, const char* description) const;
    argument add_number(const char* name, double& value, const char* description) const;
    argument add_triple(const char* name, std::array<double, 3>& values, const char* description) const;

    argument add_channel(int& channel) const;                    // --channel
    argument add_yes(bool& yes, const std::string& deed) const;  // --yes
    void add_preset(preset_selector& preset) const;              // --name or --index, not both

  private:
    command add_command(const char* name, const char* description) const;
    void set_callback(std::function<void()> callback, bool is_group) const;
    std::string full_name() const;  // with the groups that it is in

    template <class Options>
    static auto subject_of(const Options& options, int) -> decltype(options.subject()) {
        return ": " + options.subject();
    }
    template <class Options>
    static std::string subject_of(const Options&, long) {
        return {};
    }

    template <class Action>
    void set_action(const Action& action, bool is_group = false) const {
        const auto callback = [action, &style = style_] {
            if constexpr (std::is_void_v<std::invoke_result_t<Action>>) {
                action();
                print_done(style);
            } else {
                print_result(style, action());
            }
        };
        set_callback(callback, is_group);
    }

    CLI::App* app_;
    const output_style& style_;
};

}  // namespace lutc_cli

#endif
