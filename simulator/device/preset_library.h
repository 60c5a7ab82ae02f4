// The presets of the device, in their order. Indices count from 1.
#ifndef LUTC_SIMULATOR_DEVICE_PRESET_LIBRARY_H
#define LUTC_SIMULATOR_DEVICE_PRESET_LIBRARY_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/device/grade.h"

namespace simulator {

struct preset {
    std::string name;  // 1 to max_name_size bytes, none of them 0; unique in the library
    std::int32_t grade_combo_index = 1;
    std::vector<grade_component> components;
};

// A function that fails throws a problem, or std::bad_alloc, and has then changed nothing. An index is one that exists.
class preset_library {
  public:
    preset_library();
    preset_library(preset_library&&) = default;  // a copy would share its presets
    preset_library& operator=(preset_library&&) = default;

    std::int32_t size() const { return static_cast<std::int32_t>(presets_.size()); }
    const preset& at(std::int32_t index) const { return *presets_[position(index)]; }
    std::int32_t find(std::string_view name) const;  // 0: no preset has this name

    // Refers to a preset wherever it moves to, until it is removed.
    using reference = std::weak_ptr<const preset>;
    reference refer_to(std::int32_t index) const { return presets_[position(index)]; }
    std::int32_t find(const reference& wanted) const;  // 0: that preset is gone

    // Replaces the preset at index; index 0 adds one at the end. Returns its index.
    std::int32_t store(std::int32_t index, preset content);
    void rename(std::int32_t index, std::string name);
    void move(std::int32_t index, std::int32_t to_index) noexcept;
    void remove(std::int32_t index) noexcept;
    void clear() noexcept { presets_.clear(); }

  private:
    static std::size_t position(std::int32_t index) { return static_cast<std::size_t>(index) - 1; }

    std::vector<std::shared_ptr<preset>> presets_;
};

}  // namespace simulator

#endif
