#include "simulator/device/grade.h"

#include "simulator/device/problem.h"
#include "simulator/device/text.h"

namespace simulator {

std::int32_t slots_of(std::string_view type) {
    if (type == "tpg") return 1;
    return is_table(type) || type == "cdl" || type == "saturation" ? 4 : 0;
}

bool is_ignored(const grade_component& component) {
    return slots_of(component.type) == 0 || (component.type == "tpg" && !component.pattern);
}

bool is_table(std::string_view type) { return type == "1dlut" || type == "3dlut"; }

component_map place_components(const std::vector<grade_component>& components) {
    component_map placed;
    for (const grade_component& component : components) {
        const std::int32_t slot = component.type_index;
        if (slot != 0 && !is_ignored(component) && !placed.emplace(std::pair(component.type, slot), component).second)
            throw problem(problem_kind::wrong_value,
                          "two components are for slot " + std::to_string(slot) + " of type " + quote(component.type));
    }
    for (const grade_component& component : components) {
        if (component.type_index != 0 || is_ignored(component)) continue;
        std::int32_t slot = 1;
        while (placed.count({component.type, slot}) != 0) ++slot;
        const std::int32_t last = slots_of(component.type);
        if (slot > last)
            throw problem(problem_kind::wrong_value, "more components of type " + quote(component.type) +
                                                         " than slots (" + std::to_string(last) + ")");
        placed.emplace(std::pair(component.type, slot), component);
    }
    return placed;
}

}  // namespace simulator
