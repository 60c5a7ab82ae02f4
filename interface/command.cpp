#include "interface/command.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "bson/element.h"
#include "interface/component_kinds.h"

namespace lutc_calls {
namespace {

std::string index_key(int index) { return std::to_string(index); }

template <class... Arguments>
void append_new(bsonDocument& document, Arguments&&... arguments) {
    lutc_bson::append(document.elementList, std::make_unique<bsonElement>(std::forward<Arguments>(arguments)...));
}

void adopt(bsonDocument& document, const std::string& key, document_ptr inner, bool is_array) {
    document.addDocumentElement(key, inner.get(), is_array);
    inner.release();
}

// An array of three values, under the keys "0", "1", "2".
template <class Value, class Element = Value>
document_ptr array_of_three(const Value (&values)[3]) {
    auto array = std::make_unique<bsonDocument>();
    for (int i = 0; i < 3; ++i) add_element(*array, i, static_cast<Element>(values[i]));
    return array;
}

bool is_component_sendable(const gradeComponent& component, grade_use use) {
    const component_kind* const kind = find_kind(component.kind);
    if (kind == nullptr) return true;
    const bool has_data = is_sendable(component.data, component.dataSize);
    switch (kind->content) {
        case component_content::values:
            return component.cdlValues != nullptr || has_data;
        case component_content::table:
            return component.dataFormat != nullptr && has_data;
        case component_content::pattern:
            break;
    }
    return use == grade_use::preset || (component.pattern != nullptr && component.pattern->patternType != nullptr);
}

void add_values(bsonDocument& document, const gradeComponent& component) {
    add_element(document, "dataFormat", "cdl");
    if (component.cdlValues != nullptr) {
        add_cdl(document, *component.cdlValues);
    } else {
        add_element(document, "data", component.data, component.dataSize);
    }
}

void add_table(bsonDocument& document, const gradeComponent& component) {
    add_element(document, "dataFormat", component.dataFormat);
    add_element(document, "data", component.data, component.dataSize);
}

void add_test_pattern(bsonDocument& document, const testPattern& pattern) {
    add_element(document, "patternType", pattern.patternType);
    add_element(document, "videoFormat", pattern.videoFormat);
    if (std::strcmp(pattern.patternType, "square") != 0) return;
    add_element(document, "squareSize", pattern.squareSize);
    add_element(document, "fgColor", array_of_three<std::uint16_t, int>(pattern.fgColor));
    add_element(document, "bgColor", array_of_three<std::uint16_t, int>(pattern.bgColor));
}

// A component that can't be sent keeps its place with its index alone.
document_ptr component_document(const gradeComponent& component, grade_use use) {
    auto document = std::make_unique<bsonDocument>();
    add_index(*document, "typeIndex", component.typeIndex);
    const component_kind* const kind = find_kind(component.kind);
    if (kind == nullptr || (kind->content == component_content::pattern && use == grade_use::preset)) return document;
    add_element(*document, "type", kind->name);
    switch (kind->content) {
        case component_content::values:
            add_values(*document, component);
            break;
        case component_content::table:
            add_table(*document, component);
            break;
        case component_content::pattern:
            add_test_pattern(*document, *component.pattern);
            break;
    }
    return document;
}

}  // namespace

document_ptr new_command(const char* name) {
    auto document = std::make_unique<bsonDocument>();
    document->elementList.reserve(16);
    add_element(*document, "protocolVersion", "2.0");
    add_element(*document, "type", "command");
    add_element(*document, "msgID", 1);
    add_element(*document, "command", name);
    return document;
}

void add_element(bsonDocument& document, const char* key, int value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, bool value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, double value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, const char* value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, const unsigned char* bytes, int count) {
    append_new(document, key, bytes, static_cast<std::uint32_t>(count), false, std::uint8_t{0});
}

void add_element(bsonDocument& document, const char* key, document_ptr array) {
    adopt(document, key, std::move(array), true);
}

void add_element(bsonDocument& document, int index, int value) { append_new(document, index_key(index), value); }

void add_element(bsonDocument& document, int index, double value) { append_new(document, index_key(index), value); }

void add_element(bsonDocument& document, int index, document_ptr embedded) {
    adopt(document, index_key(index), std::move(embedded), false);
}

void add_index(bsonDocument& document, const char* key, int index) {
    if (index > 0) add_element(document, key, index);
}

bool is_sendable(const unsigned char* bytes, int size) { return size == 0 || (size > 0 && bytes != nullptr); }

bool are_sendable(const gradeComponent* components, int count, grade_use use) {
    if (count > 0 && components == nullptr) return false;
    for (int i = 0; i < count; ++i) {
        if (!is_component_sendable(components[i], use)) return false;
    }
    return true;
}

void add_cdl(bsonDocument& document, const cdl& values) {
    add_element(document, "power", array_of_three(values.power));
    add_element(document, "slope", array_of_three(values.slope));
    add_element(document, "offset", array_of_three(values.offset));
    add_element(document, "saturation", values.saturation);
}

void add_components(bsonDocument& document, const gradeComponent* components, int count, grade_use use) {
    auto list = std::make_unique<bsonDocument>();
    for (int i = 0; i < count; ++i) add_element(*list, i, component_document(components[i], use));
    add_element(document, "gradeCombo", std::move(list));
}

}  // namespace lutc_calls
