// lutc option get|set
#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

// An answer has at most 1024 bytes, so its text always fits with its terminator.
constexpr std::uint32_t value_buffer_size = 1025;

}  // namespace

void add_option_commands(CLI::App& app, Context& context) {
    struct Options {
        std::string name;
        std::string value;
    };
    auto options = std::make_shared<Options>();
    CLI::App* group = app.add_subcommand("option", "The named options of the device");
    group->require_subcommand(1);

    CLI::App* get = group->add_subcommand("get", "Show an option");
    get->add_option("option", options->name, "Its name")->required();
    get->callback([options, &context] {
        char value[value_buffer_size] = {};
        require_success("option get " + options->name,
                        lutc_get_option(options->name.c_str(), value, value_buffer_size));
        print_result(context, {{"name", options->name}, {"value", value}});
    });

    CLI::App* set = group->add_subcommand("set", "Set an option");
    set->add_option("option", options->name, "Its name")->required();
    set->add_option("value", options->value, "Its new value; after -- it may begin with a dash")->required();
    set->callback([options, &context] {
        require_success("option set " + options->name, lutc_set_option(options->name.c_str(), options->value.c_str()));
        print_done(context);
    });
}

}  // namespace lutc_cli
