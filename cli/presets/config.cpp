#include "cli/presets/config.h"

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/console/files.h"
#include "cli/presets/json_file.h"
#include "colour/layout.h"

namespace lutc_cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr std::size_t config_limit = 64 << 10;

// The value of a variable that names a folder: absolute, or it doesn't count.
std::optional<fs::path> folder_of(const char* variable) {
    const char* const value = std::getenv(variable);
    if (value == nullptr || !fs::path(value).is_absolute()) return {};
    return value;
}

}  // namespace

std::string find_config() {
    const std::optional<fs::path> home = folder_of("HOME");
    const std::optional<fs::path> folder = folder_of("XDG_CONFIG_HOME");
    if (!folder && !home) throw failure(exit_refused, "no config: neither XDG_CONFIG_HOME nor HOME names a folder");
    return (folder ? *folder : *home / ".config") / "lutc" / "config.json";
}

config read_config() {
    config content;
    if (!folder_of("XDG_CONFIG_HOME") && !folder_of("HOME")) return content;
    const std::string path = find_config();
    std::error_code failed;
    if (fs::status(path, failed).type() == fs::file_type::not_found) return content;
    const ordered_json document = read_json(path, config_limit);
    const json_value fields(path, document);
    fields.allow_only({"layout", "format"});
    if (fields.has("layout")) {
        content.layout = fields["layout"].text();
        check_layout(path + ": layout", *content.layout);
    }
    if (fields.has("format")) content.format = fields["format"].text();
    return content;
}

void write_config(const config& content) {
    const std::string path = find_config();
    ordered_json document = ordered_json::object();
    if (content.layout) document["layout"] = *content.layout;
    if (content.format) document["format"] = *content.format;
    std::error_code failed;
    fs::create_directories(fs::path(path).parent_path(), failed);
    if (failed) throw failure(exit_refused, path + ": its folder can't be made: " + failed.message());
    write_file(path, document.dump(2) + "\n");
}

void check_layout(const std::string& place, const std::string& name) {
    if (colour::find_layout(name)) return;
    throw failure(exit_usage, place + ": '" + name +
                                  "' is no layout such as uint16-le-red-fastest (see lutc config layout --help)");
}

}  // namespace lutc_cli
