#include "simulator/commands.h"

#include <cstdint>
#include <limits>
#include <map>
#include <new>
#include <utility>

#include "simulator/documents.h"

namespace simulator {

namespace {

preset_selector read_selector(const fields& command) {
    return {command.optional_string("presetName"), command.optional_int32("presetIndex")};
}

std::optional<std::int32_t> read_channel(const fields& command) { return command.optional_int32("channelIndex"); }

void add_strings(bsonDocument& to, const std::string& key, const std::vector<std::string>& strings) {
    auto list = std::make_unique<bsonDocument>();
    for (std::size_t i = 0; i < strings.size(); ++i) list->addStringElement(std::to_string(i), strings[i]);
    add_document(to, key, std::move(list), true);
}

const std::vector<std::string>& combination_strings(std::int32_t index) {
    return device_state::grade_combinations().at(static_cast<std::size_t>(index - 1));
}

void write_preset_place(bsonDocument& to, const device_state& device, std::int32_t index) {
    to.addStringElement("presetName", device.preset_at(index).name);
    to.addInt32Element("presetIndex", index);
}

// ---- The preset library ----

void load_presets_from_media(device_state& device, const fields&, bsonDocument&) { device.load_presets(); }

void save_presets_to_media(device_state& device, const fields&, bsonDocument&) { device.save_presets(); }

void delete_all_presets(device_state& device, const fields&, bsonDocument&) { device.delete_all_presets(); }

void get_presets_list(device_state& device, const fields&, bsonDocument& results) {
    auto list = std::make_unique<bsonDocument>();
    for (std::size_t i = 0; i < device.preset_count(); ++i) {
        const preset& one = device.preset_at(static_cast<std::int32_t>(i + 1));
        auto entry = std::make_unique<bsonDocument>();
        entry->addStringElement("presetName", one.name);
        entry->addInt32Element("gradeComboIndex", one.grade_combo_index);
        add_strings(*entry, "gradeCombo", combination_strings(one.grade_combo_index));
        add_document(*list, std::to_string(i), std::move(entry), false);
    }
    results.addInt32Element("maxPresetsListSize", static_cast<std::int32_t>(library_capacity));
    add_document(results, "presetsList", std::move(list), true);
}

void delete_preset(device_state& device, const fields& command, bsonDocument&) {
    device.delete_preset(read_selector(command));
}

void rename_preset(device_state& device, const fields& command, bsonDocument&) {
    device.rename_preset(read_selector(command), command.string("newName"));
}

void move_preset(device_state& device, const fields& command, bsonDocument&) {
    device.move_preset(read_selector(command), command.int32("toIndex"));
}

void get_selected_preset(device_state& device, const fields& command, bsonDocument& results) {
    write_preset_place(results, device, device.selected_preset(read_channel(command)));
}

void set_selected_preset(device_state& device, const fields& command, bsonDocument&) {
    device.select_preset(read_channel(command), read_selector(command));
}

void get_override_preset(device_state& device, const fields&, bsonDocument& results) {
    write_preset_place(results, device, device.override_preset());
}

void set_override_preset(device_state& device, const fields& command, bsonDocument&) {
    device.set_override(read_selector(command));
}

void send_preset(device_state& device, const fields& command, bsonDocument&) {
    device_state::upload what;
    what.selector = read_selector(command);
    what.to_index = command.optional_int32("toIndex");
    what.grade_combo_index = command.optional_int32("gradeComboIndex");
    what.apply = command.optional_boolean("applyPreset").value_or(false);
    what.apply_channel = command.optional_int32("applyChannel");
    what.components = read_components(command, false);
    check_readable(what.components);
    device.store_preset(std::move(what));
}

void get_preset(device_state& device, const fields& command, bsonDocument& results) {
    write_grade(results, device.preset_at(device.find_preset(read_selector(command))));
}

// ---- Live grades ----

void send_grade_combo(device_state& device, const fields& command, bsonDocument&) {
    device.grade(read_channel(command), command.boolean("resetAndApply"), command.int32("gradeComboIndex"), {});
}

// Puts one component on a channel. slot_key names the field of its slot; without it the first slot is meant.
void send_component(device_state& device, const fields& command, const char* slot_key, grade_component component) {
    component.type_index = command.optional_int32(slot_key).value_or(1);
    check_slot(command.name(slot_key), component.type_index, component.type);
    std::vector<grade_component> components;
    components.push_back(std::move(component));
    device.grade(read_channel(command), command.boolean("resetAndApply"), std::nullopt, std::move(components));
}

void send_lut(device_state& device, const fields& command, bsonDocument&) {
    grade_component lut;
    lut.type = command.string("type", 1);  // the first "type" is the envelope's
    if (lut.type != "1dlut" && lut.type != "3dlut")
        throw refusal(reason::bad_field, "the LUT's \"type\" is " + quoted(lut.type) + ", not \"1dlut\" or \"3dlut\"");
    lut.data_format = command.string("dataFormat");
    if (lut.data_format.empty()) throw refusal(reason::bad_field, "\"dataFormat\" is empty");
    lut.data = command.binary("data");
    send_component(device, command, "lutIndex", std::move(lut));
}

void send_cdl(device_state& device, const fields& command, bsonDocument&) {
    grade_component component;
    component.type = "cdl";
    component.data_format = "cdl";
    component.values = read_cdl(command);
    send_component(device, command, "cdlIndex", std::move(component));
}

void send_saturation(device_state& device, const fields& command, bsonDocument&) {
    grade_component component;
    component.type = "saturation";
    component.data_format = "cdl";
    component.values = cdl_values{{1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}, command.number("saturation")};
    send_component(device, command, "saturationIndex", std::move(component));
}

void send_live(device_state& device, const fields& command, bsonDocument&) {
    device.grade(read_channel(command), command.boolean("resetAndApply"), command.optional_int32("gradeComboIndex"),
                 read_components(command, true));
}

// ---- The device ----

void send_client_info(device_state& device, const fields& command, bsonDocument&) {
    device.register_client({command.string("clientModel"), command.optional_string("versionNumber").value_or(""),
                            command.optional_string("clientSerial").value_or("")});
}

void get_model_info(device_state& device, const fields&, bsonDocument& results) {
    results.addStringElement("modelName", device_state::model_name());
    results.addStringElement("friendlyName", device.friendly_name());
    results.addStringElement("modelSerial", device_state::serial());
    auto combinations = std::make_unique<bsonDocument>();
    const auto& all = device_state::grade_combinations();
    for (std::size_t i = 0; i < all.size(); ++i) add_strings(*combinations, std::to_string(i), all[i]);
    add_document(results, "gradeCombos", std::move(combinations), true);
    auto channels = std::make_unique<bsonDocument>();
    for (std::int32_t i = 1; i <= device_state::channel_count(); ++i) {
        auto supported = std::make_unique<bsonDocument>();
        for (const std::int32_t index : device_state::supported_combinations(i))
            supported->addInt32Element(std::to_string(supported->elementList.size()), index);
        auto channel = std::make_unique<bsonDocument>();
        channel->addStringElement("channelName", device_state::channel_name(i));
        add_document(*channel, "supportedGradeComboIndices", std::move(supported), true);
        add_document(*channels, std::to_string(i - 1), std::move(channel), false);
    }
    add_document(results, "gradeChannels", std::move(channels), true);
}

void get_color_transform_state(device_state& device, const fields& command, bsonDocument& results) {
    results.addInt32Element("colorTransformState", device.transform_state(read_channel(command)));
}

void set_color_transform_state(device_state& device, const fields& command, bsonDocument&) {
    device.set_transform_state(read_channel(command), command.int32("colorTransformState"));
}

void get_video_connections(device_state& device, const fields&, bsonDocument& results) {
    auto list = std::make_unique<bsonDocument>();
    for (const route& one : device.routes()) {
        auto entry = std::make_unique<bsonDocument>();
        entry->addInt32Element("sourceIndex", one.source.index);
        entry->addStringElement("sourceType", one.source.type);
        entry->addInt32Element("destinationIndex", one.destination.index);
        entry->addStringElement("destinationType", one.destination.type);
        add_document(*list, std::to_string(list->elementList.size()), std::move(entry), false);
    }
    add_document(results, "videoConnections", std::move(list), true);
}

void set_video_connection(device_state& device, const fields& command, bsonDocument&) {
    device.connect({{command.string("sourceType"), command.int32("sourceIndex")},
                    {command.string("destinationType"), command.int32("destinationIndex")}});
}

void get_option(device_state& device, const fields& command, bsonDocument& results) {
    results.addStringElement("value", device.option(command.string("name")));
}

void set_option(device_state& device, const fields& command, bsonDocument&) {
    device.set_option(command.string("name"), command.string("value"));
}

using handler = void (*)(device_state&, const fields&, bsonDocument&);

const std::map<std::string, handler>& handlers() {
    static const std::map<std::string, handler> table{
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
    return table;
}

void check_envelope(const fields& command) {
    const std::string version = command.string("protocolVersion");
    if (version != "2.0")
        throw refusal(reason::bad_field, "\"protocolVersion\" is " + quoted(version) + ", not \"2.0\"");
    const std::string type = command.string("type");
    if (type != "command") throw refusal(reason::bad_field, "\"type\" is " + quoted(type) + ", not \"command\"");
    command.int32("msgID");
}

handler handler_for(const std::string& name) {
    const auto found = handlers().find(name);
    if (found == handlers().end()) throw refusal(reason::unknown_command, "there is no command " + quoted(name));
    return found->second;
}

}  // namespace

std::vector<std::string> command_names() {
    std::vector<std::string> names;
    for (const auto& [name, function] : handlers()) names.push_back(name);
    return names;
}

std::unique_ptr<bsonDocument> decoded_command(const unsigned char* bytes, std::size_t size) {
    if (size > std::numeric_limits<std::uint32_t>::max()) return nullptr;
    auto command = std::make_unique<bsonDocument>(bytes, static_cast<std::uint32_t>(size), true, false);
    return command->convertMessageToElementList(true) == 1 ? std::move(command) : nullptr;
}

std::string command_name(const bsonDocument& command) {
    std::string name;
    command.getStringWithKey("command", name);
    return name;
}

std::unique_ptr<bsonDocument> perform(device_state& device, const bsonDocument& command) {
    try {
        const fields content(command);
        check_envelope(content);
        const handler function = handler_for(content.string("command"));
        auto reply = std::make_unique<bsonDocument>();
        write_reply_head(*reply, 0, "ok");
        function(device, content, *reply);
        return reply;
    } catch (const refusal& why) {
        return refusing_reply(why.why(), why.what());
    } catch (const std::bad_alloc&) {
        return refusing_reply(reason::internal, "out of memory");
    }
}

std::unique_ptr<bsonDocument> refusing_reply(reason why, const std::string& message) {
    auto reply = std::make_unique<bsonDocument>();
    write_reply_head(*reply, static_cast<std::int32_t>(why), message.substr(0, max_message_size));
    return reply;
}

std::vector<unsigned char> answer(device_state& device, const std::vector<unsigned char>& command) {
    const auto document = decoded_command(command.data(), command.size());
    const auto reply = document ? perform(device, *document)
                                : refusing_reply(reason::malformed, "the command is not a valid BSON document");
    return encoded(*reply);
}

}  // namespace simulator
