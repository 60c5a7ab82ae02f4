// The device's presets as the tool handles them.
#ifndef LUTC_CLI_PRESET_LIBRARY_H
#define LUTC_CLI_PRESET_LIBRARY_H

#include <string>
#include <vector>

#include "cli/grade_file.h"

namespace lutc_cli {

struct ListedPreset {
    std::string name;
    int grade_combo_index;
    std::vector<std::string> grade_combo;
};

struct PresetList {
    std::vector<ListedPreset> presets;
    int maximum;
};

// Each throws Failure, with what was being done, when the service can't be reached or refuses.
PresetList list_presets(const std::string& what);

// The strings of the model's grade combinations, in their order.
std::vector<std::vector<std::string>> list_combinations(const std::string& what);

// The whole preset. An answer doesn't say whether a component with CDL values or bytes is a CDL or a saturation: the
// preset's combination decides (docs/grade-files.md). Where it can't, notices gets a line that says so.
Grade download_preset(const std::string& what, const ListedPreset& preset, std::vector<std::string>& notices);

}  // namespace lutc_cli

#endif
