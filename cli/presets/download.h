// Presets out of the device.
#ifndef LUTC_CLI_PRESETS_DOWNLOAD_H
#define LUTC_CLI_PRESETS_DOWNLOAD_H

#include <string>
#include <vector>

#include "cli/presets/grade_file.h"

namespace lutc_cli {

// What the service gives; a broken answer is asked for again. Throws lutc::error.
lutc::stored_preset receive_preset(const std::string& name);

// The whole preset, its components told apart by its combination (docs/grade-files.md, "CDL or saturation"). Where that
// had to guess, notices gets a line that says so. Throws lutc::error, and failure when a file can't hold the preset.
grade_file download_preset(const lutc::preset_entry& preset, std::vector<std::string>& notices);

}  // namespace lutc_cli

#endif
