#include "interface/reply.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "bson/wire_format.h"
#include "interface/component_kinds.h"

namespace lutc_calls {
namespace {

bool is_known_type(bson_type t) {
    return (t >= bson_type::real && t <= bson_type::int64) || t == bson_type::max_key || t == bson_type::min_key;
}

bool read_data(const document_view& component, received_component& out) {
    const element_view data = component.find("data");
    if (data.type != bson_type::binary) return false;
    if (data.size != 0) out.data.reset(lutc_bson::new_copy_of_bytes(data.value, data.size));
    out.data_size = static_cast<std::int32_t>(data.size);
    return true;
}

bool read_table(const document_view& component, std::int32_t kind, received_component& out) {
    std::string_view format;
    if (!read_text(component.find("dataFormat"), format) || !read_data(component, out)) return false;
    out.kind = kind;
    out.data_format.reset(new_text(format));
    return true;
}

// A triple that is missing stays as it is, and so does each of its values that is. What is there are doubles.
bool read_triple(const element_view& element, double (&values)[3]) {
    if (!element) return true;
    std::optional<document_view> triple = get_document(element);
    if (!triple) return false;
    element_view value;
    for (std::size_t i = 0; i < 3 && triple->take(value); ++i) {
        if (!read_double(value, values[i])) return false;
    }
    return true;
}

// CDL values are there when there is a saturation; without one the component is bytes.
bool read_values(const document_view& component, received_component& out) {
    const element_view saturation = component.find("saturation");
    if (!saturation) {
        out.kind = LUTC_KIND_CDL;
        return read_data(component, out);
    }
    out.kind = LUTC_KIND_SATURATION;
    out.cdl_values.reset(static_cast<cdl*>(std::calloc(1, sizeof(cdl))));
    if (out.cdl_values == nullptr) throw std::bad_alloc();
    return read_double(saturation, out.cdl_values->saturation) &&
           read_triple(component.find("power"), out.cdl_values->power) &&
           read_triple(component.find("slope"), out.cdl_values->slope) &&
           read_triple(component.find("offset"), out.cdl_values->offset);
}

bool read_component(const element_view& element, received_component& out) {
    const std::optional<document_view> component = get_document(element);
    std::string_view type_name;
    if (!component || !read_text(component->find("type"), type_name) ||
        !read_int32(component->find("typeIndex"), out.type_index)) {
        return false;
    }
    const component_kind* const kind = find_kind(type_name);
    if (kind == nullptr || kind->content == component_content::pattern) return true;
    if (kind->content == component_content::values) return read_values(*component, out);
    return read_table(*component, kind->kind, out);
}

}  // namespace

message_kind kind_of(const message& received) {
    if (!bsonDocument::isMessageValid(received.bytes, received.size, false)) return message_kind::broken;
    const document_view document(received.bytes, received.size);
    std::string_view type_name;
    if (!document.count() || !read_text(document.find("type"), type_name)) return message_kind::broken;
    if (type_name != "response") return message_kind::event;
    int code;
    if (!read_int32(document.find("code"), code)) return message_kind::broken;
    return code == 0 ? message_kind::success : message_kind::refusal;
}

bool document_view::take(element_view& first) {
    const bson_type type{bytes_[next_]};
    if (next_ == last_ || !is_known_type(type)) return false;
    const std::string_view key(reinterpret_cast<const char*>(bytes_ + next_ + 1));
    const auto body = static_cast<std::uint32_t>(next_ + 1 + key.size() + 1);
    lutc_bson::extent value;
    if (!lutc_bson::find_extent(bytes_, type, body, last_, value)) return false;
    first = {type, key, bytes_ + value.begin, value.end - value.begin};
    next_ = value.end;
    return true;
}

element_view document_view::find(std::string_view key) const {
    document_view left = *this;
    for (element_view element; left.take(element);) {
        if (element.key == key) return element;
    }
    return {};
}

std::optional<std::size_t> document_view::count() const {
    document_view left = *this;
    std::size_t number = 0;
    for (element_view element; left.take(element);) ++number;
    return left.next_ == last_ ? std::optional(number) : std::nullopt;
}

std::optional<document_view> get_document(const element_view& element) {
    if (element.type != bson_type::document && element.type != bson_type::array) return std::nullopt;
    const document_view document(element.value, element.size);
    return document.count() ? std::optional(document) : std::nullopt;
}

bool read_int32(const element_view& element, int& value) {
    if (element.type != bson_type::int32) return false;
    value = static_cast<int>(lutc_bson::load32(element.value));
    return true;
}

bool read_number(const element_view& element, int& value) {
    if (element.type != bson_type::boolean) return read_int32(element, value);
    value = *element.value;
    return true;
}

bool read_double(const element_view& element, double& value) {
    if (element.type != bson_type::real) return false;
    const std::uint64_t bits = lutc_bson::load64(element.value);
    std::memcpy(&value, &bits, sizeof value);
    return true;
}

bool read_text(const element_view& element, std::string_view& text) {
    if (element.type != bson_type::string) return false;
    text = {reinterpret_cast<const char*>(element.value), element.size == 0 ? 0 : element.size - 1};
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
    copy_text(copy, text.size() + 1, text);
    return copy;
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

bool read_components(const document_view& reply, int capacity, std::vector<received_component>& components) {
    const element_view element = reply.find("gradeCombo");
    if (!element || capacity <= 0) return true;
    std::optional<document_view> list = get_document(element);
    if (!list) return false;
    components.resize(std::min(*list->count(), static_cast<std::size_t>(capacity)));
    element_view each;
    for (received_component& component : components) {
        if (!list->take(each) || !read_component(each, component)) return false;
    }
    return true;
}

}  // namespace lutc_calls
