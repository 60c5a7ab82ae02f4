// JSON files, read strictly: failures name the file, the place in it and the field.
#ifndef LUTC_CLI_PRESETS_JSON_FILE_H
#define LUTC_CLI_PRESETS_JSON_FILE_H

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "cli/console/output.h"
#include "terminal/json_value.h"

namespace lutc_cli {

using lutc_terminal::json_value;

// The JSON of a file, or of standard input for "-". Throws failure (exit_refused) when it can't be read, content_error
// when it is none.
constexpr std::size_t json_limit = 16u << 20;
nlohmann::ordered_json read_json(const std::string& path, std::size_t limit = json_limit);

// The same for a file of a folder that came from elsewhere (read_file_of_folder).
nlohmann::ordered_json read_json_of_folder(const std::string& path);

}  // namespace lutc_cli

#endif
