// lutc presets duplicate
#include <algorithm>
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"
#include "cli/commands/preset_option.h"
#include "cli/presets/download.h"

namespace lutc_cli {
namespace {

// Throws failure for a component that would come back as another one.
void check_components(const std::string& name, const lutc::grade& components, const std::vector<std::size_t>& guessed) {
    const auto refuse = [&name](std::size_t position, const std::string& fault) {
        throw failure(exit_refused, "presets duplicate: component " + std::to_string(position + 1) + " of " +
                                        quote(name) + " " + fault + ", so it can't be copied faithfully");
    };
    for (std::size_t i = 0; i < components.size(); ++i) {
        const bool is_pattern = std::holds_alternative<lutc::test_pattern>(components[i]);
        if (is_pattern || std::holds_alternative<lutc::unknown_component>(components[i])) {
            refuse(i, "is of a kind that lutc can't keep");
        }
    }
    if (!guessed.empty()) refuse(guessed.front(), "is either a cdl or a saturation");
}

struct duplicate_options {
    preset_selector preset;
    std::string to_name;
    bool yes = false;

    std::string subject() const { return preset.describe() + " to " + quote(to_name); }

    void declare(const command& duplicate) {
        duplicate.add_preset(preset);
        duplicate.add_text("--to-name", to_name, "The copy's name (at most 32 bytes)").require();
        duplicate.add_yes(yes, "Replace a preset of that name");
    }

    void run() {
        check_preset_name(to_name);
        resolve(preset);
        const lutc::preset_library library = lutc::preset_list();
        const lutc::preset_entry source = find_preset(library, preset.ref());
        if (source.name == to_name) throw failure(exit_usage, "presets duplicate: the copy needs another name");
        lutc::stored_preset stored = receive_preset(source.name);
        const std::vector<std::size_t> guessed = lutc::settle_kinds(stored.components, source.components);
        check_components(source.name, stored.components, guessed);
        const auto is_target = [this](const lutc::preset_entry& each) { return each.name == to_name; };
        if (std::any_of(library.presets.begin(), library.presets.end(), is_target)) {
            confirm(yes, "Replace " + quote(to_name) + "?");
        }
        lutc::send_preset(to_name, stored.components, {0, stored.combination});
    }
};

}  // namespace

void add_duplicate(const command& presets) {
    presets.add<duplicate_options>("duplicate", "Store a preset once more, under another name");
}

}  // namespace lutc_cli
