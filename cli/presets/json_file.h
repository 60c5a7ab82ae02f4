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
nlohmann::ordered_json read_json(const std::string& path, std::size_t limit = 16u << 20);

}  // namespace lutc_cli

#endif
