#include "cli/preset_library.h"

#include <algorithm>
#include <cstdlib>

#include "cli/output.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

// An answer of 2 MiB has no room for more components.
constexpr std::size_t MOST_COMPONENTS = 1 << 16;
constexpr int KIND_NOT_WRITTEN = -1;

std::vector<std::string> take_strings(gradeCombo& combo) {
    std::vector<std::string> strings;
    for (char* slot : combo.slots) {
        if (slot != nullptr) strings.emplace_back(slot);
        std::free(slot);
    }
    return strings;
}

bool is_cdl_or_saturation(int kind) {
    return kind == LUTC_KIND_CDL || kind == LUTC_KIND_SATURATION;
}

void release(std::vector<gradeComponent>& records) {
    for (gradeComponent& record : records) {
        std::free(record.data);
        std::free(record.dataFormat);
        std::free(record.cdlValues);
    }
}

Component component_of(const gradeComponent& record) {
    Component component;
    component.kind = record.kind;
    component.typeIndex = std::max(record.typeIndex, 0);
    if (record.dataFormat != nullptr) component.dataFormat = record.dataFormat;
    if (record.cdlValues != nullptr) component.values = *record.cdlValues;
    if (record.dataSize > 0) component.data.assign(record.data, record.data + record.dataSize);
    return component;
}

// The combination's strings say which is which when there are as many of them as components, or when they are all the
// same; otherwise a CDL is assumed.
std::vector<std::size_t> tell_cdl_from_saturation(std::vector<Component>& components,
                                                  const std::vector<std::string>& combo) {
    std::vector<int> kinds;
    for (const std::string& slot : combo) {
        if (slot == "cdl") kinds.push_back(LUTC_KIND_CDL);
        if (slot == "saturation") kinds.push_back(LUTC_KIND_SATURATION);
    }
    const auto count = std::count_if(components.begin(), components.end(),
                                     [](const Component& component) { return is_cdl_or_saturation(component.kind); });
    const bool all_same =
        !kinds.empty() && std::count(kinds.begin(), kinds.end(), kinds[0]) == std::ptrdiff_t(kinds.size());
    const bool one_each = static_cast<std::size_t>(count) == kinds.size();
    std::vector<std::size_t> ambiguous;
    std::size_t next = 0;
    for (std::size_t i = 0; i < components.size(); ++i) {
        if (!is_cdl_or_saturation(components[i].kind)) continue;
        if (!all_same && !one_each) ambiguous.push_back(i + 1);
        components[i].kind = all_same ? kinds[0] : one_each ? kinds[next++] : int{LUTC_KIND_CDL};
    }
    return ambiguous;
}

}  // namespace

PresetList list_presets(const std::string& what) {
    presetEntry* entries = nullptr;
    int count = 0;
    PresetList list{{}, 0};
    require_success(what, lutc_preset_list(&entries, &count, &list.maximum));
    for (int i = 0; i < count; ++i) {
        list.presets.push_back(
            {entries[i].presetName, entries[i].gradeComboIndex, take_strings(entries[i].gradeCombo)});
    }
    std::free(entries);
    return list;
}

std::vector<std::vector<std::string>> list_combinations(const std::string& what) {
    gradeCombo* combos = nullptr;
    int count = 0;
    require_success(what, lutc_model_info(nullptr, nullptr, nullptr, &combos, &count, nullptr, nullptr));
    std::vector<std::vector<std::string>> list;
    for (int i = 0; i < count; ++i) list.push_back(take_strings(combos[i]));
    std::free(combos);
    return list;
}

Grade download_preset(const std::string& what, const ListedPreset& preset, std::vector<std::size_t>& ambiguous) {
    gradeComponent untouched = {};
    untouched.kind = KIND_NOT_WRITTEN;
    std::vector<gradeComponent> records(MOST_COMPONENTS, untouched);
    int count = static_cast<int>(records.size());
    Grade grade;
    grade.name = preset.name;
    require_success(what, lutc_recv_preset(preset.name.c_str(), 0, &grade.gradeComboIndex, records.data(), &count));
    records.resize(static_cast<std::size_t>(count));
    for (const gradeComponent& record : records) grade.components.push_back(component_of(record));
    release(records);
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        if (grade.components[i].kind == KIND_NOT_WRITTEN) {
            throw Failure(EXIT_REFUSED,
                          what + ": component " + std::to_string(i + 1) + " is of a kind that lutc can't keep");
        }
    }
    ambiguous = tell_cdl_from_saturation(grade.components, preset.gradeCombo);
    return grade;
}

}  // namespace lutc_cli
