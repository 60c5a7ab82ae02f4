#include "simulator/page/state_json.h"

#include <charconv>
#include <cmath>
#include <cstddef>

#include "simulator/device/model.h"

namespace simulator {

using nlohmann::ordered_json;

namespace {

ordered_json describe_combination(const device_model& model, std::int32_t index) {
    return {{"gradeComboIndex", index}, {"gradeCombo", model.combination(index)}};
}

ordered_json describe_model(const device_state& device) {
    const device_model& model = device.model();
    ordered_json described = {{"modelName", model.name},
                              {"friendlyName", device.option("friendlyName")},
                              {"modelSerial", model.serial},
                              {"gradeCombos", ordered_json::array()},
                              {"gradeChannels", ordered_json::array()}};
    for (std::size_t i = 1; i <= model.grade_combinations.size(); ++i)
        described["gradeCombos"].push_back(describe_combination(model, static_cast<std::int32_t>(i)));
    for (std::size_t i = 0; i < model.channels.size(); ++i)
        described["gradeChannels"].push_back({{"channelIndex", i + 1},
                                              {"channelName", model.channels[i].name},
                                              {"supportedGradeComboIndices", model.channels[i].combinations}});
    return described;
}

ordered_json describe_components(const shown_grade& grade) {
    ordered_json all = ordered_json::array();
    for (const shown_component& component : grade.components) all.push_back(describe_component(component));
    return all;
}

// Null for none.
ordered_json describe_place(const device_state& device, std::int32_t preset_index) {
    if (preset_index == 0) return nullptr;
    return {{"presetName", device.presets().at(preset_index).name}, {"presetIndex", preset_index}};
}

ordered_json describe_preset(const device_state& device, const scene& seen, std::int32_t index) {
    const shot shown = seen.preset(index);
    ordered_json described = {{"presetIndex", index}, {"presetName", device.presets().at(index).name}};
    described.update(describe_combination(device.model(), shown.grade->content.grade_combo_index));
    described["components"] = describe_components(*shown.grade);
    return described;
}

ordered_json describe_channel(const device_state& device, const scene& seen, std::int32_t index) {
    const shot shown = seen.channel(index);
    const std::int32_t state = device.transform_state(index);
    ordered_json described = {{"channelIndex", index}, {"channelName", device.model().channel(index).name}};
    described.update(describe_combination(device.model(), shown.grade->content.grade_combo_index));
    described["colorTransformState"] = state;
    described["stateMeaning"] = state == on_state ? "on" : state == bypassed_state ? "bypassed" : "unknown";
    described["selectedPreset"] = describe_place(device, device.selected_preset(index));
    described["showsOverride"] = device.override_preset() != 0;
    described["components"] = describe_components(*shown.grade);
    return described;
}

ordered_json describe_connections(const device_state& device) {
    ordered_json all = ordered_json::array();
    const auto text = [](const endpoint& end) { return end.type + ":" + std::to_string(end.index); };
    for (const route& each : device.routes())
        all.push_back({{"source", text(each.source)}, {"destination", text(each.destination)}});
    return all;
}

// JSON has no infinities.
ordered_json finite(double value) { return std::isfinite(value) ? ordered_json(value) : ordered_json(nullptr); }

ordered_json finite(const std::array<double, 3>& values) {
    return {finite(values[0]), finite(values[1]), finite(values[2])};
}

void append(std::string& text, float number) {
    char digits[32];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

std::string hex(const std::vector<unsigned char>& bytes) {
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : bytes) {
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}

}  // namespace

std::string to_text(const ordered_json& value) {
    return value.dump(-1, ' ', true, ordered_json::error_handler_t::replace);
}

ordered_json describe_device(const device_state& device, const scene& seen) {
    ordered_json described = {{"model", describe_model(device)},
                              {"maxPresetsListSize", model::library_capacity},
                              {"presets", ordered_json::array()},
                              {"override", describe_place(device, device.override_preset())},
                              {"inputs", ordered_json::array()},
                              {"channels", ordered_json::array()},
                              {"connections", describe_connections(device)},
                              {"options", ordered_json::object()},
                              {"clients", ordered_json::array()}};
    for (std::int32_t i = 1; i <= device.presets().size(); ++i)
        described["presets"].push_back(describe_preset(device, seen, i));
    for (std::size_t i = 1; i <= device.model().inputs; ++i)
        described["inputs"].push_back(
            {{"inputIndex", i}, {"hasSignal", seen.has_signal(static_cast<std::int32_t>(i))}});
    for (std::size_t i = 1; i <= device.model().channels.size(); ++i)
        described["channels"].push_back(describe_channel(device, seen, static_cast<std::int32_t>(i)));
    for (const auto& option : device.model().options) described["options"][option.first] = device.option(option.first);
    for (const client_info& client : device.clients())
        described["clients"].push_back(
            {{"clientModel", client.model}, {"versionNumber", client.version}, {"clientSerial", client.serial}});
    return described;
}

ordered_json describe_component(const shown_component& component) {
    const grade_component& content = *component.content;
    ordered_json described = {{"type", content.type}, {"typeIndex", component.slot}};
    if (content.pattern) {
        described["patternType"] = content.pattern->type;
        described["videoFormat"] = content.pattern->video_format;
        if (content.pattern->type == "square") {
            described["squareSize"] = finite(content.pattern->square_size);
            described["fgColor"] = content.pattern->foreground;
            described["bgColor"] = content.pattern->background;
        }
    } else if (content.values) {
        described["slope"] = finite(content.values->slope);
        described["offset"] = finite(content.values->offset);
        described["power"] = finite(content.values->power);
        described["saturation"] = finite(content.values->saturation);
    } else {
        described["dataFormat"] = content.data_format;
        described["dataSize"] = content.data ? content.data->size() : 0;
    }
    described["runs"] = component.runs;
    described["reason"] = component.runs ? ordered_json(nullptr) : ordered_json(component.reason);
    return described;
}

colour::lut_table thin_out(colour::lut_table table, std::size_t points) {
    if (points < 2 || table.size <= points) return table;
    const auto place = [&](std::size_t i) { return (i * (table.size - 1) + (points - 1) / 2) / (points - 1); };
    colour::lut_table thin{table.is_cube, points, {}};
    const std::size_t planes = table.is_cube ? points : 1;
    for (std::size_t i = 0; i < planes * planes * points; ++i) {
        std::size_t from = place(i % points);  // red fastest
        if (table.is_cube)
            from += table.size * (place(i / points % points) + table.size * place(i / (points * points)));
        thin.values.insert(thin.values.end(), table.values.begin() + static_cast<std::ptrdiff_t>(3 * from),
                           table.values.begin() + static_cast<std::ptrdiff_t>(3 * from + 3));
    }
    return thin;
}

std::string describe_table(const ordered_json& component, const colour::lut_table& table) {
    std::string text = to_text(component);
    text.pop_back();
    text += ",\"size\":" + std::to_string(table.size) + ",\"samples\":[";
    for (std::size_t i = 0; i + 2 < table.values.size(); i += 3) {
        text += i == 0 ? "[" : ",[";
        append(text, table.values[i]);
        text += ',';
        append(text, table.values[i + 1]);
        text += ',';
        append(text, table.values[i + 2]);
        text += ']';
    }
    return text + "]}";
}

ordered_json describe_entry(const log_entry& entry) {
    ordered_json described = {{"number", entry.number},   {"connection", entry.connection},
                              {"command", entry.command}, {"reply", entry.reply},
                              {"code", entry.code},       {"milliseconds", entry.milliseconds}};
    if (!entry.notes.empty()) described["notes"] = entry.notes;
    return described;
}

ordered_json describe_messages(const log_entry& entry) {
    ordered_json described = describe_entry(entry);
    described["commandSize"] = entry.command_message.size;
    described["commandHex"] = hex(entry.command_message.first);
    described["replySize"] = entry.reply_message.size;
    described["replyHex"] = hex(entry.reply_message.first);
    return described;
}

}  // namespace simulator
