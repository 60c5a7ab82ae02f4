#include "cli/presets/json_file.h"

#include <nlohmann/json.hpp>

#include "cli/console/files.h"

namespace lutc_cli {

nlohmann::ordered_json read_json(const std::string& path, std::size_t limit) {
    return lutc_terminal::parse_json(read_file(path, limit), path);
}

nlohmann::ordered_json read_json_of_folder(const std::string& path) {
    return lutc_terminal::parse_json(read_file_of_folder(path, json_limit), path);
}

}  // namespace lutc_cli
