#include "cli/presets/backup.h"

#include <fcntl.h>
#include <regex.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/console/files.h"
#include "cli/console/output.h"
#include "cli/presets/download.h"
#include "cli/presets/progress.h"

namespace lutc_cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

// The files that a backup consists of, whole or begun.
bool belongs_to_backup(const std::string& name) {
    static const regex_t pattern = [] {
        constexpr const char* text = R"(^(library\.json|[0-9]{3,}-[A-Za-z0-9._-]*\.(json|bin))(\.part[0-9]+)?$)";
        regex_t compiled;
        if (regcomp(&compiled, text, REG_EXTENDED | REG_NOSUB) != 0) throw std::bad_alloc();
        return compiled;
    }();
    return regexec(&pattern, name.c_str(), 0, nullptr, 0) == 0;
}

// Throws failure when the folder holds anything that is not ours to replace.
void check_replaceable(const fs::path& folder) {
    if (!fs::exists(fs::symlink_status(folder))) return;
    if (!fs::is_directory(fs::symlink_status(folder))) throw failure(exit_refused, folder.string() + ": is no folder");
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (!belongs_to_backup(name) || entry.is_directory()) {
            throw failure(exit_refused, folder.string() + ": holds '" + name +
                                            "', which is no part of a backup; nothing was written");
        }
    }
}

void move_folder(const fs::path& from, const fs::path& to) {
    if (rename(from.c_str(), to.c_str()) == 0) return;
    throw failure(exit_refused, to.string() + ": can't be put in place: " + std::strerror(errno));
}

// Where the old backup goes when its name can't be exchanged with that of the new one.
fs::path set_aside(const fs::path& folder) { return folder.string() + ".old"; }
fs::path part_of(const fs::path& folder) { return folder.string() + ".part"; }

// Puts the finished folder in the place of the other, and returns where the other is then. At once, but on file systems
// that exchange no names (NFS, CIFS, exFAT).
fs::path exchange(const fs::path& finished, const fs::path& folder) {
    if (renameat2(AT_FDCWD, finished.c_str(), AT_FDCWD, folder.c_str(), RENAME_EXCHANGE) == 0) return finished;
    if (errno != EINVAL && errno != ENOSYS) {
        throw failure(exit_refused, folder.string() + ": can't be put in place: " + std::strerror(errno));
    }
    // Left by a backup that ended ahead of removing it, or somebody's own: nobody can tell.
    if (fs::exists(set_aside(folder)))
        throw failure(exit_refused, set_aside(folder).string() + ": is in the way; remove it or give it another name");
    move_folder(folder, set_aside(folder));
    try {
        move_folder(finished, folder);
    } catch (const failure&) {
        move_folder(set_aside(folder), folder);
        throw;
    }
    return set_aside(folder);
}

// The files that were there are removed afterwards.
void put_in_place(const fs::path& finished, const fs::path& folder) {
    if (fs::exists(folder) && !fs::is_empty(folder)) {
        std::error_code ignored;  // the new one is in place
        fs::remove_all(exchange(finished, folder), ignored);
    } else {
        move_folder(finished, folder);
    }
    const int parent = open(folder.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0) return;
    fsync(parent);
    close(parent);
}

// "001-Film_Print", from the place in the list and those letters of the name that every file system takes.
std::string name_files(std::size_t position, const std::string& name) {
    const std::string number = std::to_string(position);
    std::string stem = std::string(3 - std::min(number.size(), std::size_t{3}), '0') + number + "-";
    for (const char c : name) {
        const bool is_plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
        stem += is_plain ? c : '_';
    }
    return stem;
}

std::string write_index(const lutc::preset_library& list) {
    ordered_json combinations = ordered_json::array();
    ordered_json files = ordered_json::array();
    std::set<int> seen;
    for (const lutc::preset_entry& preset : list.presets) {
        files.push_back(name_files(files.size() + 1, preset.name) + ".json");
        if (preset.combination < 1 || !seen.insert(preset.combination).second) continue;
        combinations.push_back({{"gradeComboIndex", preset.combination}, {"gradeCombo", preset.components}});
    }
    const ordered_json index = {{"formatVersion", backup_format_version},
                                {"maxPresetsListSize", list.maximum},
                                {"gradeCombos", combinations},
                                {"presets", files}};
    return index.dump(2) + "\n";
}

void check_names(const lutc::preset_library& list) {
    std::set<std::string> names;
    for (const lutc::preset_entry& preset : list.presets) {
        if (names.insert(preset.name).second) continue;
        throw failure(exit_refused, "presets backup: two presets are named '" + preset.name + "'; rename one first");
    }
}

// Writes the list's presets into a folder. Returns what there is to note.
std::vector<std::string> write_presets(const fs::path& folder, const lutc::preset_library& list, progress& steps) {
    std::vector<std::string> notices;
    fs::remove_all(folder);
    fs::create_directory(folder);
    for (const lutc::preset_entry& preset : list.presets) {
        steps.step([&] {
            const std::string stem = name_files(steps.done() + 1, preset.name);
            const grade_file grade = attempt([&] { return "preset '" + preset.name + "'"; },
                                             [&] { return download_preset(preset, notices); });
            write_grade_file(folder / (stem + ".json"), grade, stem);
        });
    }
    if (lutc::preset_list().presets != list.presets) {
        throw failure(exit_refused, "the library was changed meanwhile");
    }
    write_file(folder / backup_index_name, write_index(list));
    return notices;
}

// The same at once, in the place of another backup.
std::vector<std::string> replace_backup(const fs::path& folder, const std::string& name,
                                        const lutc::preset_library& list) {
    const fs::path part = part_of(folder);
    progress steps("backing up", list.presets.size());
    try {
        const std::vector<std::string> notices = write_presets(part, list, steps);
        put_in_place(part, folder);
        return notices;
    } catch (const std::exception& error) {
        std::error_code ignored;
        fs::remove_all(part, ignored);
        const failure known = explain(error);
        throw failure(known.code(), "presets backup: " + std::string(known.what()) + "; " + steps.describe() +
                                        " had been read, " + name + " is as it was");
    }
}

fs::path find_folder(const std::string& name) {
    const fs::path folder = fs::absolute(name).lexically_normal();
    return folder.filename().empty() ? folder.parent_path() : folder;
}

}  // namespace

void put_old_backup_back(const std::string& name) {
    const fs::path folder = find_folder(name);
    const auto has_backup = [](const fs::path& place) { return fs::exists(place / backup_index_name); };
    if (fs::exists(fs::symlink_status(folder)) || !has_backup(set_aside(folder)) || !has_backup(part_of(folder)))
        return;
    move_folder(set_aside(folder), folder);
}

std::size_t backup_presets(const std::string& name, bool yes) {
    const fs::path folder = find_folder(name);
    put_old_backup_back(name);
    if (folder == fs::current_path()) {
        throw failure(exit_usage, name + ": is the current folder, which can't be replaced; give another");
    }
    check_replaceable(folder);
    check_replaceable(part_of(folder));
    if (fs::exists(folder) && !fs::is_empty(folder)) confirm(yes, "Replace the backup in " + name + "?");
    const lutc::preset_library list = lutc::preset_list();
    check_names(list);
    for (const std::string& notice : replace_backup(folder, name, list)) print_notice(notice);
    return list.presets.size();
}

}  // namespace lutc_cli
