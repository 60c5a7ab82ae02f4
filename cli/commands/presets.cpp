// lutc presets ...
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/preset_backup.h"
#include "cli/preset_library.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

struct Options {
    PresetSelector preset;
    int channel = 0;
    int to = 0;
    int combination = 0;
    bool apply = false;
    bool yes = false;
    std::string new_name;
    std::string path;
};

using SharedOptions = std::shared_ptr<Options>;

void show_list(const Context& context) {
    const PresetList list = list_presets("presets list");
    ordered_json presets = ordered_json::array();
    for (std::size_t i = 0; i < list.presets.size(); ++i) {
        presets.push_back({{"presetIndex", i + 1},
                           {"presetName", list.presets[i].name},
                           {"gradeComboIndex", list.presets[i].grade_combo_index},
                           {"gradeCombo", list.presets[i].grade_combo}});
    }
    print_result(context, {{"maxPresetsListSize", list.maximum}, {"presets", presets}});
}

void upload(Options& options) {
    Grade grade = read_grade_file(options.path, GradeUse::preset);
    PresetSelector preset = options.preset;
    if (!preset.given()) {
        if (!grade.name) throw Failure(exit_usage, options.path + ": name: is missing; give --name or --index");
        preset.name = *grade.name;
        preset.named = true;
    }
    const int combination = options.combination > 0 ? options.combination : grade.grade_combo_index;
    const std::vector<gradeComponent> records = records_of(grade);
    require_success("presets upload: " + preset.shown(),
                    lutc_send_preset(preset.name_or_null(), preset.index, options.to, combination, options.apply,
                                     options.channel, records.data(), static_cast<int>(records.size())));
}

ListedPreset find_preset(const std::string& what, const PresetSelector& selector) {
    const PresetList list = list_presets(what);
    for (std::size_t i = 0; i < list.presets.size(); ++i) {
        const ListedPreset& preset = list.presets[i];
        if (selector.named ? preset.name == selector.name : i + 1 == static_cast<std::size_t>(selector.index)) {
            return preset;
        }
    }
    throw Failure(exit_refused, what + ": there is no such preset");
}

void download(const Context& context, const Options& options) {
    if (options.path == "-") throw Failure(exit_usage, "presets download: give a file: tables are written beside it");
    const std::string what = "presets download: " + options.preset.shown();
    std::vector<std::string> notices;
    const Grade grade = download_preset(what, find_preset(what, options.preset), notices);
    const std::string stem = std::filesystem::path(options.path).stem();
    const std::vector<std::string> files = grade_file_names(options.path, grade, stem);
    for (const std::string& file : files) {
        if (std::filesystem::exists(file)) confirm(options.yes, "Replace " + file + "?");
    }
    write_grade_file(options.path, grade, stem);
    for (const std::string& notice : notices) print_notice(notice);
    print_result(context, {{"presetName", *grade.name}, {"files", files}});
}

void show_selected(const Context& context, const std::string& what, const Options* channel_options) {
    char name[LUTC_PRESET_NAME_SIZE + 1] = {};
    int index = 0;
    require_success(what, channel_options != nullptr ? lutc_get_preset(channel_options->channel, name, &index)
                                                     : lutc_get_override_preset(name, &index));
    print_result(context, {{"presetName", name}, {"presetIndex", index}});
}

// A command on the preset that the options select: what it is called in messages, and what it does.
template <class Action>
void on_preset(CLI::App* command, const SharedOptions& options, Context& context, const std::string& what,
               Action action) {
    options->preset.add_to(*command);
    command->callback([options, &context, what, action] {
        options->preset.require();
        require_success(what + ": " + options->preset.shown(), action(*options));
        print_done(context);
    });
}

// An empty path would be the current folder, which nobody meant.
void add_path(CLI::App& command, const std::string& name, std::string& path, const std::string& description) {
    const auto fault = [](const std::string& text) { return text.empty() ? "must not be empty" : std::string(); };
    command.add_option(name, path, description)->required()->check(fault);
}

void add_transfer(CLI::App& group, Context& context) {
    auto options = std::make_shared<Options>();
    CLI::App* up = group.add_subcommand("upload", "Store a preset from a grade file; it replaces one of its name");
    add_path(*up, "file", options->path, "The grade file; - for standard input");
    options->preset.add_to(*up);
    add_integer(*up, "--to", options->to, 1, "Its place in the list, from 1");
    add_integer(*up, "--combination", options->combination, 1, "The grade combination, in place of the file's");
    CLI::Option* apply = up->add_flag("--apply", options->apply, "Also apply it at once");
    add_channel(*up, options->channel)->needs(apply);
    up->callback([options, &context] {
        upload(*options);
        print_done(context);
    });

    options = std::make_shared<Options>();
    CLI::App* down = group.add_subcommand("download", "Fetch a preset into a grade file, its tables beside it");
    add_path(*down, "file", options->path, "The grade file to write");
    options->preset.add_to(*down);
    add_yes(*down, options->yes, "Replace files");
    down->callback([options, &context] {
        options->preset.require();
        download(context, *options);
    });
}

void add_edits(CLI::App& group, Context& context) {
    auto options = std::make_shared<Options>();
    CLI::App* remove = group.add_subcommand("delete", "Delete a preset");
    add_yes(*remove, options->yes, "Delete");
    on_preset(remove, options, context, "presets delete", [](const Options& chosen) {
        confirm(chosen.yes, "Delete " + chosen.preset.shown() + "?");
        return lutc_delete_preset(chosen.preset.name_or_null(), chosen.preset.index);
    });

    options = std::make_shared<Options>();
    CLI::App* rename = group.add_subcommand("rename", "Rename a preset");
    rename->add_option("--new-name", options->new_name, "Its new name (at most 32 bytes)")->required();
    on_preset(rename, options, context, "presets rename", [](const Options& chosen) {
        check_preset_name(chosen.new_name);
        return lutc_rename_preset(chosen.preset.name_or_null(), chosen.preset.index, chosen.new_name.c_str());
    });

    options = std::make_shared<Options>();
    CLI::App* move = group.add_subcommand("move", "Move a preset within the list");
    add_integer(*move, "--to", options->to, 1, "Its new place in the list, from 1")->required();
    on_preset(move, options, context, "presets move", [](const Options& chosen) {
        return lutc_move_preset(chosen.preset.name_or_null(), chosen.preset.index, chosen.to);
    });
}

void add_selection(CLI::App& group, Context& context) {
    auto options = std::make_shared<Options>();
    CLI::App* select = group.add_subcommand("select", "Select the preset that a channel shows");
    add_channel(*select, options->channel);
    on_preset(select, options, context, "presets select", [](const Options& chosen) {
        return lutc_set_preset(chosen.channel, chosen.preset.name_or_null(), chosen.preset.index);
    });

    options = std::make_shared<Options>();
    CLI::App* selected = group.add_subcommand("selected", "Show the preset that a channel shows");
    add_channel(*selected, options->channel);
    selected->callback([options, &context] { show_selected(context, "presets selected", options.get()); });

    CLI::App* override_group = group.add_subcommand("override", "The override preset");
    override_group->require_subcommand(1);
    override_group->add_subcommand("get", "Show it")->callback([&context] {
        show_selected(context, "presets override get", nullptr);
    });
    options = std::make_shared<Options>();
    on_preset(override_group->add_subcommand("set", "Set it"), options, context, "presets override set",
              [](const Options& chosen) {
                  return lutc_set_override_preset(chosen.preset.name_or_null(), chosen.preset.index);
              });
    override_group->add_subcommand("clear", "Set it to index 0, which is none")->callback([&context] {
        require_success("presets override clear", lutc_set_override_preset(nullptr, 0));
        print_done(context);
    });
}

void add_library(CLI::App& group, Context& context) {
    struct Command {
        const char* name;
        const char* description;
        int (*call)();
        const char* question;  // or null
    };
    static const Command commands[] = {
        {"load", "Replace the library by the one on the device's media", lutc_load_presets_from_media,
         "Replace the library by the one on the media?"},
        {"save", "Store the library on the device's media", lutc_save_presets_to_media, nullptr},
        {"clear", "Delete every preset of the library", lutc_delete_all_presets, "Delete every preset of the library?"},
    };
    for (const Command& command : commands) {
        auto options = std::make_shared<Options>();
        CLI::App* added = group.add_subcommand(command.name, command.description);
        if (command.question != nullptr) add_yes(*added, options->yes, "Go on");
        added->callback([options, &context, &command] {
            if (command.question != nullptr) confirm(options->yes, command.question);
            require_success(std::string("presets ") + command.name, command.call());
            print_done(context);
        });
    }
}

void add_backup(CLI::App& group, Context& context) {
    auto options = std::make_shared<Options>();
    CLI::App* backup = group.add_subcommand("backup", "Write the whole library as files into a folder");
    add_path(*backup, "folder", options->path, "A new or empty folder, or one with an earlier backup");
    add_yes(*backup, options->yes, "Replace an earlier backup");
    backup->callback([options, &context] { backup_presets(context, options->path, options->yes); });

    options = std::make_shared<Options>();
    CLI::App* restore = group.add_subcommand("restore", "Replace the library by a backup");
    add_path(*restore, "folder", options->path, "The folder of the backup");
    add_yes(*restore, options->yes, "Replace presets");
    restore->callback([options, &context] { restore_presets(context, options->path, options->yes); });
}

}  // namespace

void add_preset_commands(CLI::App& app, Context& context) {
    CLI::App* group = app.add_subcommand("presets", "The preset library");
    group->require_subcommand(1);
    group->add_subcommand("list", "Show the presets")->callback([&context] { show_list(context); });
    add_transfer(*group, context);
    add_edits(*group, context);
    add_selection(*group, context);
    add_library(*group, context);
    add_backup(*group, context);
}

}  // namespace lutc_cli
