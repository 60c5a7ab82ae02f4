// The state of the device: presets, live grades, routes, options.
//
// Conventions
//
// 1. Indices (presets, channels, grade combinations, slots, positions) count from 1 and are those of something that
//    exists; so are the types of endpoints. Whoever reads them from outside holds them against model.h and grade.h.
// 2. A function that fails throws a problem, or std::bad_alloc, and has then changed nothing, on none of the channels.
#ifndef LUTC_SIMULATOR_DEVICE_DEVICE_STATE_H
#define LUTC_SIMULATOR_DEVICE_DEVICE_STATE_H

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/device/grade.h"
#include "simulator/device/model.h"
#include "simulator/device/preset_library.h"

namespace simulator {

struct client_info {
    std::string model, version, serial;
};

struct endpoint {
    std::string type;  // "input", "channel" or "output"
    std::int32_t index = 0;
};

struct route {
    endpoint source, destination;
};

using channel_list = std::vector<std::int32_t>;

// What a device begins with.
struct device_start {
    device_model model;
    std::vector<preset> presets;
};

class device_state {
  public:
    explicit device_state(const device_start& start = {});

    const device_model& model() const { return model_; }

    // Clients that have introduced themselves, oldest first.
    void register_client(client_info client);
    const std::deque<client_info>& clients() const { return clients_; }

    // Selections and the override follow their preset, and are gone when it is.
    preset_library& presets() { return presets_; }
    const preset_library& presets() const { return presets_; }

    // Stores the preset as preset_library does, selects it on the channels, and moves it to its place.
    void store_preset(std::int32_t index, preset content, const channel_list& apply_to,
                      std::optional<std::int32_t> to_index);

    // A selected preset's grade becomes the live grade.
    void select_preset(const channel_list& channels, std::int32_t index);
    std::int32_t selected_preset(std::int32_t channel) const { return presets_.find(at(channel).selected); }  // 0: none
    void set_override(std::int32_t index);                                                                    // 0: none
    std::int32_t override_preset() const { return presets_.find(override_); }

    // With reset the live grade starts from neutral (no components, no test pattern); components then go to their
    // slots. A combination that isn't given stays as it is.
    void grade(const channel_list& channels, bool reset, std::optional<std::int32_t> grade_combo_index,
               const std::vector<grade_component>& components);
    const live_grade& live(std::int32_t channel) const { return at(channel).live; }

    // Colour-transform state: any value.
    void set_transform_state(const channel_list& channels, std::int32_t value);
    std::int32_t transform_state(std::int32_t channel) const { return at(channel).transform_state; }

    // A destination has one source; a new route replaces it.
    const std::vector<route>& routes() const { return routes_; }
    void connect(const route& wanted);

    const std::string& option(std::string_view name) const;
    std::string option(std::string_view name, const char* otherwise) const;  // for a device that may not have it
    void set_option(std::string_view name, std::string_view value);

  private:
    struct channel_state {
        live_grade live;
        preset_library::reference selected;
        std::int32_t transform_state = 0;
    };

    channel_state& at(std::int32_t channel) { return channels_[static_cast<std::size_t>(channel) - 1]; }
    const channel_state& at(std::int32_t channel) const { return channels_[static_cast<std::size_t>(channel) - 1]; }
    void add_routes(const char* from, const char* to);
    void select(const channel_list& channels, std::vector<live_grade> grades, std::int32_t index) noexcept;

    device_model model_;
    std::deque<client_info> clients_;
    preset_library presets_;
    preset_library::reference override_;
    std::vector<channel_state> channels_;
    std::vector<route> routes_;
    std::map<std::string, std::string, std::less<>> options_;
};

}  // namespace simulator

#endif
