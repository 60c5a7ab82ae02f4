// Presets that are addressed by name or by index.
#ifndef LUTC_CLI_COMMANDS_PRESET_OPTION_H
#define LUTC_CLI_COMMANDS_PRESET_OPTION_H

#include <lutc/lutc.hpp>
#include "cli/commands/command.h"

namespace lutc_cli {

// Throws failure when the library has no such preset.
lutc::preset_entry find_preset(const lutc::preset_library& library, const lutc::preset_ref& wanted);

// Gives a preset that was given by its index its name. An index says another preset after a change; so what changes the
// list is done by name, and can be tried again when its answer was lost.
void resolve(preset_selector& preset);

}  // namespace lutc_cli

#endif
