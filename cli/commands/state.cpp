// lutc state get|set
#include <CLI/CLI.hpp>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/service.h"

namespace lutc_cli {

void add_state_commands(CLI::App& app, Context& context) {
    struct Options {
        int channel = 0;
        int state = 0;
    };
    auto options = std::make_shared<Options>();
    CLI::App* group = app.add_subcommand("state", "The colour-transform state of a channel");
    group->require_subcommand(1);

    CLI::App* get = group->add_subcommand("get", "Show the state, a number of the service's");
    add_channel(*get, options->channel);
    get->callback([options, &context] {
        int state = 0;
        require_success("state get", lutc_get_state(&state, options->channel));
        print_result(context, {{"colorTransformState", state}});
    });

    CLI::App* set = group->add_subcommand("set", "Set the state");
    add_integer(*set, "state", options->state, std::numeric_limits<int>::min(), "The new state")->required();
    add_channel(*set, options->channel);
    set->callback([options, &context] {
        require_success("state set", lutc_set_state(options->state, options->channel));
        print_done(context);
    });
}

}  // namespace lutc_cli
