#include "interface/grade_records.h"

#include <cstddef>
#include <cstring>

// The records' layouts are part of the library's binary interface.
static_assert(sizeof(cdl) == 80 && offsetof(cdl, offset) == 0 && offsetof(cdl, power) == 24 &&
              offsetof(cdl, slope) == 48 && offsetof(cdl, saturation) == 72);
static_assert(offsetof(testPattern, videoFormat) == sizeof(void*) && offsetof(testPattern, squareSize) == 2 * 8 &&
              offsetof(testPattern, fgColor) == 24 && offsetof(testPattern, bgColor) == 30);
static_assert(offsetof(gradeComponent, kind) == 0 && offsetof(gradeComponent, data) == sizeof(void*) &&
              offsetof(gradeComponent, dataSize) == 2 * sizeof(void*) &&
              offsetof(gradeComponent, typeIndex) == 2 * sizeof(void*) + 4 &&
              offsetof(gradeComponent, dataFormat) == 2 * sizeof(void*) + 8 &&
              offsetof(gradeComponent, cdlValues) == 3 * sizeof(void*) + 8 &&
              offsetof(gradeComponent, pattern) == 4 * sizeof(void*) + 8 &&
              sizeof(gradeComponent) == 5 * sizeof(void*) + 8);
static_assert(sizeof(gradeCombo) == 4 * sizeof(char*));
static_assert(offsetof(presetEntry, gradeComboIndex) == 36 && offsetof(presetEntry, gradeCombo) == 40 &&
              sizeof(presetEntry) == 40 + sizeof(gradeCombo));
static_assert(offsetof(gradeChannel, supportedGradeComboIndices) == 36 && sizeof(gradeChannel) == 52);
static_assert(offsetof(videoConnection, sourceIndex) == 4 && offsetof(videoConnection, destinationType) == 8 &&
              offsetof(videoConnection, destinationIndex) == 12 && sizeof(videoConnection) == 16);

namespace lutc {
namespace {

bool is_component_sendable(const gradeComponent& component, grade_use use) {
    switch (component.kind) {
        case LUTC_KIND_CDL:
        case LUTC_KIND_SATURATION:
            return component.cdlValues != nullptr || is_sendable(component.data, component.dataSize);
        case LUTC_KIND_LUT_1D:
        case LUTC_KIND_LUT_3D:
            return component.dataFormat != nullptr && is_sendable(component.data, component.dataSize);
        case LUTC_KIND_TEST_PATTERN:
            return use == grade_use::preset ||
                   (component.pattern != nullptr && component.pattern->patternType != nullptr);
        default:
            return true;
    }
}

void add_values(bsonDocument& document, const gradeComponent& component, const char* type_name) {
    add_element(document, "type", type_name);
    add_element(document, "dataFormat", "cdl");
    if (component.cdlValues != nullptr) {
        add_cdl(document, *component.cdlValues);
    } else {
        add_element(document, "data", component.data, component.dataSize);
    }
}

void add_table(bsonDocument& document, const gradeComponent& component, const char* type_name) {
    add_element(document, "type", type_name);
    add_element(document, "dataFormat", component.dataFormat);
    add_element(document, "data", component.data, component.dataSize);
}

void add_test_pattern(bsonDocument& document, const testPattern& pattern) {
    add_element(document, "type", "tpg");
    add_element(document, "patternType", pattern.patternType);
    add_element(document, "videoFormat", pattern.videoFormat);
    if (std::strcmp(pattern.patternType, "square") != 0) return;
    add_element(document, "squareSize", pattern.squareSize);
    add_element(document, "fgColor", array_of_three<std::uint16_t, int>(pattern.fgColor));
    add_element(document, "bgColor", array_of_three<std::uint16_t, int>(pattern.bgColor));
}

document_ptr component_document(const gradeComponent& component, grade_use use) {
    auto document = std::make_unique<bsonDocument>();
    add_index(*document, "typeIndex", component.typeIndex);
    switch (component.kind) {
        case LUTC_KIND_CDL:
            add_values(*document, component, "cdl");
            break;
        case LUTC_KIND_SATURATION:
            add_values(*document, component, "saturation");
            break;
        case LUTC_KIND_LUT_1D:
            add_table(*document, component, "1dlut");
            break;
        case LUTC_KIND_LUT_3D:
            add_table(*document, component, "3dlut");
            break;
        case LUTC_KIND_TEST_PATTERN:
            if (use == grade_use::live) add_test_pattern(*document, *component.pattern);
            break;
        default:
            break;
    }
    return document;
}

}  // namespace

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

}  // namespace lutc
