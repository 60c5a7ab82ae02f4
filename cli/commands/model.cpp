// lutc model
#include <cstdlib>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands/commands.h"
#include "cli/console/service.h"
#include "cli/presets/library.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

ordered_json show_channel(int index, const gradeChannel& channel) {
    ordered_json supported = ordered_json::array();
    for (const int combination : channel.supportedGradeComboIndices) {
        if (combination != 0) supported.push_back(combination);
    }
    return {{"channelIndex", index}, {"channelName", channel.channelName}, {"supportedGradeComboIndices", supported}};
}

ordered_json show_model() {
    char name[LUTC_MODEL_STRING_BUFFER_SIZE];
    char friendly[LUTC_MODEL_STRING_BUFFER_SIZE];
    char serial[LUTC_MODEL_STRING_BUFFER_SIZE];
    gradeCombo* combinations = nullptr;
    gradeChannel* channels = nullptr;
    int combination_count = 0;
    int channel_count = 0;
    require_success(
        "model", lutc_model_info(name, friendly, serial, &combinations, &combination_count, &channels, &channel_count));
    ordered_json result = {{"modelName", name}, {"friendlyName", friendly}, {"modelSerial", serial}};
    result["gradeCombos"] = ordered_json::array();
    result["gradeChannels"] = ordered_json::array();
    for (int i = 0; i < combination_count; ++i) {
        result["gradeCombos"].push_back({{"gradeComboIndex", i + 1}, {"gradeCombo", take_strings(combinations[i])}});
    }
    for (int i = 0; i < channel_count; ++i) result["gradeChannels"].push_back(show_channel(i + 1, channels[i]));
    std::free(combinations);
    std::free(channels);
    return result;
}

}  // namespace

void add_model(const command& tool) {
    tool.add("model", "Show what the device is: names, grade combinations, channels", show_model);
}

}  // namespace lutc_cli
