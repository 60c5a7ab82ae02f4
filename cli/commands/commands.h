// The commands, each with the arguments and the work of what stands in the file of its name. style outlives the parsing.
#ifndef LUTC_CLI_COMMANDS_COMMANDS_H
#define LUTC_CLI_COMMANDS_COMMANDS_H

#include "cli/command.h"

namespace lutc_cli {

void add_client(const command& tool, const output_style& style);
void add_model(const command& tool, const output_style& style);
void add_presets(const command& tool, const output_style& style);
void add_grade(const command& tool, const output_style& style);
void add_state(const command& tool, const output_style& style);
void add_video(const command& tool, const output_style& style);
void add_option(const command& tool, const output_style& style);
void add_dump(const command& tool, const output_style& style);
void add_lut(const command& tool, const output_style& style);

}  // namespace lutc_cli

#endif
