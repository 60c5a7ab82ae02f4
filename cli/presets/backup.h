// The whole preset library as a folder of files, and back.
#ifndef LUTC_CLI_PRESET_BACKUP_H
#define LUTC_CLI_PRESET_BACKUP_H

#include <string>

namespace lutc_cli {

struct Context;

// Writes the library into folder: whole, or not at all. A folder that holds a backup is replaced; yes as for confirm.
void backup_presets(const Context& context, const std::string& folder, bool yes);

// Makes the device's library the one of the backup. Checks the whole backup before it changes anything.
void restore_presets(const Context& context, const std::string& folder, bool yes);

}  // namespace lutc_cli

#endif
