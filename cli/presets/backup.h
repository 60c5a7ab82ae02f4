// The whole preset library as a folder of files, and back (docs/grade-files.md, "Backups").
#ifndef LUTC_CLI_PRESETS_BACKUP_H
#define LUTC_CLI_PRESETS_BACKUP_H

#include <cstddef>
#include <string>

namespace lutc_cli {

constexpr const char* backup_index_name = "library.json";
constexpr int backup_format_version = 1;

// A backup that a crash left as FOLDER.old, with the one that was to replace it still FOLDER.part, is FOLDER again.
void put_old_backup_back(const std::string& folder);

// Writes the library into folder: whole, or not at all. A folder that holds a backup is replaced; yes as for confirm.
// Returns the number of presets.
std::size_t backup_presets(const std::string& folder, bool yes);

// Makes the device's library the one of the backup. Checks the whole backup before it changes anything. Returns
// the number of presets.
std::size_t restore_presets(const std::string& folder, bool yes);

}  // namespace lutc_cli

#endif
