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

namespace simulator {

namespace model {

constexpr std::size_t library_capacity = 100;  // presets
constexpr std::size_t max_name_size = 32;      // bytes of the name that a preset is sent with
constexpr std::size_t max_text_size = 256;     // bytes of a client's strings, of a new name and of an option's value
constexpr std::size_t max_clients = 64;        // that are remembered

// Routes go from a source to a destination.
inline bool is_source(std::string_view type) { return type == "input" || type == "channel"; }
inline bool is_destination(std::string_view type) { return type == "channel" || type == "output"; }

struct channel {
    std::string name;
    std::vector<std::int32_t> combinations;  // the indices of those that it supports
};

struct option {
    std::string initial;
    bool is_read_only;
    std::vector<std::string> choices;  // empty: any text
};

}  // namespace model

// As made: the simulated device.
struct device_model {
    std::string name = "lutc simulated device";
    std::string serial = "SIM-0001";
    std::vector<std::vector<std::string>> grade_combinations{
        {"1dlut", "cdl", "3dlut"},
        {"cdl", "saturation"},
        {"1dlut", "3dlut", "1dlut"},
        {"cdl", "saturation", "1dlut", "3dlut"},
    };
    std::vector<model::channel> channels{{"Channel 1", {1, 2, 4}}, {"Channel 2", {1, 3}}};
    std::size_t inputs = 2, outputs = 2;
    std::map<std::string, model::option, std::less<>> options{
        {"friendlyName", {"Simulated device", false, {}}},
        {"note", {"", false, {}}},
        {"videoFormat", {"1080p25", false, {"720p50", "1080p25", "1080p50", "2160p25", "2160p50"}}},
        {"rangeMode", {"full", false, {"full", "legal"}}},
        {"testPatternOnLoss", {"off", false, {"off", "on"}}},
        {"firmwareVersion", {"simulated", true, {}}},
        {"serialNumber", {"SIM-0001", true, {}}},
    };

    // An index is one that exists.
    const std::vector<std::string>& combination(std::int32_t index) const {
        return grade_combinations[static_cast<std::size_t>(index) - 1];
    }
    const model::channel& channel(std::int32_t index) const { return channels[static_cast<std::size_t>(index) - 1]; }

    // How many ends of that type a route can have.
    std::size_t count(std::string_view type) const {
        return type == "input" ? inputs : type == "channel" ? channels.size() : outputs;
    }
};

}  // namespace simulator

#endif
