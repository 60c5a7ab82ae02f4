// Each adds the command or the group of its name to the tool.
#ifndef LUTC_CLI_COMMANDS_COMMANDS_H
#define LUTC_CLI_COMMANDS_COMMANDS_H

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include <lutc/lutc.hpp>
#include "cli/commands/command.h"

namespace lutc_cli {

void add_client(const command& tool);
void add_model(const command& tool);
void add_presets(const command& tool);
void add_grade(const command& tool);
void add_duplicate(const command& presets);
void add_upload(const command& presets);
void add_grade_preview(const command& grades);
void add_state(const command& tool);
void add_video(const command& tool);
void add_option(const command& tool);
void add_dump(const command& tool);
void add_lut(const command& tool);
void add_config(const command& tool);
void add_watch(const command& tool);

// The end of a video connection as users write it, such as "input:1".
std::string show_end(const std::optional<lutc::video_end>& type, int index);

// The preset that is selected, or the override, as in the results of commands.
nlohmann::ordered_json show_choice(const lutc::preset_choice& choice);

}  // namespace lutc_cli

#endif
