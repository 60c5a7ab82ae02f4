// lutc model
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

ordered_json show_model() {
    const lutc::model device = lutc::model_info();
    ordered_json combinations = ordered_json::array();
    for (const auto& strings : device.combinations) {
        combinations.push_back({{"gradeComboIndex", combinations.size() + 1}, {"gradeCombo", strings}});
    }
    ordered_json channels = ordered_json::array();
    for (const lutc::channel& channel : device.channels) {
        channels.push_back({{"channelIndex", channels.size() + 1},
                            {"channelName", channel.name},
                            {"supportedGradeComboIndices", channel.combinations}});
    }
    return {{"modelName", device.name},
            {"friendlyName", device.friendly_name},
            {"modelSerial", device.serial},
            {"gradeCombos", combinations},
            {"gradeChannels", channels}};
}

}  // namespace

void add_model(const command& tool) {
    tool.add("model", "Show what the device is: names, grade combinations, channels", show_model);
}

}  // namespace lutc_cli
