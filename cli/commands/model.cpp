// lutc client, lutc model
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include <lutc/lutc.h>
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

struct ClientOptions {
    std::string model;
    std::optional<std::string> version;
    std::optional<std::string> serial;
};

const char* or_null(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

ordered_json combination(int index, const gradeCombo& combo) {
    ordered_json slots = ordered_json::array();
    for (const char* slot : combo.slots) {
        if (slot != nullptr) slots.push_back(slot);
    }
    return {{"gradeComboIndex", index}, {"gradeCombo", slots}};
}

ordered_json channel(int index, const gradeChannel& record) {
    ordered_json supported = ordered_json::array();
    for (const int combo : record.supportedGradeComboIndices) {
        if (combo != 0) supported.push_back(combo);
    }
    return {{"channelIndex", index}, {"channelName", record.channelName}, {"supportedGradeComboIndices", supported}};
}

void show_model(const Context& context) {
    char name[LUTC_MODEL_STRING_BUFFER_SIZE];
    char friendly[LUTC_MODEL_STRING_BUFFER_SIZE];
    char serial[LUTC_MODEL_STRING_BUFFER_SIZE];
    gradeCombo* combos = nullptr;
    gradeChannel* channels = nullptr;
    int combo_count = 0;
    int channel_count = 0;
    require_success("model", lutc_model_info(name, friendly, serial, &combos, &combo_count, &channels, &channel_count));
    ordered_json result = {{"modelName", name}, {"friendlyName", friendly}, {"modelSerial", serial}};
    result["gradeCombos"] = ordered_json::array();
    result["gradeChannels"] = ordered_json::array();
    for (int i = 0; i < combo_count; ++i) {
        result["gradeCombos"].push_back(combination(i + 1, combos[i]));
        for (char* slot : combos[i].slots) std::free(slot);
    }
    for (int i = 0; i < channel_count; ++i) result["gradeChannels"].push_back(channel(i + 1, channels[i]));
    std::free(combos);
    std::free(channels);
    print_result(context, result);
}

}  // namespace

void add_device_commands(CLI::App& app, Context& context) {
    auto options = std::make_shared<ClientOptions>();
    CLI::App* client = app.add_subcommand("client", "Tell the service who the client is");
    client->add_option("--model", options->model, "Model of the client")->required();
    client->add_option("--client-version", options->version, "Its version, as text");
    client->add_option("--serial", options->serial, "Its serial");
    client->callback([options, &context] {
        require_success("client",
                        lutc_client_info(options->model.c_str(), or_null(options->version), or_null(options->serial)));
        print_done(context);
    });
    app.add_subcommand("model", "Show what the device is: names, grade combinations, channels")->callback([&context] {
        show_model(context);
    });
}

}  // namespace lutc_cli
