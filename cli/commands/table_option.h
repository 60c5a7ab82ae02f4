// The options of commands that pack colour files for a device on the way.
#ifndef LUTC_CLI_COMMANDS_TABLE_OPTION_H
#define LUTC_CLI_COMMANDS_TABLE_OPTION_H

#include "cli/commands/command.h"
#include "cli/presets/device_tables.h"
#include "cli/presets/grade_file.h"

namespace lutc_cli {

argument add_layout(const command& to, std::optional<std::string>& layout);  // --layout
argument add_format(const command& to, std::optional<std::string>& format);  // --format
void declare_tables(table_options& options, const command& to);              // both

// Packs the LUT files of grade files; asks the device what it is when a file needs that.
lut_packer make_packer(const table_options& options);

}  // namespace lutc_cli

#endif
