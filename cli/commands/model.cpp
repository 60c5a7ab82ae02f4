// lutc model
#include <cstdlib>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands/commands.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

ordered_json show_combination(int index, const gradeCombo& combination) {
    ordered_json slots = ordered_json::array();
    for (const char* slot : combination.slots) {
        if (slot != nullptr) slots.push_back(slot);
    }
    return {{"gradeComboIndex", index}, {"gradeCombo", slots}};
}

ordered_json show_channel(int index, const gradeChannel& channel) {
    ordered_json supported = ordered_json::array();
    for (const int combination : channel.supportedGradeComboIndices) {
        if (combination != 0) supported.push_back(combination);
    }
    return {{"channelIndex", index}, {"channelName", channel.channelName}, {"supportedGradeComboIndices", supported}};
}

void show_model(const output_style& style) {
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
        result["gradeCombos"].push_back(show_combination(i + 1, combinations[i]));
        for (char* slot : combinations[i].slots) std::free(slot);
    }
    for (int i = 0; i < channel_count; ++i) result["gradeChannels"].push_back(show_channel(i + 1, channels[i]));
    std::free(combinations);
    std::free(channels);
    print_result(style, result);
}

}  // namespace

void add_model(const command& tool, const output_style& style) {
    tool.add_command("model", "Show what the device is: names, grade combinations, channels").call([&style] {
        show_model(style);
    });
}

}  // namespace lutc_cli
