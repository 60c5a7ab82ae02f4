#include "cli/presets/download.h"

#include <cerrno>

#include "cli/console/output.h"

namespace lutc_cli {

// On a busy machine a pause within a long answer looks like its end; asking again changes nothing.
lutc::stored_preset receive_preset(const std::string& name) {
    constexpr int attempts = 3;
    for (int attempt = 1;; ++attempt) {
        try {
            return lutc::recv_preset(name);
        } catch (const lutc::error& error) {
            if (error.code().value() != EPROTO || attempt == attempts) throw;
        }
    }
}

grade_file download_preset(const lutc::preset_entry& preset, std::vector<std::string>& notices) {
    lutc::stored_preset stored = receive_preset(preset.name);
    for (const std::size_t position : lutc::settle_kinds(stored.components, preset.components)) {
        notices.push_back("preset '" + preset.name + "': component " + std::to_string(position + 1) +
                          " is either a cdl or a saturation; the file has the more likely");
    }
    return {preset.name, stored.combination, std::move(stored.components), {}};
}

}  // namespace lutc_cli
