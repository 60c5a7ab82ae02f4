// lutc option get|set
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"

namespace lutc_cli {
namespace {

struct get_options {
    std::string name;

    std::string subject() const { return quote(name); }

    void declare(const command& get) { get.add_text("option", name, "Its name").require(); }

    nlohmann::ordered_json run() const { return {{"name", name}, {"value", lutc::get_option(name)}}; }
};

struct set_options {
    std::string name;
    std::string value;

    std::string subject() const { return quote(name); }

    void declare(const command& set) {
        set.add_text("option", name, "Its name").require();
        set.add_text("value", value, "Its new value; after -- it may begin with a dash").require();
    }

    void run() const { lutc::set_option(name, value); }
};

}  // namespace

void add_option(const command& tool) {
    const command group = tool.add_group("option", "The named options of the device");
    group.add<get_options>("get", "Show an option");
    group.add<set_options>("set", "Set an option");
}

}  // namespace lutc_cli
