#include <vector>

#include <lutc/lutc.h>
#include "interface/call.h"
#include "interface/preset_selector.h"

using namespace lutc_calls;

int lutc_send_preset(const char* presetName, int presetIndex, int toIndex, int gradeComboIndex, bool applyPreset,
                     int applyChannel, const gradeComponent* components, int componentCount) noexcept {
    const preset_selector preset(presetName, presetIndex);
    if (!preset.is_sendable() || !are_sendable(components, componentCount, grade_use::preset)) return refuse();
    return call("sendPreset", [&](bsonDocument& command) {
        preset.append_to(command);
        add_index(command, "toIndex", toIndex);
        add_index(command, "gradeComboIndex", gradeComboIndex);
        if (applyPreset) {
            add_element(command, "applyPreset", true);
            add_index(command, "applyChannel", applyChannel);
        }
        add_components(command, components, componentCount, grade_use::preset);
    });
}

int lutc_recv_preset(const char* presetName, int presetIndex, int* gradeComboIndex, gradeComponent* components,
                     int* componentCount) noexcept {
    const preset_selector preset(presetName, presetIndex);
    if (!preset.is_sendable() || componentCount == nullptr) return refuse();
    if (components == nullptr && *componentCount > 0) return refuse();
    return call(
        "getPreset", preset_reply, [&](bsonDocument& command) { preset.append_to(command); },
        [&](const document_view& reply) {
            int combo_index = 0;
            if (gradeComboIndex != nullptr && !read_number(reply.find("gradeComboIndex"), combo_index)) return false;
            std::vector<received_component> received;
            if (!read_components(reply.find("gradeCombo"), *componentCount, received)) return false;
            if (gradeComboIndex != nullptr) *gradeComboIndex = combo_index;
            for (std::size_t i = 0; i < received.size(); ++i) received[i].hand_over(components[i]);
            *componentCount = static_cast<int>(received.size());
            return true;
        });
}
