// What the simulated device is: its preset library, channels, live grades, routes and options.
//
// Conventions
//
// 1. Indices (presets, channels, grade combinations, slots, positions) count from 1.
// 2. An operation that can't be done throws a refusal, or std::bad_alloc, and has then changed nothing.
// 3. An optional channel that isn't given means every channel where something is set, and channel 1 where it is read.
#ifndef LUTC_SIMULATOR_DEVICE_STATE_H
#define LUTC_SIMULATOR_DEVICE_STATE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace simulator {

constexpr std::size_t max_name_size = 32;      // bytes of a preset name
constexpr std::size_t library_capacity = 100;  // presets
constexpr std::int32_t slots_of_a_type = 4;    // components of one type in a grade; one test pattern
constexpr std::size_t max_text_size = 256;     // bytes of a client's strings and of an option's value

struct cdl_values {
    std::array<double, 3> power{}, slope{}, offset{};
    double saturation = 0.0;
};

struct test_pattern {
    std::string type;
    std::int32_t video_format = 0;
    // The square pattern alone:
    double square_size = 0.0;
    std::array<std::int32_t, 3> foreground{}, background{};
};

struct grade_component {
    std::string type;             // "cdl", "saturation", "1dlut", "3dlut" or "tpg"
    std::int32_t type_index = 0;  // slot, one that its type has; 0: not given
    std::string data_format;      // every type but "tpg"
    std::vector<unsigned char> data;
    std::optional<cdl_values> values;     // "cdl" and "saturation" given as values rather than as data
    std::optional<test_pattern> pattern;  // "tpg"
};

struct preset {
    std::string name;  // 1 to max_name_size bytes, none of them 0; unique in the library
    std::int32_t grade_combo_index = 1;
    std::vector<grade_component> components;
};

// A preset by name, or, without a name, by its place in the library.
struct preset_selector {
    std::optional<std::string> name;
    std::optional<std::int32_t> index;
};

struct client_info {
    std::string model, version, serial;
};

struct live_grade {
    std::int32_t grade_combo_index = 1;
    std::map<std::pair<std::string, std::int32_t>, grade_component> components;  // by type and slot
};

struct endpoint {
    std::string type;  // "input", "channel" or "output"
    std::int32_t index = 0;
};
bool operator==(const endpoint& a, const endpoint& b);

struct route {
    endpoint source, destination;
};

class device_state {
  public:
    // Presets are saved to and loaded from that folder; without one, both are refused.
    explicit device_state(std::string media_folder = {});

    // The model.
    static const std::string& model_name();
    static const std::string& serial();
    std::string friendly_name() const;
    static const std::vector<std::vector<std::string>>& grade_combinations();
    static std::int32_t channel_count();
    static std::string channel_name(std::int32_t channel);
    static const std::vector<std::int32_t>& supported_combinations(std::int32_t channel);

    // Clients that have introduced themselves, oldest first; the last 64 of them.
    void register_client(client_info client);
    const std::deque<client_info>& clients() const { return clients_; }

    // The preset library.
    std::size_t preset_count() const { return library_.size(); }
    const preset& preset_at(std::int32_t index) const {
        return library_.at(static_cast<std::size_t>(index - 1)).content;
    }
    std::int32_t find_preset(const preset_selector& selector) const;  // its index
    void delete_all_presets() noexcept;
    void delete_preset(const preset_selector& selector);
    void rename_preset(const preset_selector& selector, const std::string& new_name);
    void move_preset(const preset_selector& selector, std::int32_t to_index);

    struct upload {
        preset_selector selector;  // a name that doesn't exist yet makes a new preset
        std::optional<std::int32_t> to_index;
        std::optional<std::int32_t> grade_combo_index;  // not given: kept, or 1 for a new preset
        bool apply = false;
        std::optional<std::int32_t> apply_channel;
        std::vector<grade_component> components;
    };
    void store_preset(upload what);

    void save_presets() const;
    void load_presets();  // nothing is selected afterwards; live grades stay

    // Selected and override presets; reading one that isn't set is refused.
    void select_preset(std::optional<std::int32_t> channel, const preset_selector& selector);
    std::int32_t selected_preset(std::optional<std::int32_t> channel) const;
    void set_override(const preset_selector& selector);  // index 0: none
    std::int32_t override_preset() const;

    // The live grade of a channel. With reset it starts from neutral (no components, no test pattern); components then
    // go to their slots. A combination that isn't given stays as it is.
    void grade(std::optional<std::int32_t> channel, bool reset, std::optional<std::int32_t> grade_combo_index,
               std::vector<grade_component> components);
    const live_grade& live(std::int32_t channel) const;

    // Colour-transform state: any value.
    void set_transform_state(std::optional<std::int32_t> channel, std::int32_t value);
    std::int32_t transform_state(std::optional<std::int32_t> channel) const;

    // Routing. A destination has one source; a new route replaces it.
    const std::vector<route>& routes() const { return routes_; }
    void connect(const route& wanted);

    // Options.
    const std::string& option(const std::string& name) const;
    void set_option(const std::string& name, const std::string& value);

  private:
    struct entry {
        std::uint64_t id;  // never used again, so that selections follow their preset
        preset content;
    };
    struct channel_state {
        live_grade live;
        std::uint64_t selected = 0;  // id; 0: none
        std::int32_t transform_state = 0;
    };
    using channel_list = std::vector<std::size_t>;

    std::size_t position_of(const preset_selector& selector) const;
    std::optional<std::size_t> position_of_name(const std::string& name) const;
    std::int32_t index_of(std::uint64_t id) const;
    void forget(std::uint64_t id) noexcept;

    std::string media_folder_;
    std::deque<client_info> clients_;
    std::vector<entry> library_;
    std::uint64_t last_id_ = 0;
    std::uint64_t override_ = 0;
    std::vector<channel_state> channels_;
    std::vector<route> routes_;
    std::map<std::string, std::string> options_;
};

// The rules of a library that comes from elsewhere as a whole: throws a refusal when a preset or the whole breaks one.
void check_library(const std::vector<preset>& presets);

// How many components of a type a grade may hold; 0 for a type that doesn't exist.
std::int32_t slots_of(const std::string& type);

// Refuses a slot that the type doesn't have.
void check_slot(const std::string& field, std::int32_t slot, const std::string& type);

}  // namespace simulator

#endif
