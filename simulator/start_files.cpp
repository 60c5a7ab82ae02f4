#include "simulator/start_files.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "simulator/device/preset_library.h"
#include "simulator/documents.h"
#include "terminal/json_value.h"
#include "terminal/regular_file.h"

namespace simulator {

namespace {

using lutc_terminal::json_value;
using lutc_terminal::links;

constexpr int most_ends = 64;  // inputs, channels, outputs
constexpr std::size_t most_bytes = 64 << 20;

nlohmann::ordered_json read_json(const std::string& path, links allowed) {
    return lutc_terminal::parse_json(lutc_terminal::read_regular_file(path, most_bytes, allowed), path);
}

std::vector<std::string> read_texts(const json_value& list) {
    std::vector<std::string> texts;
    for (const json_value& item : list.items()) texts.push_back(item.text());
    return texts;
}

// ---- Devices ----

// The index that an item may say is the one that it has.
void check_index(const json_value& item, const char* key, std::size_t index) {
    if (item.has(key) && static_cast<std::size_t>(item[key].integer(1)) != index)
        throw item[key].make_failure("must be " + std::to_string(index) + ", its place in the list");
}

std::vector<std::vector<std::string>> read_combinations(const json_value& device) {
    std::vector<std::vector<std::string>> combinations;
    for (const json_value& item : device.items("gradeCombos", "gradeCombos")) {
        item.allow_only({"gradeComboIndex", "gradeCombo"});
        check_index(item, "gradeComboIndex", combinations.size() + 1);
        combinations.push_back(read_texts(item["gradeCombo"]));
    }
    if (combinations.empty()) throw device["gradeCombos"].make_failure("must not be empty");
    return combinations;
}

std::vector<model::channel> read_channels(const json_value& device, std::size_t combinations) {
    std::vector<model::channel> channels;
    for (const json_value& item : device.items("gradeChannels", "gradeChannels")) {
        item.allow_only({"channelIndex", "channelName", "supportedGradeComboIndices"});
        check_index(item, "channelIndex", channels.size() + 1);
        model::channel channel{item["channelName"].text(), {}};
        for (const json_value& index : item["supportedGradeComboIndices"].items())
            channel.combinations.push_back(index.integer(1, static_cast<int>(combinations)));
        channels.push_back(std::move(channel));
    }
    if (channels.empty() || channels.size() > most_ends)
        throw device["gradeChannels"].make_failure("must be from 1 to " + std::to_string(most_ends));
    return channels;
}

// A value alone is any text; else "value", "choices" and "readOnly".
model::option read_option(const json_value& value) {
    if (!value.is_object()) return {value.text(), false, {}};
    value.allow_only({"value", "choices", "readOnly"});
    model::option option{value["value"].text(), value.has("readOnly") && value["readOnly"].boolean(), {}};
    if (value.has("choices")) option.choices = read_texts(value["choices"]);
    const auto& choices = option.choices;
    if (!choices.empty() && std::find(choices.begin(), choices.end(), option.initial) == choices.end())
        throw value["value"].make_failure("must be one of the choices");
    return option;
}

// ---- Backups ----

class backup_reader {
  public:
    backup_reader(const std::string& folder, const device_model& model) : folder_(folder), model_(model) {}

    std::vector<preset> read() const {
        const std::string path = folder_ + "/library.json";
        const auto document = read_json(path, links::refused);
        const json_value index(path, document);
        index.allow_only({"formatVersion", "maxPresetsListSize", "gradeCombos", "presets"});
        if (index["formatVersion"].integer(0) != 1) throw index["formatVersion"].make_failure("must be 1");
        if (index.has("gradeCombos")) {
            for (const json_value& item : index.items("gradeCombos", "gradeCombos")) check_combination(item);
        }
        std::vector<preset> presets;
        preset_library rules;
        for (const json_value& file : index["presets"].items()) {
            presets.push_back(read_preset(file.plain_name()));
            try {
                check_readable(presets.back().components);
                rules.store(0, presets.back());
            } catch (const std::runtime_error& why) {  // a refusal or a problem
                throw file.make_failure(why.what());
            }
        }
        return presets;
    }

  private:
    std::int32_t read_combination(const json_value& fields) const {
        return fields["gradeComboIndex"].integer(1, static_cast<int>(model_.grade_combinations.size()));
    }

    // A combination's number says nothing when the device's combination of that number is another one.
    void check_combination(const json_value& item) const {
        if (read_texts(item["gradeCombo"]) != model_.combination(read_combination(item)))
            throw item.make_failure("is another grade combination on this device");
    }

    preset read_preset(const std::string& name) const {
        const std::string path = folder_ + "/" + name;
        const auto document = read_json(path, links::refused);
        const json_value fields(path, document);
        fields.allow_only({"name", "gradeComboIndex", "components"});
        preset content;
        content.name = fields["name"].text();
        if (content.name.size() > model::max_text_size) throw fields["name"].make_failure("is too long");
        if (fields.has("gradeComboIndex")) content.grade_combo_index = read_combination(fields);
        for (const json_value& component : fields.items("components", "component"))
            content.components.push_back(read_component(component));
        return content;
    }

    // As in a grade file. One of another type is ignored, and still there when the preset is fetched.
    grade_component read_component(const json_value& fields) const {
        grade_component component;
        component.type = fields["type"].text();
        const bool is_known = slots_of(component.type) != 0 && component.type != "tpg";
        const std::int32_t last = is_known ? slots_of(component.type) : INT32_MAX;
        if (fields.has("typeIndex")) component.type_index = fields["typeIndex"].integer(1, last);
        if (!is_known) return component;
        component.data_format = is_table(component.type) ? fields["dataFormat"].text() : "cdl";
        if (is_table(component.type) || fields.has("file")) {
            fields.allow_only({"type", "typeIndex", "dataFormat", "file"});
            component.data = std::make_shared<const std::vector<unsigned char>>(lutc_terminal::read_regular_file(
                folder_ + "/" + fields["file"].plain_name(), most_bytes, links::refused));
            return component;
        }
        fields.allow_only({"type", "typeIndex", "slope", "offset", "power", "saturation"});
        const auto triple = [&](const char* key, double neutral) {
            return fields.has(key) ? fields[key].triple() : std::array<double, 3>{neutral, neutral, neutral};
        };
        component.values = cdl_values{triple("power", 1.0), triple("slope", 1.0), triple("offset", 0.0),
                                      fields.has("saturation") ? fields["saturation"].number() : 1.0};
        return component;
    }

    const std::string& folder_;
    const device_model& model_;
};

}  // namespace

device_model read_device(const std::string& path) {
    const auto document = read_json(path, links::followed);
    const json_value fields(path, document);
    fields.allow_only(
        {"modelName", "friendlyName", "modelSerial", "gradeCombos", "gradeChannels", "options", "inputs", "outputs"});
    device_model model;
    if (fields.has("modelName")) model.name = fields["modelName"].text();
    if (fields.has("modelSerial")) model.serial = model.options["serialNumber"].initial = fields["modelSerial"].text();
    if (fields.has("gradeCombos")) model.grade_combinations = read_combinations(fields);
    if (fields.has("gradeChannels")) model.channels = read_channels(fields, model.grade_combinations.size());
    for (const model::channel& channel : model.channels) {
        for (const std::int32_t index : channel.combinations) {
            if (static_cast<std::size_t>(index) > model.grade_combinations.size())
                throw fields.make_failure("gradeChannels: is missing, for there are fewer gradeCombos than usual");
        }
    }
    model.inputs = model.outputs = model.channels.size();
    if (fields.has("inputs")) model.inputs = static_cast<std::size_t>(fields["inputs"].integer(1, most_ends));
    if (fields.has("outputs")) model.outputs = static_cast<std::size_t>(fields["outputs"].integer(1, most_ends));
    const std::string friendly_name =
        fields.has("friendlyName") ? fields["friendlyName"].text() : model.options["friendlyName"].initial;
    if (fields.has("options")) {
        model.options.clear();
        for (const auto& [name, value] : fields["options"].members()) model.options[name] = read_option(value);
    }
    model.options.insert({"friendlyName", {friendly_name, false, {}}});
    if (fields.has("friendlyName")) model.options["friendlyName"].initial = friendly_name;
    return model;
}

std::vector<preset> read_backup(const std::string& folder, const device_model& model) {
    return backup_reader(folder, model).read();
}

}  // namespace simulator
