// lutc state get|set
#include <limits>
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"

namespace lutc_cli {
namespace {

struct get_state_options {
    int channel = 0;

    void declare(const command& get) { get.add_channel(channel); }

    nlohmann::ordered_json run() const { return {{"colorTransformState", lutc::get_state(channel)}}; }
};

struct set_state_options {
    int state = 0;
    int channel = 0;

    std::string subject() const { return describe_channel(channel); }

    void declare(const command& set) {
        set.add_integer("state", state, std::numeric_limits<int>::min(), "The new state").require();
        set.add_channel(channel);
    }

    void run() const { lutc::set_state(state, channel); }
};

}  // namespace

void add_state(const command& tool) {
    const command group = tool.add_group("state", "The colour-transform state of a channel");
    group.add<get_state_options>("get", "Show the state, a number of the service's");
    group.add<set_state_options>("set", "Set the state");
}

}  // namespace lutc_cli
