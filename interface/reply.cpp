#include "interface/reply.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "interface/component_kinds.h"

namespace lutc_calls {

message_kind kind_of(const message& received) {
    if (!bsonDocument::isMessageValid(received.bytes, received.size, false)) return message_kind::broken;
    element_view type, code_element;
    std::string_view type_name;
    const document_view document(received.bytes, received.size);
    if (!document.find_all({{"type", type}, {"code", code_element}}) || !read_text(type, type_name)) {
        return message_kind::broken;
    }
    if (type_name != "response") return message_kind::event;
    int code;
    if (!read_int32(code_element, code)) return message_kind::broken;
    return code == 0 ? message_kind::success : message_kind::refusal;
}

element_view document_view::find(std::string_view key) const {
    element_view found;
    find_all({{key, found}});
    return found;
}

bool document_view::find_all(std::initializer_list<wanted> list) const {
    document_view left = *this;
    for (element_view element; left.take(element);) {
        for (const wanted& each : list) {
            if (!each.found && each.key == element.key) each.found = element;
        }
    }
    return left.is_whole();
}

bool read_number(const element_view& element, int& value) {
    if (element.type == bson_type::boolean) {
        value = *element.value;
        return true;
    }
    if (element.type != bson_type::int64) return read_int32(element, value);
    const auto number = static_cast<std::int64_t>(lutc_bson::load64(element.value));
    if (number < INT32_MIN || number > INT32_MAX) return false;
    value = static_cast<int>(number);
    return true;
}

bool read_double(const element_view& element, double& value) {
    if (element.type != bson_type::real) return false;
    const std::uint64_t bits = lutc_bson::load64(element.value);
    std::memcpy(&value, &bits, sizeof value);
    return true;
}

void copy_text(char* destination, std::size_t size, std::string_view text) {
    text = up_to_zero(text);
    const std::size_t kept = std::min(text.size(), size);
    if (kept > 0) std::memcpy(destination, text.data(), kept);
    if (size > kept) std::memset(destination + kept, 0, size - kept);
}

char* new_text(std::string_view text) {
    text = up_to_zero(text);
    auto* const copy = reinterpret_cast<char*>(lutc_bson::new_bytes(text.size() + 1));
    text.copy(copy, text.size());
    copy[text.size()] = '\0';
    return copy;
}

bool received_component::read_table(const element_view& format, const element_view& bytes) {
    std::string_view text;
    if (!read_text(format, text)) return false;
    data_format.reset(new_text(text));
    return read_data(bytes);
}

bool received_component::read_data(const element_view& element) {
    if (element.type != bson_type::binary) return false;
    if (element.size != 0) data.reset(lutc_bson::new_copy_of_bytes(element.value, element.size));
    data_size = static_cast<std::int32_t>(element.size);
    return true;
}

// A triple that is missing stays as it is, and so does each of its values that is. What is there are doubles.
bool received_component::read_triple(const element_view& element, double (&values)[3]) {
    std::size_t i = 0;
    return !element || read_each(element, [&](const element_view& value) {
        return i == std::size(values) || read_double(value, values[i++]);
    });
}

bool received_component::read_values(const element_view& saturation, const element_view (&triples)[3]) {
    cdl_values.reset(static_cast<cdl*>(std::calloc(1, sizeof(cdl))));
    if (cdl_values == nullptr) throw std::bad_alloc();
    return read_double(saturation, cdl_values->saturation) && read_triple(triples[0], cdl_values->power) &&
           read_triple(triples[1], cdl_values->slope) && read_triple(triples[2], cdl_values->offset);
}

// A CDL or saturation has values when there is a saturation; without one it is bytes.
bool received_component::read(const element_view& component) {
    element_view type, index, format, bytes, saturation, triples[3];
    const bool whole = document_view::find_all(component, {{"type", type},
                                                           {"typeIndex", index},
                                                           {"dataFormat", format},
                                                           {"data", bytes},
                                                           {"saturation", saturation},
                                                           {"power", triples[0]},
                                                           {"slope", triples[1]},
                                                           {"offset", triples[2]}});
    std::string_view type_name;
    if (!whole || !read_text(type, type_name) || !read_number(index, type_index)) return false;
    const component_kind* const known = find_kind(type_name);
    if (known == nullptr || known->content == component_content::pattern) return true;
    if (known->content == component_content::table) {
        kind = known->kind;
        return read_table(format, bytes);
    }
    kind = saturation ? LUTC_KIND_SATURATION : LUTC_KIND_CDL;
    return saturation ? read_values(saturation, triples) : read_data(bytes);
}

void received_component::hand_over(gradeComponent& record) {
    record.typeIndex = type_index;
    if (kind == unknown_kind) return;
    record.kind = kind;
    if (cdl_values != nullptr) {
        record.cdlValues = cdl_values.release();
        return;
    }
    if (data_format != nullptr) record.dataFormat = data_format.release();
    record.data = data.release();
    record.dataSize = data_size;
}

bool read_components(const element_view& list, int capacity, std::vector<received_component>& components) {
    if (!list || capacity <= 0) return true;
    return read_each(list, [&](const element_view& element) {
        if (components.size() == static_cast<std::size_t>(capacity)) return true;
        components.emplace_back();
        return components.back().read(element);
    });
}

}  // namespace lutc_calls
