#include "cli/preset_backup.h"

#include <fcntl.h>
#include <regex.h>
#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <new>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/files.h"
#include "cli/output.h"
#include "cli/preset_library.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

const char* const index_name = "library.json";
constexpr int format_version = 1;

volatile std::sig_atomic_t interrupted = 0;

void note_interrupt(int) { interrupted = 1; }

// From here on SIGINT and SIGTERM let the current preset be finished; a second one ends the program.
void catch_interrupts() {
    struct sigaction action = {};
    action.sa_handler = note_interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

// A line on the terminal that is written over and over; nothing elsewhere.
class Progress {
  public:
    Progress(const char* verb, std::size_t total) : verb_(verb), total_(total), shown_(isatty(STDERR_FILENO) != 0) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (shown_ && begun_) std::fputc('\n', stderr);
    }
    void show(std::size_t position) {
        begun_ = true;
        if (shown_) std::fprintf(stderr, "\r%s preset %zu of %zu", verb_, position, total_);
    }

  private:
    const char* verb_;
    std::size_t total_;
    bool shown_;
    bool begun_ = false;
};

std::string count_of(std::size_t done, std::size_t total) {
    return std::to_string(done) + " of " + std::to_string(total) + " presets";
}

// ---- Folders

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

// Throws Failure when the folder holds anything that is not ours to replace.
void check_replaceable(const fs::path& folder) {
    if (!fs::exists(fs::symlink_status(folder))) return;
    if (!fs::is_directory(fs::symlink_status(folder))) throw Failure(exit_refused, folder.string() + ": is no folder");
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (!belongs_to_backup(name) || entry.is_directory()) {
            throw Failure(exit_refused, folder.string() + ": holds '" + name +
                                            "', which is no part of a backup; nothing was written");
        }
    }
}

// Puts the finished folder in the place of the other at once; the files that were there are removed afterwards.
void put_in_place(const fs::path& finished, const fs::path& folder) {
    const bool replaces = fs::exists(folder) && !fs::is_empty(folder);
    const int moved = replaces ? renameat2(AT_FDCWD, finished.c_str(), AT_FDCWD, folder.c_str(), RENAME_EXCHANGE)
                               : rename(finished.c_str(), folder.c_str());
    if (moved != 0) throw Failure(exit_refused, folder.string() + ": can't be put in place: " + std::strerror(errno));
    if (replaces) fs::remove_all(finished);
    const int parent = open(folder.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0) return;
    fsync(parent);
    close(parent);
}

// ---- Backup

// "001-Film_Print", from the place in the list and what of the name every file system takes.
std::string stem_of(std::size_t position, const std::string& name) {
    char number[24];
    std::snprintf(number, sizeof number, "%03zu-", position);
    std::string stem = number;
    for (const char c : name) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
        stem += plain ? c : '_';
    }
    return stem;
}

std::string index_text(const PresetList& list) {
    ordered_json combos = ordered_json::array();
    std::set<int> seen;
    for (const ListedPreset& preset : list.presets) {
        if (preset.grade_combo_index < 1 || !seen.insert(preset.grade_combo_index).second) continue;
        combos.push_back({{"gradeComboIndex", preset.grade_combo_index}, {"gradeCombo", preset.grade_combo}});
    }
    ordered_json files = ordered_json::array();
    for (std::size_t i = 0; i < list.presets.size(); ++i) {
        files.push_back(stem_of(i + 1, list.presets[i].name) + ".json");
    }
    return ordered_json({{"formatVersion", format_version},
                         {"maxPresetsListSize", list.maximum},
                         {"gradeCombos", combos},
                         {"presets", files}})
               .dump(2) +
           "\n";
}

void check_names(const PresetList& list) {
    std::set<std::string> names;
    for (const ListedPreset& preset : list.presets) {
        if (!names.insert(preset.name).second) {
            throw Failure(exit_refused,
                          "presets backup: two presets are named '" + preset.name + "'; rename one first");
        }
    }
}

bool same_presets(const PresetList& one, const PresetList& other) {
    const auto same = [](const ListedPreset& a, const ListedPreset& b) {
        return a.name == b.name && a.grade_combo_index == b.grade_combo_index && a.grade_combo == b.grade_combo;
    };
    return std::equal(one.presets.begin(), one.presets.end(), other.presets.begin(), other.presets.end(), same);
}

// Returns what there is to note.
std::vector<std::string> write_backup(const fs::path& folder, const PresetList& list, std::size_t& done) {
    std::vector<std::string> notices;
    Progress progress("backing up", list.presets.size());
    for (const ListedPreset& preset : list.presets) {
        if (interrupted != 0) throw Failure(exit_interrupted, "interrupted");
        progress.show(done + 1);
        const std::string stem = stem_of(done + 1, preset.name);
        write_grade_file(folder / (stem + ".json"), download_preset("preset '" + preset.name + "'", preset, notices),
                         stem);
        ++done;
    }
    if (!same_presets(list, list_presets("presets backup"))) {
        throw Failure(exit_refused, "the library was changed meanwhile");
    }
    const std::string index = index_text(list);
    write_file(folder / index_name, index.data(), index.size());
    return notices;
}

// ---- Restore

struct BackedUpPreset {
    fs::path file;
    std::string name;
    int grade_combo_index;
};

struct Backup {
    std::vector<BackedUpPreset> presets;
    ordered_json combos;
};

Failure broken(const fs::path& file, const std::string& what) {
    return Failure(exit_usage, file.string() + ": " + what);
}

ordered_json read_index(const fs::path& file) {
    ordered_json index = read_json(file);
    if (!index.is_object()) throw broken(file, "must be an object");
    for (const auto& member : index.items()) {
        static const std::set<std::string> known = {"formatVersion", "maxPresetsListSize", "gradeCombos", "presets"};
        if (known.count(member.key()) == 0) throw broken(file, member.key() + ": is not a known field here");
    }
    if (index.value("formatVersion", ordered_json()) != format_version) {
        throw broken(file, "formatVersion: must be " + std::to_string(format_version));
    }
    const ordered_json presets = index.value("presets", ordered_json());
    const auto is_text = [](const ordered_json& value) { return value.is_string(); };
    if (!presets.is_array() || !std::all_of(presets.begin(), presets.end(), is_text)) {
        throw broken(file, "presets: must be a list of file names");
    }
    const ordered_json combos = index.value("gradeCombos", ordered_json::array());
    const auto is_combo = [](const ordered_json& value) {
        return value.is_object() && value.value("gradeComboIndex", ordered_json()).is_number_integer() &&
               value.value("gradeCombo", ordered_json()).is_array();
    };
    if (!combos.is_array() || !std::all_of(combos.begin(), combos.end(), is_combo)) {
        throw broken(file, "gradeCombos: must be a list of objects with gradeComboIndex and gradeCombo");
    }
    return index;
}

// Reads every file of the backup once; the payloads are read again when their preset's turn comes.
Backup read_backup(const fs::path& folder) {
    const fs::path file = folder / index_name;
    const ordered_json index = read_index(file);
    Backup backup{{}, index.value("gradeCombos", ordered_json::array())};
    std::set<std::string> names;
    for (const ordered_json& entry : index.at("presets")) {
        const auto name = entry.get<std::string>();
        if (name.empty() || name == ".." || name.find('\0') != std::string::npos || fs::path(name).filename() != name) {
            throw broken(file, "presets: '" + name + "' must be a file of the same folder");
        }
        const Grade grade = read_grade_file(folder / name, GradeUse::backup);
        if (!grade.name) throw broken(folder / name, "name: is missing");
        if (!names.insert(*grade.name).second) {
            throw broken(folder / name, "name: '" + *grade.name + "' is another preset's name too");
        }
        backup.presets.push_back({folder / name, *grade.name, grade.grade_combo_index});
    }
    return backup;
}

// A combination's number says nothing when the device's combination of that number is another one.
void check_fits(const Backup& backup, const PresetList& list) {
    if (backup.presets.size() > static_cast<std::size_t>(std::max(list.maximum, 0))) {
        throw Failure(exit_usage, "presets restore: the backup holds " + std::to_string(backup.presets.size()) +
                                      " presets; the device has room for " + std::to_string(list.maximum));
    }
    const std::vector<std::vector<std::string>> here = list_combinations("presets restore");
    for (const BackedUpPreset& preset : backup.presets) {
        if (preset.grade_combo_index > static_cast<int>(here.size())) {
            throw broken(preset.file, "gradeComboIndex: this device has no grade combination " +
                                          std::to_string(preset.grade_combo_index));
        }
    }
    for (const ordered_json& combo : backup.combos) {
        const auto index = combo.at("gradeComboIndex").get<std::int64_t>();
        const auto uses = [index](const BackedUpPreset& preset) { return preset.grade_combo_index == index; };
        if (std::none_of(backup.presets.begin(), backup.presets.end(), uses)) continue;
        if (index < 1 || ordered_json(here[static_cast<std::size_t>(index - 1)]) != combo.at("gradeCombo")) {
            throw Failure(exit_usage, "presets restore: grade combination " + std::to_string(index) +
                                          " is not the same on this device as in the backup");
        }
    }
}

class Restore {
  public:
    Restore(const Backup& backup, const PresetList& list) : backup_(backup), maximum_(list.maximum) {
        for (const BackedUpPreset& preset : backup.presets) wanted_.insert(preset.name);
        for (const ListedPreset& preset : list.presets) present_.push_back(preset.name);
    }

    // What the device holds beside the backup goes last, or when its room is needed.
    void run() {
        Progress progress("restoring", backup_.presets.size());
        for (const BackedUpPreset& preset : backup_.presets) {
            if (interrupted != 0) throw Failure(exit_interrupted, "interrupted");
            progress.show(done_ + 1);
            upload(preset);
            ++done_;
        }
        while (delete_one_extra()) {
            if (interrupted != 0) throw Failure(exit_interrupted, "interrupted");
        }
        check_result();
    }

    std::size_t done() const { return done_; }

  private:
    void upload(const BackedUpPreset& preset) {
        Grade grade = read_grade_file(preset.file, GradeUse::backup);
        const bool replaces = std::find(present_.begin(), present_.end(), preset.name) != present_.end();
        if (!replaces && present_.size() >= static_cast<std::size_t>(maximum_)) delete_one_extra();
        const std::vector<gradeComponent> records = records_of(grade);
        require_success("preset '" + preset.name + "'",
                        lutc_send_preset(preset.name.c_str(), 0, static_cast<int>(done_) + 1, grade.grade_combo_index,
                                         false, 0, records.data(), static_cast<int>(records.size())));
        if (!replaces) present_.push_back(preset.name);
    }

    bool delete_one_extra() {
        const auto is_extra = [this](const std::string& name) { return wanted_.count(name) == 0; };
        const auto extra = std::find_if(present_.rbegin(), present_.rend(), is_extra);
        if (extra == present_.rend()) return false;
        require_success("preset '" + *extra + "', which is not in the backup", lutc_delete_preset(extra->c_str(), 0));
        present_.erase(std::next(extra).base());
        return true;
    }

    void check_result() const {
        const PresetList list = list_presets("presets restore");
        const auto same = [](const BackedUpPreset& a, const ListedPreset& b) { return a.name == b.name; };
        if (!std::equal(backup_.presets.begin(), backup_.presets.end(), list.presets.begin(), list.presets.end(),
                        same)) {
            throw Failure(exit_refused, "the library that results is not the backup's");
        }
    }

    const Backup& backup_;
    std::set<std::string> wanted_;
    std::vector<std::string> present_;
    int maximum_;
    std::size_t done_ = 0;
};

}  // namespace

void backup_presets(const Context& context, const std::string& name, bool yes) {
    fs::path folder = fs::absolute(name).lexically_normal();
    if (folder.filename().empty()) folder = folder.parent_path();
    const fs::path unfinished = folder.string() + ".part";
    if (folder == fs::current_path()) {
        throw Failure(exit_usage, name + ": is the current folder, which can't be replaced; give another");
    }
    check_replaceable(folder);
    check_replaceable(unfinished);
    if (fs::exists(folder) && !fs::is_empty(folder)) confirm(yes, "Replace the backup in " + name + "?");
    const PresetList list = list_presets("presets backup");
    check_names(list);
    std::size_t done = 0;
    std::vector<std::string> notices;
    try {
        catch_interrupts();
        fs::remove_all(unfinished);
        fs::create_directory(unfinished);
        notices = write_backup(unfinished, list, done);
        put_in_place(unfinished, folder);
    } catch (const std::exception& error) {
        std::error_code ignored;
        fs::remove_all(unfinished, ignored);
        const auto* failure = dynamic_cast<const Failure*>(&error);
        throw Failure(failure != nullptr ? failure->code() : exit_refused,
                      "presets backup: " + std::string(error.what()) + "; " + count_of(done, list.presets.size()) +
                          " had been read, " + name + " is as it was");
    }
    for (const std::string& notice : notices) print_notice(notice);
    print_result(context, {{"folder", name}, {"presets", list.presets.size()}});
}

void restore_presets(const Context& context, const std::string& name, bool yes) {
    const Backup backup = read_backup(name);
    const PresetList list = list_presets("presets restore");
    check_fits(backup, list);
    if (!list.presets.empty()) {
        confirm(yes, "Replace the library's " + std::to_string(list.presets.size()) + " presets by the backup's " +
                         std::to_string(backup.presets.size()) + "?");
    }
    Restore restore(backup, list);
    try {
        catch_interrupts();
        restore.run();
    } catch (const Failure& failure) {
        throw Failure(failure.code(), "presets restore: " + std::string(failure.what()) + "; " +
                                          count_of(restore.done(), backup.presets.size()) +
                                          " are restored, run it again to go on");
    }
    print_result(context, {{"folder", name}, {"presets", backup.presets.size()}});
}

}  // namespace lutc_cli
