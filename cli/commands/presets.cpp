// lutc presets ...
#include <filesystem>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands/commands.h"
#include "cli/console/service.h"
#include "cli/presets/backup.h"
#include "cli/presets/library.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

ordered_json show_list() {
    const preset_list list = list_presets("presets list");
    ordered_json presets = ordered_json::array();
    for (const listed_preset& preset : list.presets) {
        presets.push_back({{"presetIndex", presets.size() + 1},
                           {"presetName", preset.name},
                           {"gradeComboIndex", preset.combination_index},
                           {"gradeCombo", preset.combination}});
    }
    return {{"maxPresetsListSize", list.maximum}, {"presets", presets}};
}

struct upload_options {
    std::string file;
    preset_selector preset;
    int to = 0;
    int combination = 0;
    bool apply = false;
    int channel = 0;

    void declare(const command& upload) {
        upload.add_path("file", file, "The grade file; - for standard input");
        upload.add_preset(preset);
        upload.add_integer("--to", to, 1, "Its place in the list, from 1");
        upload.add_integer("--combination", combination, 1, "The grade combination, in place of the file's");
        const argument applied = upload.add_flag("--apply", apply, "Also apply it at once");
        upload.add_channel(channel).need(applied);
    }

    void run() const {
        grade_file grade = read_grade_file(file, grade_use::preset);
        preset_selector target = preset;
        if (!target.is_given()) {
            if (!grade.name) throw failure(exit_usage, file + ": name: is missing; give --name or --index");
            target.name = grade.name;
        }
        const std::vector<gradeComponent> records = list_records(grade);
        require_success(
            "presets upload: " + target.describe(),
            lutc_send_preset(target.name_or_null(), target.index, to, combination > 0 ? combination : grade.combination,
                             apply, channel, records.data(), static_cast<int>(records.size())));
    }
};

listed_preset find_preset(const std::string& task, const preset_selector& selector) {
    const preset_list list = list_presets(task);
    std::size_t place = 1;
    for (const listed_preset& preset : list.presets) {
        if (selector.name ? preset.name == *selector.name : place == static_cast<std::size_t>(selector.index)) {
            return preset;
        }
        ++place;
    }
    throw failure(exit_refused, task + ": there is no such preset");
}

struct download_options {
    std::string file;
    preset_selector preset;
    bool yes = false;

    void declare(const command& download) {
        download.add_path("file", file, "The grade file to write");
        download.add_preset(preset);
        download.add_yes(yes, "Replace files");
    }

    ordered_json run() const {
        if (file == "-") throw failure(exit_usage, "presets download: give a file: tables are written beside it");
        const std::string task = "presets download: " + preset.describe();
        std::vector<std::string> notices;
        const grade_file grade = download_preset(task, find_preset(task, preset), notices);
        const std::string stem = std::filesystem::path(file).stem();
        const std::vector<std::string> names = list_grade_files(file, grade, stem);
        for (const std::string& name : names) {
            if (std::filesystem::exists(name)) confirm(yes, "Replace " + name + "?");
        }
        write_grade_file(file, grade, stem);
        for (const std::string& notice : notices) print_notice(notice);
        return {{"presetName", *grade.name}, {"files", names}};
    }
};

// What commands on one preset share. send gives its name, or null, and its index to the library's function.
struct preset_options {
    preset_selector preset;

    void declare(const command& to) { to.add_preset(preset); }

    template <class Function>
    void send(const char* task, const Function& function) const {
        require_success(task + (": " + preset.describe()), function(preset.name_or_null(), preset.index));
    }
};

struct delete_options : preset_options {
    bool yes = false;

    void declare(const command& to) {
        to.add_yes(yes, "Delete");
        preset_options::declare(to);
    }

    void run() const {
        confirm(yes, "Delete " + preset.describe() + "?");
        send("presets delete", lutc_delete_preset);
    }
};

struct rename_options : preset_options {
    std::string new_name;

    void declare(const command& rename) {
        rename.add_text("--new-name", new_name, "Its new name (at most 32 bytes)").require();
        preset_options::declare(rename);
    }

    void run() const {
        check_preset_name(new_name);
        send("presets rename",
             [this](auto name, int index) { return lutc_rename_preset(name, index, new_name.c_str()); });
    }
};

struct move_options : preset_options {
    int to = 0;

    void declare(const command& move) {
        move.add_integer("--to", to, 1, "Its new place in the list, from 1").require();
        preset_options::declare(move);
    }

    void run() const {
        send("presets move", [this](auto name, int index) { return lutc_move_preset(name, index, to); });
    }
};

struct select_options : preset_options {
    int channel = 0;

    void declare(const command& select) {
        select.add_channel(channel);
        preset_options::declare(select);
    }

    void run() const {
        send("presets select", [this](auto name, int index) { return lutc_set_preset(channel, name, index); });
    }
};

struct selected_options {
    int channel = 0;

    void declare(const command& selected) { selected.add_channel(channel); }

    ordered_json run() const {
        char name[LUTC_PRESET_NAME_SIZE + 1] = {};
        int index = 0;
        require_success("presets selected", lutc_get_preset(channel, name, &index));
        return {{"presetName", name}, {"presetIndex", index}};
    }
};

ordered_json show_override() {
    char name[LUTC_PRESET_NAME_SIZE + 1] = {};
    int index = 0;
    require_success("presets override get", lutc_get_override_preset(name, &index));
    return {{"presetName", name}, {"presetIndex", index}};
}

struct set_override_options : preset_options {
    void run() const { send("presets override set", lutc_set_override_preset); }
};

void clear_override() { require_success("presets override clear", lutc_set_override_preset(nullptr, 0)); }

struct load_options {
    bool yes = false;

    void declare(const command& load) { load.add_yes(yes, "Go on"); }

    void run() const {
        confirm(yes, "Replace the library by the one on the media?");
        require_success("presets load", lutc_load_presets_from_media());
    }
};

void save() { require_success("presets save", lutc_save_presets_to_media()); }

struct clear_options {
    bool yes = false;

    void declare(const command& clear) { clear.add_yes(yes, "Go on"); }

    void run() const {
        confirm(yes, "Delete every preset of the library?");
        require_success("presets clear", lutc_delete_all_presets());
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

void add_presets(const command& tool) {
    const command group = tool.add_group("presets", "The preset library");
    group.add("list", "Show the presets", show_list);
    group.add<upload_options>("upload", "Store a preset from a grade file; it replaces one of its name");
    group.add<download_options>("download", "Fetch a preset into a grade file, its tables beside it");
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
