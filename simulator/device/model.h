// What the device has, whatever its state: channels, grade combinations, options, limits.
#ifndef LUTC_SIMULATOR_DEVICE_MODEL_H
#define LUTC_SIMULATOR_DEVICE_MODEL_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::model {

inline const std::string name = "lutc simulated device";
inline const std::string serial = "SIM-0001";

constexpr std::size_t library_capacity = 100;  // presets
constexpr std::size_t max_name_size = 32;      // bytes of a preset name
constexpr std::size_t max_text_size = 256;     // bytes of a client's strings and of an option's value
constexpr std::size_t max_clients = 64;        // that are remembered

inline const std::vector<std::vector<std::string>> grade_combinations{
    {"1dlut", "cdl", "3dlut"},
    {"cdl", "saturation"},
    {"1dlut", "3dlut", "1dlut"},
    {"cdl", "saturation", "1dlut", "3dlut"},
};

struct channel {
    std::string name;
    std::vector<std::int32_t> combinations;  // the indices of those that it supports
};
inline const std::vector<channel> channels{{"Channel 1", {1, 2, 4}}, {"Channel 2", {1, 3}}};

// There are as many inputs and outputs as channels. Routes go from a source to a destination.
inline bool is_source(std::string_view type) { return type == "input" || type == "channel"; }
inline bool is_destination(std::string_view type) { return type == "channel" || type == "output"; }

struct option {
    std::string initial;
    bool is_read_only;
    std::vector<std::string> choices;  // empty: any text
};
inline const std::map<std::string, option, std::less<>> options{
    {"friendlyName", {"Simulated device", false, {}}},
    {"note", {"", false, {}}},
    {"videoFormat", {"1080p25", false, {"720p50", "1080p25", "1080p50", "2160p25", "2160p50"}}},
    {"rangeMode", {"full", false, {"full", "legal"}}},
    {"testPatternOnLoss", {"off", false, {"off", "on"}}},
    {"firmwareVersion", {"simulated", true, {}}},
    {"serialNumber", {serial, true, {}}},
};

}  // namespace simulator::model

#endif
