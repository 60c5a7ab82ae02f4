// The device's presets as the tool handles them.
#ifndef LUTC_CLI_PRESETS_LIBRARY_H
#define LUTC_CLI_PRESETS_LIBRARY_H

#include <string>
#include <vector>

#include "cli/presets/grade_file.h"

namespace lutc_cli {

struct listed_preset {
    std::string name;
    int combination_index;
    std::vector<std::string> combination;

    bool operator==(const listed_preset& other) const {
        return name == other.name && combination_index == other.combination_index && combination == other.combination;
    }
};

struct preset_list {
    std::vector<listed_preset> presets;
    int maximum = 0;
};

// The strings of a combination, which it no longer owns then.
std::vector<std::string> take_strings(gradeCombo& combination);

// Each throws failure, with the task that the call is for, when the service can't be reached or refuses.
preset_list list_presets(const std::string& task);

// The strings of the model's grade combinations, in their order.
std::vector<std::vector<std::string>> list_combinations(const std::string& task);

// The whole preset. An answer doesn't say whether a component with CDL values or bytes is a CDL or a saturation: the
// preset's combination decides (docs/grade-files.md). Where it can't, notices gets a line that says so.
grade_file download_preset(const std::string& task, const listed_preset& preset, std::vector<std::string>& notices);

}  // namespace lutc_cli

#endif
