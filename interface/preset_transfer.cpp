#include <algorithm>
#include <vector>

#include <lutc/lutc.h>
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/wire_format.h"
#include "interface/grade_records.h"
#include "interface/preset_selector.h"
#include "interface/request_channel.h"

using namespace lutc;
using lutc_bson::malloc_ptr;

namespace {

// One component as read; the blocks become the caller's when it is handed over.
struct received_component {
    static constexpr std::int32_t unknown_kind = -1;

    std::int32_t kind = unknown_kind;
    std::int32_t type_index = 0;
    std::int32_t data_size = 0;
    malloc_ptr<unsigned char> data;
    malloc_ptr<char> data_format;
    malloc_ptr<cdl> cdl_values;
};

bool read_data(const bsonDocument& component, received_component& out) {
    const bsonElement* const element = find_element(component, "data", bson_type::binary);
    if (element == nullptr) return false;
    const std::uint32_t size = lutc_bson::readable_size(*element);
    if (size != 0) out.data.reset(lutc_bson::new_copy_of_bytes(element->value, size));
    out.data_size = static_cast<std::int32_t>(size);
    return true;
}

bool read_table(const bsonDocument& component, std::int32_t kind, received_component& out) {
    std::string_view format;
    if (!read_text(component, "dataFormat", format) || !read_data(component, out)) return false;
    out.kind = kind;
    out.data_format.reset(new_text(format));
    return true;
}

// A triple that is missing stays as it is, and so does each of its values that is. What is there are doubles.
bool read_triple(const bsonDocument& component, const char* key, double (&values)[3]) {
    const bsonElement* const element = find_element(component, key);
    if (element == nullptr) return true;
    const bsonDocument* const triple = get_document(*element);
    if (triple == nullptr) return false;
    const std::size_t count = std::min<std::size_t>(triple->elementList.size(), 3);
    for (std::size_t i = 0; i < count; ++i) {
        if (triple->elementList[i]->valueType != bson_type::real) return false;
        values[i] = triple->elementList[i]->getDoubleValue();
    }
    return true;
}

// CDL values are there when there is a saturation; without one the component is bytes.
bool read_values(const bsonDocument& component, received_component& out) {
    const bsonElement* const saturation = find_element(component, "saturation");
    if (saturation == nullptr) {
        out.kind = LUTC_KIND_CDL;
        return read_data(component, out);
    }
    out.kind = LUTC_KIND_SATURATION;
    out.cdl_values.reset(static_cast<cdl*>(std::calloc(1, sizeof(cdl))));
    if (out.cdl_values == nullptr) throw std::bad_alloc();
    out.cdl_values->saturation = saturation->getDoubleValue();
    return saturation->valueType == bson_type::real && read_triple(component, "power", out.cdl_values->power) &&
           read_triple(component, "slope", out.cdl_values->slope) &&
           read_triple(component, "offset", out.cdl_values->offset);
}

bool read_component(const bsonElement& element, received_component& out) {
    const bsonDocument* const component = get_document(element);
    std::string_view type_name;
    if (component == nullptr || !read_text(*component, "type", type_name) ||
        !read_int32(*component, "typeIndex", out.type_index)) {
        return false;
    }
    if (type_name == "1dlut") return read_table(*component, LUTC_KIND_LUT_1D, out);
    if (type_name == "3dlut") return read_table(*component, LUTC_KIND_LUT_3D, out);
    if (type_name == "saturation" || type_name == "cdl") return read_values(*component, out);
    return true;
}

// Reads the first components of the reply, at most capacity of them. A reply without a list has none.
bool read_components(const bsonDocument& reply, int capacity, std::vector<received_component>& out) {
    const bsonElement* const element = find_element(reply, "gradeCombo");
    if (element == nullptr || capacity <= 0) return true;
    const bsonDocument* const list = get_document(*element);
    if (list == nullptr) return false;
    out.resize(std::min(list->elementList.size(), static_cast<std::size_t>(capacity)));
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (!read_component(*list->elementList[i], out[i])) return false;
    }
    return true;
}

// Writes the fields that the kind has.
void hand_over(received_component& received, gradeComponent& record) {
    record.typeIndex = received.type_index;
    if (received.kind == received_component::unknown_kind) return;
    record.kind = received.kind;
    if (received.cdl_values != nullptr) {
        record.cdlValues = received.cdl_values.release();
        return;
    }
    if (received.data_format != nullptr) record.dataFormat = received.data_format.release();
    record.data = received.data.release();
    record.dataSize = received.data_size;
}

}  // namespace

int lutc_send_preset(const char* presetName, int presetIndex, int toIndex, int gradeComboIndex, bool applyPreset,
                     int applyChannel, const gradeComponent* components, int componentCount) noexcept {
    const preset_selector preset(presetName, presetIndex);
    if (!preset.is_sendable() || !are_sendable(components, componentCount, grade_use::preset)) return -1;
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
    if (!preset.is_sendable() || componentCount == nullptr) return -1;
    if (components == nullptr && *componentCount > 0) return -1;
    return call(
        "getPreset", preset_reply, [&](bsonDocument& command) { preset.append_to(command); },
        [&](const bsonDocument& reply) {
            int combo_index = 0;
            if (gradeComboIndex != nullptr && !read_int32(reply, "gradeComboIndex", combo_index)) return false;
            std::vector<received_component> received;
            if (!read_components(reply, *componentCount, received)) return false;
            if (gradeComboIndex != nullptr) *gradeComboIndex = combo_index;
            for (std::size_t i = 0; i < received.size(); ++i) hand_over(received[i], components[i]);
            *componentCount = static_cast<int>(received.size());
            return true;
        });
}
