#include "bench/samples.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include <lutc/bsonDocument.h>

namespace lutc_bench {
namespace {

using document_ptr = std::unique_ptr<bsonDocument>;

bytes encoded(bsonDocument& document) {
    document.convertElementListToMessage();
    return bytes(document.message, document.message + document.messageSize);
}

document_ptr envelope(const char* type) {
    auto document = std::make_unique<bsonDocument>();
    document->addStringElement("protocolVersion", std::string("2.0"));
    document->addStringElement("type", std::string(type));
    document->addInt32Element("msgID", 1);
    return document;
}

document_ptr response() {
    document_ptr document = envelope("response");
    document->addInt32Element("code", 0);
    return document;
}

document_ptr array_of_strings(std::initializer_list<const char*> values) {
    auto array = std::make_unique<bsonDocument>();
    std::int32_t index = 0;
    for (const char* const value : values) array->addStringElement(index++, std::string(value));
    return array;
}

document_ptr listed_preset(std::int32_t index) {
    char name[32];
    std::snprintf(name, sizeof name, "Scene %04d exterior daylight", index);
    auto entry = std::make_unique<bsonDocument>();
    entry->addStringElement("presetName", std::string(name));
    entry->addInt32Element("gradeComboIndex", index % 7 + 1);
    entry->addDocumentElement("gradeCombo", array_of_strings({"1dlut", "cdl", "3dlut"}).release(), true);
    return entry;
}

document_ptr table_component(const char* type, std::int32_t type_index, const char* format, std::size_t size) {
    const bytes data = table(size);
    auto component = std::make_unique<bsonDocument>();
    component->addInt32Element("typeIndex", type_index);
    component->addStringElement("type", std::string(type));
    component->addStringElement("dataFormat", std::string(format));
    component->addBinaryElement("data", data.data(), static_cast<std::uint32_t>(size));
    return component;
}

document_ptr cdl_component() {
    auto component = std::make_unique<bsonDocument>();
    component->addInt32Element("typeIndex", 1);
    component->addStringElement("type", std::string("cdl"));
    component->addStringElement("dataFormat", std::string("cdl"));
    for (const char* const key : {"power", "slope", "offset"}) {
        auto triple = std::make_unique<bsonDocument>();
        for (int i = 0; i < 3; ++i) triple->addDoubleElement(std::to_string(i), 0.25 * i + 0.875);
        component->addDocumentElement(key, triple.release(), true);
    }
    component->addDoubleElement("saturation", 0.9375);
    return component;
}

void append32(bytes& out, std::size_t value) {
    for (int shift = 0; shift < 32; shift += 8) out.push_back(static_cast<unsigned char>(value >> shift));
}

void append_text(bytes& out, const std::string& text) {
    out.insert(out.end(), text.begin(), text.end());
    out.push_back(0);
}

// A document of the elements.
bytes framed(const bytes& elements) {
    bytes out;
    out.reserve(elements.size() + 5);
    append32(out, elements.size() + 5);
    out.insert(out.end(), elements.begin(), elements.end());
    out.push_back(0);
    return out;
}

}  // namespace

bytes small_command() {
    document_ptr document = envelope("command");
    document->addStringElement("command", std::string("setSelectedPreset"));
    document->addInt32Element("channelIndex", 2);
    return encoded(*document);
}

bytes small_reply() { return encoded(*response()); }

bytes preset_list() {
    auto list = std::make_unique<bsonDocument>();
    for (std::int32_t i = 0; i < static_cast<std::int32_t>(listed_presets); ++i) {
        list->addDocumentElement(i, listed_preset(i).release(), false);
    }
    document_ptr document = response();
    document->addInt32Element("maxPresetsListSize", 4096);
    document->addDocumentElement("presetsList", list.release(), true);
    return encoded(*document);
}

bytes preset() {
    auto components = std::make_unique<bsonDocument>();
    components->addDocumentElement(0, table_component("3dlut", 1, "3dlut-float", table_size).release(), false);
    components->addDocumentElement(1, cdl_component().release(), false);
    components->addDocumentElement(2, table_component("1dlut", 1, "1dlut-float", curve_size).release(), false);
    components->addDocumentElement(3, table_component("3dlut", 2, "3dlut-float", table_size).release(), false);
    document_ptr document = response();
    document->addInt32Element("gradeComboIndex", 3);
    document->addDocumentElement("gradeCombo", components.release(), true);
    return encoded(*document);
}

bytes table(std::size_t size) {
    bytes result(size);
    std::uint32_t state = 1;
    for (unsigned char& byte : result) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(state >> 24);
    }
    return result;
}

bytes nested_documents(std::size_t depth, std::size_t documents) {
    constexpr unsigned char embedded = 0x03;
    bytes elements;
    for (std::size_t chain = 0; chain < documents / depth; ++chain) {
        for (std::size_t below = depth; below-- > 0;) {
            elements.push_back(embedded);
            append_text(elements, "a");
            append32(elements, 5 + 8 * below);
        }
        elements.insert(elements.end(), depth, 0);
    }
    return framed(elements);
}

bytes elements_in_a_row(std::size_t count) {
    constexpr unsigned char string = 0x02;
    constexpr unsigned char int32 = 0x10;
    const std::string text = "a few words";
    bytes elements;
    for (std::size_t i = 0; i < count; ++i) {
        char key[24];
        std::snprintf(key, sizeof key, "%07zu", i);
        elements.push_back(i % 2 == 0 ? int32 : string);
        append_text(elements, key);
        append32(elements, i % 2 == 0 ? i : text.size() + 1);
        if (i % 2 != 0) append_text(elements, text);
    }
    return framed(elements);
}

}  // namespace lutc_bench
