// lutc presets ...
#include <filesystem>
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"
#include "cli/commands/preset_option.h"
#include "cli/console/files.h"
#include "cli/presets/backup.h"
#include "cli/presets/download.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

ordered_json show_list() {
    const lutc::preset_library library = lutc::preset_list();
    ordered_json presets = ordered_json::array();
    for (const lutc::preset_entry& preset : library.presets) {
        presets.push_back({{"presetIndex", presets.size() + 1},
                           {"presetName", preset.name},
                           {"gradeComboIndex", preset.combination},
                           {"gradeCombo", preset.components}});
    }
    return {{"maxPresetsListSize", library.maximum}, {"presets", presets}};
}

struct download_options {
    std::string file;
    preset_selector preset;
    bool yes = false;

    std::string subject() const { return preset.describe(); }

    void declare(const command& download) {
        download.add_path("file", file, "The grade file to write");
        download.add_preset(preset);
        download.add_yes(yes, "Replace files");
    }

    ordered_json run() const {
        if (goes_to_stdout(file)) {
            throw failure(exit_usage, "presets download: give a file: tables are written beside it");
        }
        std::vector<std::string> notices;
        const grade_file grade = download_preset(find_preset(lutc::preset_list(), preset.ref()), notices);
        const std::string stem = std::filesystem::path(file).stem();
        const std::vector<std::string> names = list_grade_files(file, grade, stem);
        for (const std::string& name : names) {
            if (std::filesystem::is_regular_file(name)) confirm(yes, "Replace " + name + "?");
        }
        write_grade_file(file, grade, stem);
        for (const std::string& notice : notices) print_notice(notice);
        return {{"presetName", *grade.name}, {"files", names}};
    }
};

// What commands on one preset share.
struct preset_options {
    preset_selector preset;

    std::string subject() const { return preset.describe(); }

    void declare(const command& to) { to.add_preset(preset); }
};

struct delete_options : preset_options {
    bool yes = false;

    void declare(const command& to) {
        to.add_yes(yes, "Delete");
        preset_options::declare(to);
    }

    void run() {
        resolve(preset);
        confirm(yes, "Delete " + preset.describe() + "?");
        lutc::delete_preset(preset.ref());
    }
};

struct rename_options : preset_options {
    std::string new_name;

    void declare(const command& rename) {
        rename.add_text("--new-name", new_name, "Its new name (at most 32 bytes)").require();
        preset_options::declare(rename);
    }

    void run() {
        check_preset_name(new_name);
        resolve(preset);
        lutc::rename_preset(preset.ref(), new_name);
    }
};

struct move_options : preset_options {
    int to = 0;

    void declare(const command& move) {
        move.add_integer("--to", to, 1, "Its new place in the list, from 1").require();
        preset_options::declare(move);
    }

    void run() {
        resolve(preset);
        lutc::move_preset(preset.ref(), to);
    }
};

struct select_options : preset_options {
    int channel = 0;

    void declare(const command& select) {
        select.add_channel(channel);
        preset_options::declare(select);
    }

    void run() const { lutc::set_preset(channel, preset.ref()); }
};

struct selected_options {
    int channel = 0;

    void declare(const command& selected) { selected.add_channel(channel); }

    ordered_json run() const { return show_choice(lutc::get_preset(channel)); }
};

ordered_json show_override() { return show_choice(lutc::get_override_preset()); }

struct set_override_options : preset_options {
    void run() const { lutc::set_override_preset(preset.ref()); }
};

void clear_override() { lutc::set_override_preset(0); }

struct load_options {
    bool yes = false;

    void declare(const command& load) { load.add_yes(yes, "Go on"); }

    void run() const {
        confirm(yes, "Replace the library by the one on the media?");
        lutc::load_presets_from_media();
    }
};

void save() { lutc::save_presets_to_media(); }

struct clear_options {
    bool yes = false;

    void declare(const command& clear) { clear.add_yes(yes, "Go on"); }

    void run() const {
        confirm(yes, "Delete every preset of the library?");
        lutc::delete_all_presets();
    }
};

struct backup_options {
    std::string folder;
    bool yes = false;

    void declare(const command& backup) {
        backup.add_path("folder", folder, "A new or empty folder, or one with an earlier backup");
        backup.add_yes(yes, "Replace an earlier backup");
    }

    ordered_json run() const { return {{"folder", folder}, {"presets", backup_presets(folder, yes)}}; }
};

struct restore_options {
    std::string folder;
    bool yes = false;

    void declare(const command& restore) {
        restore.add_path("folder", folder, "The folder of the backup");
        restore.add_yes(yes, "Replace presets");
    }

    ordered_json run() const { return {{"folder", folder}, {"presets", restore_presets(folder, yes)}}; }
};

}  // namespace

ordered_json show_choice(const lutc::preset_choice& choice) {
    return {{"presetName", choice.name}, {"presetIndex", choice.index}};
}

void add_presets(const command& tool) {
    const command group = tool.add_group("presets", "The preset library");
    group.add("list", "Show the presets", show_list);
    add_upload(group);
    group.add<download_options>("download", "Fetch a preset into a grade file, its tables beside it");
    add_duplicate(group);
    group.add<delete_options>("delete", "Delete a preset");
    group.add<rename_options>("rename", "Rename a preset");
    group.add<move_options>("move", "Move a preset within the list");
    group.add<select_options>("select", "Select the preset that a channel shows");
    group.add<selected_options>("selected", "Show the preset that a channel shows");
    const command overriding = group.add_group("override", "The override preset");
    overriding.add("get", "Show it", show_override);
    overriding.add<set_override_options>("set", "Set it");
    overriding.add("clear", "Set it to index 0, which is none", clear_override);
    group.add<load_options>("load", "Replace the library by the one on the device's media");
    group.add("save", "Store the library on the device's media", save);
    group.add<clear_options>("clear", "Delete every preset of the library");
    group.add<backup_options>("backup", "Write the whole library as files into a folder");
    group.add<restore_options>("restore", "Replace the library by a backup");
}

}  // namespace lutc_cli
