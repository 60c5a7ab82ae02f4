// lutc option get|set
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands/commands.h"
#include "cli/console/service.h"

namespace lutc_cli {
namespace {

// An answer has at most 1024 bytes, so its text always fits with its terminator.
constexpr std::uint32_t value_buffer_size = 1025;

struct get_options {
    std::string name;

    void declare(const command& get) { get.add_text("option", name, "Its name").require(); }

    nlohmann::ordered_json run() const {
        char value[value_buffer_size] = {};
        require_success("option get " + name, lutc_get_option(name.c_str(), value, value_buffer_size));
        return {{"name", name}, {"value", value}};
    }
};

struct set_options {
    std::string name;
    std::string value;

    void declare(const command& set) {
        set.add_text("option", name, "Its name").require();
        set.add_text("value", value, "Its new value; after -- it may begin with a dash").require();
    }

    void run() const { require_success("option set " + name, lutc_set_option(name.c_str(), value.c_str())); }
};

}  // namespace

void add_option(const command& tool) {
    const command group = tool.add_group("option", "The named options of the device");
    group.add<get_options>("get", "Show an option");
    group.add<set_options>("set", "Set an option");
}

}  // namespace lutc_cli
