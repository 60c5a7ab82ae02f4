// What is known of the device that one works with: a small JSON file of the user's.
#ifndef LUTC_CLI_PRESETS_CONFIG_H
#define LUTC_CLI_PRESETS_CONFIG_H

#include <optional>
#include <string>

namespace lutc_cli {

struct config {
    std::optional<std::string> layout;  // of its tables, a name of colour/layout.h
    std::optional<std::string> format;  // the service's name for it, where that isn't the layout's
};

// $XDG_CONFIG_HOME/lutc/config.json, or the same under ~/.config. Throws failure when there is no such folder.
std::string find_config();

// Nothing where no file is. Throws failure: exit_refused when it can't be read, exit_usage when it is wrong.
config read_config();

// Makes its folder, too. Throws failure, exit_refused.
void write_config(const config& content);

// A layout's name. Throws failure, exit_usage, that begins with place for another.
void check_layout(const std::string& place, const std::string& name);

}  // namespace lutc_cli

#endif
