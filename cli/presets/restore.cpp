#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/presets/backup.h"
#include "cli/presets/grade_file.h"
#include "cli/presets/json_file.h"
#include "cli/presets/progress.h"

namespace lutc_cli {
namespace {

namespace fs = std::filesystem;

struct stored_preset {
    fs::path file;
    std::string name;
    int combination;
};

struct stored_library {
    std::vector<stored_preset> presets;
    std::map<int, std::vector<std::string>> combinations;  // by their number
};

// Reads every file of the backup once; the payloads are read again when their preset's turn comes.
stored_library read_backup(const fs::path& folder) {
    const nlohmann::ordered_json document = read_json_of_folder(folder / backup_index_name);
    const json_value index(folder / backup_index_name, document);
    index.allow_only({"formatVersion", "maxPresetsListSize", "gradeCombos", "presets"});
    const json_value version = index["formatVersion"];
    if (version.integer(INT32_MIN) != backup_format_version) {
        throw version.make_failure("must be " + std::to_string(backup_format_version));
    }
    stored_library library;
    if (index.has("gradeCombos")) {
        for (const json_value& fields : index.items("gradeCombos", "gradeCombos")) {
            std::vector<std::string>& strings = library.combinations[fields["gradeComboIndex"].integer(1)];
            for (const json_value& text : fields["gradeCombo"].items()) strings.push_back(text.text());
        }
    }
    std::set<std::string> names;
    for (const json_value& entry : index["presets"].items()) {
        const std::string name = entry.plain_name();
        const std::string place = (folder / name).string() + ": name: ";
        const grade_file grade = read_grade_file(folder / name, grade_use::backup);
        if (!grade.name) throw failure(exit_usage, place + "is missing");
        if (!names.insert(*grade.name).second) {
            throw failure(exit_usage, place + "'" + *grade.name + "' is another preset's name too");
        }
        library.presets.push_back({folder / name, *grade.name, grade.combination});
    }
    return library;
}

// A combination's number says nothing when the device's combination of that number is another one.
void check_fits(const stored_library& library, const lutc::preset_library& list) {
    if (library.presets.size() > static_cast<std::size_t>(std::max(list.maximum, 0))) {
        throw failure(exit_usage, "presets restore: the backup holds " + std::to_string(library.presets.size()) +
                                      " presets; the device has room for " + std::to_string(list.maximum));
    }
    const std::vector<std::vector<std::string>> here = lutc::model_info().combinations;
    for (const stored_preset& preset : library.presets) {
        if (preset.combination > static_cast<int>(here.size())) {
            throw failure(exit_usage, preset.file.string() +
                                          ": gradeComboIndex: this device has no grade combination " +
                                          std::to_string(preset.combination));
        }
    }
    for (const auto& [index, strings] : library.combinations) {
        const auto uses = [number = index](const stored_preset& preset) { return preset.combination == number; };
        if (std::none_of(library.presets.begin(), library.presets.end(), uses)) continue;
        if (here[static_cast<std::size_t>(index - 1)] != strings) {
            throw failure(exit_usage, "presets restore: grade combination " + std::to_string(index) +
                                          " is not the same on this device as in the backup");
        }
    }
}

class restore_run {
  public:
    restore_run(const stored_library& library, const lutc::preset_library& list)
        : library_(library), maximum_(list.maximum), steps_("restoring", library.presets.size()) {
        for (const stored_preset& preset : library.presets) wanted_.insert(preset.name);
        for (const lutc::preset_entry& preset : list.presets) present_.push_back(preset.name);
    }

    // Presets that are not in the backup go last, or when their room is needed.
    void run() try {
        for (const stored_preset& preset : library_.presets) {
            steps_.step([&] { upload(preset); });
        }
        while (delete_extra()) steps_.check();
        check_result();
    } catch (const std::exception& error) {
        const failure known = explain(error);
        throw failure(known.code(), "presets restore: " + std::string(known.what()) + "; " + steps_.describe() +
                                        " are restored, run it again to go on");
    }

  private:
    void upload(const stored_preset& preset) {
        const grade_file grade = read_grade_file(preset.file, grade_use::backup);
        const bool replaces = std::find(present_.begin(), present_.end(), preset.name) != present_.end();
        if (!replaces && present_.size() >= static_cast<std::size_t>(maximum_)) delete_extra();
        attempt([&] { return "preset '" + preset.name + "'"; },
                [&] {
                    lutc::send_preset(preset.name, grade.components,
                                      {static_cast<int>(steps_.done()) + 1, grade.combination});
                });
        if (!replaces) present_.push_back(preset.name);
    }

    // Deletes the last preset that is not in the backup; false when there is none.
    bool delete_extra() {
        const auto is_extra = [this](const std::string& name) { return wanted_.count(name) == 0; };
        const auto extra = std::find_if(present_.rbegin(), present_.rend(), is_extra);
        if (extra == present_.rend()) return false;
        attempt([&] { return "preset '" + *extra + "', which is not in the backup"; },
                [&] { lutc::delete_preset(*extra); });
        present_.erase(std::next(extra).base());
        return true;
    }

    void check_result() const {
        const lutc::preset_library list = lutc::preset_list();
        const auto is_same = [](const stored_preset& a, const lutc::preset_entry& b) { return a.name == b.name; };
        if (!std::equal(library_.presets.begin(), library_.presets.end(), list.presets.begin(), list.presets.end(),
                        is_same)) {
            throw failure(exit_refused, "the library that results is not the backup's");
        }
    }

    const stored_library& library_;
    std::set<std::string> wanted_;
    std::vector<std::string> present_;
    int maximum_;
    progress steps_;
};

}  // namespace

std::size_t restore_presets(const std::string& name, bool yes) {
    put_old_backup_back(name);
    const stored_library library = read_backup(name);
    const lutc::preset_library list = lutc::preset_list();
    check_fits(library, list);
    if (!list.presets.empty()) {
        confirm(yes, "Replace the library's " + std::to_string(list.presets.size()) + " presets by the backup's " +
                         std::to_string(library.presets.size()) + "?");
    }
    restore_run(library, list).run();
    return library.presets.size();
}

}  // namespace lutc_cli
