// The kinds of grade component and their names on the wire, the same for commands and replies.
#ifndef LUTC_INTERFACE_COMPONENT_KINDS_H
#define LUTC_INTERFACE_COMPONENT_KINDS_H

#include <cstdint>
#include <string_view>

#include <lutc/lutc.h>

namespace lutc_calls {

enum class component_content { values, table, pattern };

struct component_kind {
    std::int32_t kind;
    const char* name;
    component_content content;
};

constexpr component_kind component_kinds[] = {
    {LUTC_KIND_CDL, "cdl", component_content::values},
    {LUTC_KIND_SATURATION, "saturation", component_content::values},
    {LUTC_KIND_LUT_1D, "1dlut", component_content::table},
    {LUTC_KIND_LUT_3D, "3dlut", component_content::table},
    {LUTC_KIND_TEST_PATTERN, "tpg", component_content::pattern},
};

// Null: no such kind.
inline const component_kind* find_kind(std::int32_t kind) {
    for (const component_kind& known : component_kinds) {
        if (known.kind == kind) return &known;
    }
    return nullptr;
}

inline const component_kind* find_kind(std::string_view name) {
    for (const component_kind& known : component_kinds) {
        if (known.name == name) return &known;
    }
    return nullptr;
}

}  // namespace lutc_calls

#endif
