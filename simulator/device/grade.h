// Grades: their components and the slots that they go to.
#ifndef LUTC_SIMULATOR_DEVICE_GRADE_H
#define LUTC_SIMULATOR_DEVICE_GRADE_H

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator {

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

// Copies share the data.
struct grade_component {
    std::string type;             // "cdl", "saturation", "1dlut", "3dlut", "tpg" or other_kind
    std::int32_t type_index = 0;  // slot, from 1 to slots_of(type); 0: not given. Any when it is ignored
    std::string data_format;      // every type but "tpg"
    std::shared_ptr<const std::vector<unsigned char>> data;
    std::optional<cdl_values> values;     // "cdl" and "saturation" given as values rather than as data
    std::optional<test_pattern> pattern;  // "tpg"
};

using component_map = std::map<std::pair<std::string, std::int32_t>, grade_component>;  // by type and slot

struct live_grade {
    std::int32_t grade_combo_index = 1;
    component_map components;
};

// How many components of a type a grade may hold; 0 for a type that doesn't exist.
std::int32_t slots_of(std::string_view type);

// The type of a component that came without one: a kind that isn't known.
constexpr const char* other_kind = "unknown";

// Keeps its place in a preset, and that is all: one of another kind, and a test pattern that is no more than that.
bool is_ignored(const grade_component& component);

// A LUT, whose content is a table.
bool is_table(std::string_view type);

// Each component that isn't ignored goes to the slot that it names, or else to the first that no other component of the list takes. Throws
// a problem when two name the same, or when there is none left.
component_map place_components(const std::vector<grade_component>& components);

}  // namespace simulator

#endif
