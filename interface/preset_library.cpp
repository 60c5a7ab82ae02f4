#include <lutc/lutc.h>
#include "interface/call.h"
#include "interface/preset_selector.h"
#include "interface/record_list.h"

using namespace lutc_calls;

namespace {

bool read_entry(const element_view& element, presetEntry& entry) {
    element_view name, combo_index, combo;
    std::string_view text;
    const bool whole = document_view::find_all(
        element, {{"presetName", name}, {"gradeComboIndex", combo_index}, {"gradeCombo", combo}});
    if (!whole || !read_text(name, text)) return false;
    copy_text(entry.presetName, LUTC_PRESET_NAME_SIZE, text);
    return read_number(combo_index, entry.gradeComboIndex) && read_combo(combo, entry.gradeCombo);
}

// A call that changes one preset of the list; append_rest adds what follows the selector.
template <class AppendRest>
int edit_preset(const char* command, const preset_selector& preset, AppendRest append_rest) {
    if (!preset.is_sendable()) return refuse();
    return call(command, [&](bsonDocument& document) {
        preset.append_to(document);
        append_rest(document);
    });
}

// A call that reads which preset is chosen.
template <class Append>
int read_choice(const char* command, Append append, char* presetName, int* presetIndex) {
    if (presetName == nullptr || presetIndex == nullptr) return refuse();
    return call(command, small_reply, append, [&](const document_view& reply) {
        std::string_view name;
        int index;
        if (!read_text(reply.find("presetName"), name) || !read_number(reply.find("presetIndex"), index)) return false;
        copy_text(presetName, LUTC_PRESET_NAME_SIZE, name);
        *presetIndex = index;
        return true;
    });
}

}  // namespace

int lutc_load_presets_from_media() noexcept { return call("loadPresetsFromMedia", nothing_to_append); }

int lutc_save_presets_to_media() noexcept { return call("savePresetsToMedia", nothing_to_append); }

int lutc_delete_all_presets() noexcept { return call("deleteAllPresets", nothing_to_append); }

int lutc_preset_list(presetEntry** presets, int* presetCount, int* maxPresetsListSize) noexcept {
    if (presets == nullptr || presetCount == nullptr || maxPresetsListSize == nullptr) return refuse();
    return call("getPresetsList", preset_list_reply, nothing_to_append, [&](const document_view& reply) {
        int maximum;
        record_list<presetEntry> entries;
        if (!read_number(reply.find("maxPresetsListSize"), maximum) ||
            !entries.read(reply.find("presetsList"), read_entry)) {
            return false;
        }
        *maxPresetsListSize = maximum;
        entries.hand_over(presets, presetCount);
        return true;
    });
}

int lutc_delete_preset(const char* presetName, int presetIndex) noexcept {
    return edit_preset("deletePreset", {presetName, presetIndex}, nothing_to_append);
}

int lutc_rename_preset(const char* presetName, int presetIndex, const char* newName) noexcept {
    if (newName == nullptr) return refuse();
    return edit_preset("renamePreset", {presetName, presetIndex},
                       [&](bsonDocument& command) { add_element(command, "newName", newName); });
}

int lutc_move_preset(const char* presetName, int presetIndex, int toIndex) noexcept {
    return edit_preset("movePreset", {presetName, presetIndex},
                       [&](bsonDocument& command) { add_element(command, "toIndex", toIndex); });
}

int lutc_get_preset(int channelIndex, char* presetName, int* presetIndex) noexcept {
    return read_choice(
        "getSelectedPreset", [&](bsonDocument& command) { add_index(command, "channelIndex", channelIndex); },
        presetName, presetIndex);
}

int lutc_set_preset(int channelIndex, const char* presetName, int presetIndex) noexcept {
    const preset_selector preset(presetName, presetIndex);
    if (!preset.is_sendable()) return refuse();
    return call("setSelectedPreset", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        preset.append_to(command);
    });
}

int lutc_get_override_preset(char* presetName, int* presetIndex) noexcept {
    return read_choice("getOverridePreset", nothing_to_append, presetName, presetIndex);
}

int lutc_set_override_preset(const char* presetName, int presetIndex) noexcept {
    return edit_preset("setOverridePreset", {presetName, presetIndex, 0}, nothing_to_append);
}
