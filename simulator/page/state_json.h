// The device, its grades and its log as JSON. What the tool's --json shows too has the names that it has there.
#ifndef LUTC_SIMULATOR_PAGE_STATE_JSON_H
#define LUTC_SIMULATOR_PAGE_STATE_JSON_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "simulator/device/device_state.h"
#include "simulator/page/log.h"
#include "simulator/page/scene.h"

namespace simulator {

// ASCII alone, so that no text of a client can do harm where it is shown; what isn't UTF-8 in it is replaced.
std::string to_text(const nlohmann::ordered_json& value);

// "model", "maxPresetsListSize", "presets", "override", "inputs", "channels", "connections", "options", "clients".
nlohmann::ordered_json describe_device(const device_state& device, const scene& seen);

nlohmann::ordered_json describe_component(const shown_component& component);

// Of a larger table that many points an axis: the ends, and those that are nearest to even steps between them.
colour::lut_table thin_out(colour::lut_table table, std::size_t points);

// The component as an object with the values of its table behind them: "size", "samples". Takes time for a large table.
std::string describe_table(const nlohmann::ordered_json& component, const colour::lut_table& table);

nlohmann::ordered_json describe_entry(const log_entry& entry);
nlohmann::ordered_json describe_messages(const log_entry& entry);  // the same with the bytes

}  // namespace simulator

#endif
