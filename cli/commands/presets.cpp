// lutc presets ...
#include <filesystem>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands/commands.h"
#include "cli/presets/backup.h"
#include "cli/presets/library.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

void show_list(const output_style& style) {
    const preset_list list = list_presets("presets list");
    ordered_json presets = ordered_json::array();
    for (const listed_preset& preset : list.presets) {
        presets.push_back({{"presetIndex", presets.size() + 1},
                           {"presetName", preset.name},
                           {"gradeComboIndex", preset.combination_index},
                           {"gradeCombo", preset.combination}});
    }
    print_result(style, {{"maxPresetsListSize", list.maximum}, {"presets", presets}});
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

    void run(const output_style& style) const {
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
        print_done(style);
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

    void run(const output_style& style) const {
        preset.require();
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
        print_result(style, {{"presetName", *grade.name}, {"files", names}});
    }
};

struct delete_options {
    bool yes = false;
    preset_selector preset;

    void declare(const command& to) {
        to.add_yes(yes, "Delete");
        to.add_preset(preset);
    }

    void run(const output_style& style) const {
        preset.require();
        confirm(yes, "Delete " + preset.describe() + "?");
        require_success("presets delete: " + preset.describe(),
                        lutc_delete_preset(preset.name_or_null(), preset.index));
        print_done(style);
    }
};

struct rename_options {
    std::string new_name;
    preset_selector preset;

    void declare(const command& rename) {
        rename.add_text("--new-name", new_name, "Its new name (at most 32 bytes)").require();
        rename.add_preset(preset);
    }

    void run(const output_style& style) const {
        preset.require();
        check_preset_name(new_name);
        require_success("presets rename: " + preset.describe(),
                        lutc_rename_preset(preset.name_or_null(), preset.index, new_name.c_str()));
        print_done(style);
    }
};

struct move_options {
    int to = 0;
    preset_selector preset;

    void declare(const command& move) {
        move.add_integer("--to", to, 1, "Its new place in the list, from 1").require();
        move.add_preset(preset);
    }

    void run(const output_style& style) const {
        preset.require();
        require_success("presets move: " + preset.describe(),
                        lutc_move_preset(preset.name_or_null(), preset.index, to));
        print_done(style);
    }
};

struct select_options {
    int channel = 0;
    preset_selector preset;

    void declare(const command& select) {
        select.add_channel(channel);
        select.add_preset(preset);
    }

    void run(const output_style& style) const {
        preset.require();
        require_success("presets select: " + preset.describe(),
                        lutc_set_preset(channel, preset.name_or_null(), preset.index));
        print_done(style);
    }
};

struct selected_options {
    int channel = 0;

    void declare(const command& selected) { selected.add_channel(channel); }

    void run(const output_style& style) const {
        char name[LUTC_PRESET_NAME_SIZE + 1] = {};
        int index = 0;
        require_success("presets selected", lutc_get_preset(channel, name, &index));
        print_result(style, {{"presetName", name}, {"presetIndex", index}});
    }
};

void show_override(const output_style& style) {
    char name[LUTC_PRESET_NAME_SIZE + 1] = {};
    int index = 0;
    require_success("presets override get", lutc_get_override_preset(name, &index));
    print_result(style, {{"presetName", name}, {"presetIndex", index}});
}

struct set_override_options {
    preset_selector preset;

    void declare(const command& set) { set.add_preset(preset); }

    void run(const output_style& style) const {
        preset.require();
        require_success("presets override set: " + preset.describe(),
                        lutc_set_override_preset(preset.name_or_null(), preset.index));
        print_done(style);
    }
};

void clear_override(const output_style& style) {
    require_success("presets override clear", lutc_set_override_preset(nullptr, 0));
    print_done(style);
}

struct load_options {
    bool yes = false;

    void declare(const command& load) { load.add_yes(yes, "Go on"); }

    void run(const output_style& style) const {
        confirm(yes, "Replace the library by the one on the media?");
        require_success("presets load", lutc_load_presets_from_media());
        print_done(style);
    }
};

void save(const output_style& style) {
    require_success("presets save", lutc_save_presets_to_media());
    print_done(style);
}

struct clear_options {
    bool yes = false;

    void declare(const command& clear) { clear.add_yes(yes, "Go on"); }

    void run(const output_style& style) const {
        confirm(yes, "Delete every preset of the library?");
        require_success("presets clear", lutc_delete_all_presets());
        print_done(style);
    }
};

struct backup_options {
    std::string folder;
    bool yes = false;

    void declare(const command& backup) {
        backup.add_path("folder", folder, "A new or empty folder, or one with an earlier backup");
        backup.add_yes(yes, "Replace an earlier backup");
    }

    void run(const output_style& style) const { backup_presets(style, folder, yes); }
};

struct restore_options {
    std::string folder;
    bool yes = false;

    void declare(const command& restore) {
        restore.add_path("folder", folder, "The folder of the backup");
        restore.add_yes(yes, "Replace presets");
    }

    void run(const output_style& style) const { restore_presets(style, folder, yes); }
};

}  // namespace

void add_presets(const command& tool, const output_style& style) {
    const command group = tool.add_group("presets", "The preset library");
    group.add_command("list", "Show the presets").call([&style] { show_list(style); });
    group.add<upload_options>("upload", "Store a preset from a grade file; it replaces one of its name", style);
    group.add<download_options>("download", "Fetch a preset into a grade file, its tables beside it", style);
    group.add<delete_options>("delete", "Delete a preset", style);
    group.add<rename_options>("rename", "Rename a preset", style);
    group.add<move_options>("move", "Move a preset within the list", style);
    group.add<select_options>("select", "Select the preset that a channel shows", style);
    group.add<selected_options>("selected", "Show the preset that a channel shows", style);
    const command overriding = group.add_group("override", "The override preset");
    overriding.add_command("get", "Show it").call([&style] { show_override(style); });
    overriding.add<set_override_options>("set", "Set it", style);
    overriding.add_command("clear", "Set it to index 0, which is none").call([&style] { clear_override(style); });
    group.add<load_options>("load", "Replace the library by the one on the device's media", style);
    group.add_command("save", "Store the library on the device's media").call([&style] { save(style); });
    group.add<clear_options>("clear", "Delete every preset of the library", style);
    group.add<backup_options>("backup", "Write the whole library as files into a folder", style);
    group.add<restore_options>("restore", "Replace the library by a backup", style);
}

}  // namespace lutc_cli
