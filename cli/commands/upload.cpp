// lutc presets upload
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"
#include "cli/commands/preset_option.h"
#include "cli/commands/table_option.h"
#include "colour/reader.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

// FILE, or FILE#ID for one of several corrections.
lutc::component read_cdl(const std::string& text) {
    std::string file = text;
    std::string id;
    std::error_code failed;
    for (std::size_t at = text.find('#'); at != std::string::npos && id.empty(); at = text.find('#', at + 1)) {
        if (std::filesystem::exists(text, failed) || !std::filesystem::exists(text.substr(0, at), failed)) continue;
        file = text.substr(0, at);
        id = text.substr(at + 1);
    }
    const colour::cdl_values values = colour::read_cdl_file(file, id);
    return lutc::cdl_values{values.slope, values.offset, values.power, values.saturation};
}

struct upload_options {
    std::string file;
    command::named_texts colour_files;  // "--cdl" or "--lut", and the file
    preset_selector preset;
    int to = 0;
    int combination = 0;
    bool apply = false;
    int channel = 0;
    table_options tables;
    int size = 0;

    std::string subject() const { return preset.describe(); }

    void declare(const command& upload) {
        upload.add_text("file", file, "The grade file; - for standard input");
        upload.add_texts_in_order(
            {{"--cdl", "A CDL file as a component, FILE#ID for one of its corrections; may be repeated"},
             {"--lut", "A LUT file as a component; may be repeated, and mixed with --cdl in their order"}},
            colour_files);
        declare_tables(tables, upload);
        upload.add_integer("--size", size, 2, "With --lut: points on each axis of the cubes; as in the file");
        upload.add_preset(preset);
        upload.add_integer("--to", to, 1, "Its place in the list, from 1");
        upload.add_integer("--combination", combination, 1,
                           "The grade combination, in place of the file's or of the one that fits");
        const argument applied = upload.add_flag("--apply", apply, "Also apply it at once");
        upload.add_channel(channel).need(applied);
    }

    ordered_json run() {
        if (file.empty() == colour_files.empty()) {
            throw failure(exit_usage, "presets upload: give either a grade file or --cdl and --lut");
        }
        if (!file.empty()) return upload_file();
        resolve(preset);
        return upload_colour_files();
    }

  private:
    ordered_json upload_file() {
        const grade_file grade = read_grade_file(file, grade_use::preset, make_packer(tables));
        if (!preset.is_given()) {
            if (!grade.name) throw failure(exit_usage, file + ": name: is missing; give --name or --index");
            preset.name = grade.name;
        }
        resolve(preset);
        send(grade.components, combination > 0 ? combination : grade.combination);
        return nullptr;
    }

    ordered_json upload_colour_files() const {
        device_model device;
        lutc::grade components;
        std::vector<std::string> types;
        for (const auto& [option, name] : colour_files) {
            components.push_back(option == "--cdl" ? read_cdl(name) : read_lut(name, device));
            types.push_back(type_of(components.back()));
        }
        check_payloads("presets upload", components);
        const placing placed = place_components(device.get(), types, combination, channels_of(device.get()));
        ordered_json shown = ordered_json::array();
        for (std::size_t i = 0; i < components.size(); ++i) {
            const int slot = placed.slots[i];
            std::visit([slot](auto& component) { component.slot = slot; }, components[i]);
            const std::string format = format_of(components[i]);
            shown.push_back({{"type", types[i]},
                             {"typeIndex", slot},
                             {"dataFormat", format.empty() ? ordered_json() : ordered_json(format)},
                             {"file", colour_files[i].second}});
        }
        send(components, placed.combination);
        return {{"presetName", *preset.name}, {"gradeComboIndex", placed.combination}, {"components", shown}};
    }

    lutc::component read_lut(const std::string& name, device_model& device) const {
        const colour::colour_transform transform = colour::read_lut_file(name);
        return pack_component(transform, transform.mixes_channels ? size : 0, tables, device).component;
    }

    // The channels that show it at once: without --channel that may be any.
    std::vector<int> channels_of(const lutc::model& model) const {
        if (channel > 0) return {channel};
        std::vector<int> channels;
        for (std::size_t i = 0; apply && i < model.channels.size(); ++i) channels.push_back(static_cast<int>(i) + 1);
        return channels;
    }

    void send(const lutc::grade& components, int of_combination) const {
        lutc::send_preset(preset.ref(), components, {to, of_combination, apply, channel});
    }
};

}  // namespace

lutc::preset_entry find_preset(const lutc::preset_library& library, const lutc::preset_ref& wanted) {
    int place = 0;
    for (const lutc::preset_entry& preset : library.presets) {
        ++place;
        if (wanted.name() ? preset.name == *wanted.name() : place == wanted.index()) return preset;
    }
    throw failure(exit_refused,
                  "there is no preset " + (wanted.name() ? quote(*wanted.name()) : std::to_string(wanted.index())));
}

void resolve(preset_selector& preset) {
    static_cast<void>(preset.describe());
    if (preset.name) return;
    const lutc::preset_library library = lutc::preset_list();
    const std::string name = find_preset(library, preset.ref()).name;
    const auto has_name = [&name](const lutc::preset_entry& each) { return each.name == name; };
    if (std::count_if(library.presets.begin(), library.presets.end(), has_name) > 1) {
        throw failure(exit_refused, "several presets are named " + quote(name) + ", so none can be told by it");
    }
    preset.name = name;
}

void add_upload(const command& presets) {
    presets.add<upload_options>("upload",
                                "Store a preset from a grade file or from colour files; it replaces one of its name");
}

}  // namespace lutc_cli
