#include "cli/presets/library.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>

#include "cli/console/output.h"
#include "cli/console/service.h"

namespace lutc_cli {
namespace {

// An answer of 2 MiB has no room for more components.
constexpr std::size_t most_components = 1 << 16;
constexpr int kind_not_written = -1;
// On a busy machine a pause within a long answer looks like its end; asking again changes nothing.
constexpr int download_attempts = 3;

bool is_cdl_or_saturation(int kind) { return kind == LUTC_KIND_CDL || kind == LUTC_KIND_SATURATION; }

void release(std::vector<gradeComponent>& records) {
    for (gradeComponent& record : records) {
        std::free(record.data);
        std::free(record.dataFormat);
        std::free(record.cdlValues);
    }
}

file_component copy_component(const gradeComponent& record) {
    file_component component;
    component.kind = record.kind;
    component.type_index = std::max(record.typeIndex, 0);
    if (record.dataFormat != nullptr) component.data_format = record.dataFormat;
    if (record.cdlValues != nullptr) component.values = *record.cdlValues;
    if (record.dataSize > 0) component.data.assign(record.data, record.data + record.dataSize);
    return component;
}

bool is_neutral(const double (&triple)[3], double neutral) {
    return std::all_of(std::begin(triple), std::end(triple), [neutral](double value) { return value == neutral; });
}

bool has_only_saturation(const cdl& values) {
    return is_neutral(values.slope, 1.0) && is_neutral(values.offset, 0.0) && is_neutral(values.power, 1.0);
}

// The strings of the combination that mean a CDL or a saturation, as kinds.
std::vector<int> kinds_of(const std::vector<std::string>& combo) {
    std::vector<int> kinds;
    for (const std::string& slot : combo) {
        if (slot == "cdl") kinds.push_back(LUTC_KIND_CDL);
        if (slot == "saturation") kinds.push_back(LUTC_KIND_SATURATION);
    }
    return kinds;
}

// A combination with places for only one of the two decides alone. Else values that do more than saturate are a CDL,
// and the others take the places that are left, in order. Where the numbers don't match, values become a saturation and
// bytes a CDL; the positions of those components are returned.
std::vector<std::size_t> tell_cdl_from_saturation(std::vector<file_component>& components,
                                                  const std::vector<std::string>& combo) {
    std::vector<int> places = kinds_of(combo);
    const bool one_kind = std::adjacent_find(places.begin(), places.end(), std::not_equal_to<>()) == places.end();
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < components.size(); ++i) {
        file_component& component = components[i];
        if (!is_cdl_or_saturation(component.kind)) continue;
        const bool sure = component.values && !has_only_saturation(*component.values);
        if (!places.empty() && one_kind) {
            component.kind = places.front();
        } else if (sure) {
            component.kind = LUTC_KIND_CDL;
            const auto place = std::find(places.begin(), places.end(), int{LUTC_KIND_CDL});
            if (place != places.end()) places.erase(place);
        } else {
            open.push_back(i);
        }
    }
    const bool one_each = open.size() == places.size();
    for (std::size_t i = 0; i < open.size(); ++i) {
        file_component& component = components[open[i]];
        const int guess = component.values ? LUTC_KIND_SATURATION : LUTC_KIND_CDL;
        component.kind = one_each ? places[i] : guess;
        ++open[i];
    }
    return one_each ? std::vector<std::size_t>() : open;
}

}  // namespace

std::vector<std::string> take_strings(gradeCombo& combo) {
    std::vector<std::string> strings;
    for (char* slot : combo.slots) {
        if (slot != nullptr) strings.emplace_back(slot);
        std::free(slot);
    }
    return strings;
}

preset_list list_presets(const std::string& task) {
    presetEntry* entries = nullptr;
    int count = 0;
    preset_list list{{}, 0};
    require_success(task, lutc_preset_list(&entries, &count, &list.maximum));
    for (int i = 0; i < count; ++i) {
        list.presets.push_back(
            {entries[i].presetName, entries[i].gradeComboIndex, take_strings(entries[i].gradeCombo)});
    }
    std::free(entries);
    return list;
}

std::vector<std::vector<std::string>> list_combinations(const std::string& task) {
    gradeCombo* combos = nullptr;
    int count = 0;
    require_success(task, lutc_model_info(nullptr, nullptr, nullptr, &combos, &count, nullptr, nullptr));
    std::vector<std::vector<std::string>> list;
    for (int i = 0; i < count; ++i) list.push_back(take_strings(combos[i]));
    std::free(combos);
    return list;
}

grade_file download_preset(const std::string& task, const listed_preset& preset, std::vector<std::string>& notices) {
    gradeComponent untouched = {};
    untouched.kind = kind_not_written;
    std::vector<gradeComponent> records(most_components, untouched);
    int count = 0;
    grade_file grade;
    grade.name = preset.name;
    int result = -1;
    for (int attempt = 0; result != 0 && attempt < download_attempts; ++attempt) {
        count = static_cast<int>(records.size());
        result = lutc_recv_preset(preset.name.c_str(), 0, &grade.combination, records.data(), &count);
    }
    require_success(task, result);
    records.resize(static_cast<std::size_t>(count));
    for (const gradeComponent& record : records) grade.components.push_back(copy_component(record));
    release(records);
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        if (grade.components[i].kind == kind_not_written) {
            throw failure(exit_refused,
                          task + ": component " + std::to_string(i + 1) + " is of a kind that lutc can't keep");
        }
    }
    for (const std::size_t component : tell_cdl_from_saturation(grade.components, preset.combination)) {
        notices.push_back("preset '" + preset.name + "': component " + std::to_string(component) +
                          " is either a cdl or a saturation; the file has the more likely");
    }
    return grade;
}

}  // namespace lutc_cli
