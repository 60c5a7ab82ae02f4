#include "simulator/commands.h"

#include <cstdint>
#include <map>
#include <new>
#include <numeric>
#include <optional>
#include <string_view>
#include <utility>

#include "simulator/device/model.h"
#include "simulator/device/problem.h"
#include "simulator/device/text.h"
#include "simulator/documents.h"
#include "simulator/media.h"

namespace simulator {

namespace {

// What a command works on. There is one function for each command.
struct call {
    device_state& device;
    const std::string& media_folder;
    const fields& command;
    bsonDocument& results;
};

// ---- Fields that several commands have ----

std::optional<std::int32_t> read_channel(const call& here, std::string_view key = "channelIndex") {
    return here.command.optional_index(key, here.device.model().channels.size(), "channel");
}

// A command without a channel sets all of them, and reads the first.
channel_list channels_to_set(const call& here, std::string_view key = "channelIndex") {
    if (const auto channel = read_channel(here, key)) return {*channel};
    channel_list all(here.device.model().channels.size());
    std::iota(all.begin(), all.end(), 1);
    return all;
}

std::int32_t channel_to_read(const call& here) { return read_channel(here).value_or(1); }

std::optional<std::int32_t> read_combination(const call& here) {
    const std::size_t last = here.device.model().grade_combinations.size();
    return here.command.optional_index("gradeComboIndex", last, "grade combination");
}

// A preset is chosen by its name or, without a name, by its index. 0: a name that no preset has, where it may be new.
std::int32_t find_preset(const call& here, bool may_be_new = false) {
    const preset_library& presets = here.device.presets();
    const auto index = here.command.optional_int32("presetIndex");
    if (here.command.has("presetName")) {
        const std::string_view name = here.command.string("presetName");
        const std::int32_t found = presets.find(name);
        if (found != 0 || may_be_new) return found;
        throw refusal(reason::not_found, "no preset is named " + quote(name));
    }
    if (!index) throw refusal(reason::bad_field, "no preset is named: \"presetName\" and \"presetIndex\" are missing");
    if (*index < 1 || *index > presets.size())
        throw refusal(reason::not_found, "\"presetIndex\" is " + std::to_string(*index) + ": the library holds " +
                                             std::to_string(presets.size()) + " presets");
    return *index;
}

std::int32_t read_place(const call& here, std::int32_t last) {
    return here.command.index("toIndex", static_cast<std::size_t>(last), "place in the list");
}

void write_strings(bsonDocument& list, const std::vector<std::string>& strings) {
    for (const std::string& string : strings) list.addStringElement(next_key(list), string);
}

// Index 0: there is none, for the reason given.
void write_preset_place(const call& here, std::int32_t index, const std::string& why) {
    if (index == 0) throw refusal(reason::not_found, why);
    here.results.addStringElement("presetName", here.device.presets().at(index).name);
    here.results.addInt32Element("presetIndex", index);
}

// ---- The preset library ----

void load_presets_from_media(const call& here) { load_library(here.media_folder, here.device); }

void save_presets_to_media(const call& here) { save_library(here.media_folder, here.device.presets()); }

void delete_all_presets(const call& here) { here.device.presets().clear(); }

void get_presets_list(const call& here) {
    here.results.addInt32Element("maxPresetsListSize", static_cast<std::int32_t>(model::library_capacity));
    bsonDocument& list = add_array(here.results, "presetsList");
    const preset_library& presets = here.device.presets();
    for (std::int32_t index = 1; index <= presets.size(); ++index) {
        const std::int32_t combination = presets.at(index).grade_combo_index;
        bsonDocument& entry = append_document(list);
        entry.addStringElement("presetName", presets.at(index).name);
        entry.addInt32Element("gradeComboIndex", combination);
        write_strings(add_array(entry, "gradeCombo"), here.device.model().combination(combination));
    }
}

void delete_preset(const call& here) { here.device.presets().remove(find_preset(here)); }

void rename_preset(const call& here) {
    const std::int32_t index = find_preset(here);
    here.device.presets().rename(index, std::string(here.command.text("newName", 0, model::max_text_size)));
}

void move_preset(const call& here) {
    const std::int32_t index = find_preset(here);
    here.device.presets().move(index, read_place(here, here.device.presets().size()));
}

void get_selected_preset(const call& here) {
    const std::int32_t channel = channel_to_read(here);
    write_preset_place(here, here.device.selected_preset(channel),
                       "no preset is selected on channel " + std::to_string(channel));
}

void set_selected_preset(const call& here) {
    const channel_list channels = channels_to_set(here);
    here.device.select_preset(channels, find_preset(here));
}

void get_override_preset(const call& here) {
    write_preset_place(here, here.device.override_preset(), "there is no override preset");
}

void set_override_preset(const call& here) {
    const bool is_none = !here.command.has("presetName") && here.command.optional_int32("presetIndex") == 0;
    here.device.set_override(is_none ? 0 : find_preset(here));
}

void send_preset(const call& here) {
    preset content;
    content.components = read_components(here.command, used_in::preset);
    check_readable(content.components);
    const preset_library& presets = here.device.presets();
    const auto name = here.command.optional_text("presetName", 0, model::max_name_size);
    const std::int32_t index = find_preset(here, true);
    content.name = index == 0 ? *name : presets.at(index).name;
    content.grade_combo_index = read_combination(here).value_or(index == 0 ? 1 : presets.at(index).grade_combo_index);
    std::optional<std::int32_t> to_index;
    if (here.command.has("toIndex")) to_index = read_place(here, presets.size() + (index == 0 ? 1 : 0));
    channel_list apply_to;
    here.command.optional_int32("applyChannel");
    if (here.command.has("applyPreset") && here.command.boolean("applyPreset"))
        apply_to = channels_to_set(here, "applyChannel");
    here.device.store_preset(index, std::move(content), apply_to, to_index);
}

void get_preset(const call& here) {
    const preset& found = here.device.presets().at(find_preset(here));
    write_grade(here.results, found.grade_combo_index, found.components);
}

// ---- Live grades ----

void grade(const call& here, std::optional<std::int32_t> combination, const std::vector<grade_component>& components) {
    const channel_list channels = channels_to_set(here);
    here.device.grade(channels, here.command.boolean("resetAndApply"), combination, components);
}

void send_grade_combo(const call& here) {
    here.command.int32("gradeComboIndex");
    grade(here, read_combination(here), {});
}

// Without its field the first slot is taken.
void send_component(const call& here, std::string_view slot_key, grade_component component) {
    component.type_index = read_slot(here.command, slot_key, component.type).value_or(1);
    grade(here, std::nullopt, {std::move(component)});
}

void send_lut(const call& here) {
    grade_component lut;
    lut.type = here.command.string("type", 1);  // the first "type" is the envelope's
    if (!is_table(lut.type))
        throw refusal(reason::bad_field, "the LUT's \"type\" is " + quote(lut.type) + ", not \"1dlut\" or \"3dlut\"");
    lut.data_format = read_data_format(here.command);
    lut.data = std::make_shared<const std::vector<unsigned char>>(here.command.binary("data"));
    send_component(here, "lutIndex", std::move(lut));
}

// A saturation is a CDL too.
void send_values(const call& here, const char* type, std::string_view slot_key, const cdl_values& values) {
    grade_component component;
    component.type = type;
    component.data_format = "cdl";
    component.values = values;
    send_component(here, slot_key, std::move(component));
}

void send_cdl(const call& here) { send_values(here, "cdl", "cdlIndex", read_cdl(here.command)); }

void send_saturation(const call& here) {
    const double saturation = here.command.number("saturation");
    send_values(here, "saturation", "saturationIndex", {{1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}, saturation});
}

void send_live(const call& here) { grade(here, read_combination(here), read_components(here.command, used_in::live)); }

// ---- The device ----

void send_client_info(const call& here) {
    const auto text = [&](const char* key) {
        return std::string(here.command.optional_text(key, 0, model::max_text_size).value_or(""));
    };
    const std::string_view name = here.command.text("clientModel", 1, model::max_text_size);
    here.device.register_client({std::string(name), text("versionNumber"), text("clientSerial")});
}

void get_model_info(const call& here) {
    here.results.addStringElement("modelName", here.device.model().name);
    here.results.addStringElement("friendlyName", here.device.option("friendlyName"));
    here.results.addStringElement("modelSerial", here.device.model().serial);
    bsonDocument& combinations = add_array(here.results, "gradeCombos");
    for (const auto& combination : here.device.model().grade_combinations)
        write_strings(add_array(combinations, next_key(combinations)), combination);
    bsonDocument& channels = add_array(here.results, "gradeChannels");
    for (const model::channel& channel : here.device.model().channels) {
        bsonDocument& entry = append_document(channels);
        entry.addStringElement("channelName", channel.name);
        bsonDocument& supported = add_array(entry, "supportedGradeComboIndices");
        for (const std::int32_t index : channel.combinations) supported.addInt32Element(next_key(supported), index);
    }
}

void get_color_transform_state(const call& here) {
    here.results.addInt32Element("colorTransformState", here.device.transform_state(channel_to_read(here)));
}

void set_color_transform_state(const call& here) {
    const channel_list channels = channels_to_set(here);
    here.device.set_transform_state(channels, here.command.int32("colorTransformState"));
}

void get_video_connections(const call& here) {
    bsonDocument& list = add_array(here.results, "videoConnections");
    for (const route& known : here.device.routes()) {
        bsonDocument& entry = append_document(list);
        entry.addInt32Element("sourceIndex", known.source.index);
        entry.addStringElement("sourceType", known.source.type);
        entry.addInt32Element("destinationIndex", known.destination.index);
        entry.addStringElement("destinationType", known.destination.type);
    }
}

void set_video_connection(const call& here) {
    const std::string_view from = here.command.string("sourceType"), to = here.command.string("destinationType");
    if (!model::is_source(from))
        here.command.refuse("sourceType", "is " + quote(from) + ": only an input or a channel is a source");
    if (!model::is_destination(to))
        here.command.refuse("destinationType", "is " + quote(to) + ": only a channel or an output is a destination");
    const device_model& model = here.device.model();
    const std::int32_t from_index = here.command.index("sourceIndex", model.count(from), from);
    const std::int32_t to_index = here.command.index("destinationIndex", model.count(to), to);
    here.device.connect({{std::string(from), from_index}, {std::string(to), to_index}});
}

void get_option(const call& here) {
    here.results.addStringElement("value", here.device.option(here.command.string("name")));
}

void set_option(const call& here) {
    const std::string_view name = here.command.string("name");
    here.device.set_option(name, here.command.text("value", 0, model::max_text_size));
}

const std::map<std::string_view, void (*)(const call&)> handlers{
    {"deleteAllPresets", delete_all_presets},
    {"deletePreset", delete_preset},
    {"getColorTransformState", get_color_transform_state},
    {"getModelInfo", get_model_info},
    {"getOption", get_option},
    {"getOverridePreset", get_override_preset},
    {"getPreset", get_preset},
    {"getPresetsList", get_presets_list},
    {"getSelectedPreset", get_selected_preset},
    {"getVideoConnections", get_video_connections},
    {"loadPresetsFromMedia", load_presets_from_media},
    {"movePreset", move_preset},
    {"renamePreset", rename_preset},
    {"savePresetsToMedia", save_presets_to_media},
    {"sendCDL", send_cdl},
    {"sendClientInfo", send_client_info},
    {"sendGradeCombo", send_grade_combo},
    {"sendLive", send_live},
    {"sendLut", send_lut},
    {"sendPreset", send_preset},
    {"sendSaturation", send_saturation},
    {"setColorTransformState", set_color_transform_state},
    {"setOption", set_option},
    {"setOverridePreset", set_override_preset},
    {"setSelectedPreset", set_selected_preset},
    {"setVideoConnection", set_video_connection},
};

void check_envelope(const fields& command) {
    const auto expect = [&](std::string_view key, std::string_view expected) {
        const std::string_view given = command.string(key);
        if (given != expected) command.refuse(key, "is " + quote(given) + ", not " + quote(expected));
    };
    expect("protocolVersion", "2.0");
    expect("type", "command");
    command.int32("msgID");
}

reason reason_for(problem_kind kind) {
    if (kind == problem_kind::not_found) return reason::not_found;
    return kind == problem_kind::not_possible ? reason::not_possible : reason::bad_field;
}

}  // namespace

std::vector<std::string> command_names() {
    std::vector<std::string> names;
    for (const auto& [name, function] : handlers) names.emplace_back(name);
    return names;
}

std::unique_ptr<bsonDocument> perform(device_state& device, const std::string& media_folder,
                                      const bsonDocument& command) {
    try {
        const fields content(command);
        check_envelope(content);
        const std::string_view name = content.string("command");
        const auto found = handlers.find(name);
        if (found == handlers.end()) throw refusal(reason::unknown_command, "there is no command " + quote(name));
        auto reply = std::make_unique<bsonDocument>();
        write_reply_head(*reply, 0, "ok");
        found->second({device, media_folder, content, *reply});
        return reply;
    } catch (const refusal& why) {
        return refuse(why);
    } catch (const problem& why) {
        return refuse(refusal(reason_for(why.kind()), why.what()));
    } catch (const std::bad_alloc&) {
        return refuse(refusal(reason::internal, "out of memory"));
    }
}

std::unique_ptr<bsonDocument> refuse(const refusal& why) {
    auto reply = std::make_unique<bsonDocument>();
    write_reply_head(*reply, static_cast<std::int32_t>(why.why()), std::string(why.what()).substr(0, max_message_size));
    return reply;
}

}  // namespace simulator
