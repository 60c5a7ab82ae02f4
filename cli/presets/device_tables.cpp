#include "cli/presets/device_tables.h"

#include <algorithm>
#include <map>

#include "cli/console/output.h"
#include "cli/presets/config.h"

namespace lutc_cli {
namespace {

// The slots that the components take in a combination: each the first that is left for it.
std::optional<std::vector<int>> find_slots(const std::vector<std::string>& combination,
                                           const std::vector<std::string>& types) {
    std::map<std::string, int> seen;
    std::vector<int> slots;
    for (const std::string& type : combination) {
        const int slot = ++seen[type];
        if (slots.size() < types.size() && types[slots.size()] == type) slots.push_back(slot);
    }
    if (slots.size() < types.size()) return {};
    return slots;
}

bool has_support(const lutc::model& model, int combination, const std::vector<int>& channels) {
    return std::all_of(channels.begin(), channels.end(), [&](int channel) {
        const std::vector<int>& known = model.channels[static_cast<std::size_t>(channel - 1)].combinations;
        return std::find(known.begin(), known.end(), combination) != known.end();
    });
}

// The config's format is that of its layout; another layout is called by its own name.
std::optional<std::string> find_format(const table_options& options) {
    const config known = read_config();
    if (options.layout && known.layout && *options.layout != *known.layout) return {};
    return known.format;
}

std::string join(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace

std::string find_layout_name(const table_options& options, device_model& device) {
    static const std::map<std::string, std::string> known = {{"lutc simulated device", "uint16-le-red-fastest"}};
    if (options.layout) return *options.layout;
    if (const std::optional<std::string> layout = read_config().layout) return *layout;
    const auto found = known.find(device.get().name);
    if (found != known.end()) return found->second;
    throw failure(exit_usage,
                  "how does '" + device.get().name +
                      "' lay out its tables? Give --layout NAME, or write it down once: lutc config layout NAME");
}

colour::table_layout settle_layout(const std::string& name, bool is_cube) {
    check_layout("--layout", name);
    colour::table_layout layout = colour::find_layout(name).value();
    if (!is_cube) layout.order = colour::entry_order::curve;
    if (is_cube && layout.order == colour::entry_order::curve) {
        throw failure(exit_usage, "the layout " + name + " has no order for a cube; give " + name + "-red-fastest or " +
                                      name + "-blue-fastest");
    }
    return layout;
}

packed_component pack_component(const colour::colour_transform& transform, int size, const table_options& options,
                                device_model& device) {
    const colour::table_layout layout = settle_layout(find_layout_name(options, device), transform.mixes_channels);
    packed_component packed;
    packed.table = pack_file(transform, {layout, size, false});
    const std::optional<std::string> format = options.format ? options.format : find_format(options);
    const std::string name = format && !format->empty() ? *format : colour::name_of(layout);
    if (transform.mixes_channels) {
        packed.component = lutc::lut_3d{name, packed.table.bytes};
    } else {
        packed.component = lutc::lut_1d{name, packed.table.bytes};
    }
    return packed;
}

placing place_components(const lutc::model& model, const std::vector<std::string>& types, int combination,
                         const std::vector<int>& channels) {
    for (const int channel : channels) {
        if (static_cast<std::size_t>(channel) <= model.channels.size()) continue;
        throw failure(exit_usage, "the device has no channel " + std::to_string(channel));
    }
    placing best;
    for (int i = 1; i <= static_cast<int>(model.combinations.size()); ++i) {
        const std::vector<std::string>& strings = model.combinations[static_cast<std::size_t>(i - 1)];
        const std::optional<std::vector<int>> slots = find_slots(strings, types);
        if (!slots || (combination > 0 && i != combination) || !has_support(model, i, channels)) continue;
        const bool is_better =
            best.combination == 0 ||
            strings.size() < model.combinations[static_cast<std::size_t>(best.combination - 1)].size();
        if (is_better) best = {i, *slots};
    }
    if (best.combination > 0) return best;
    const std::string subject =
        combination > 0 ? "grade combination " + std::to_string(combination) : "no grade combination of the device";
    throw failure(exit_usage, subject + (combination > 0 ? " doesn't have " : " has ") + join(types) +
                                  " in this order" + (channels.empty() ? "" : ", supported by the channel") +
                                  " (see lutc model)");
}

}  // namespace lutc_cli
