#include "simulator/description.h"

#include <cstdint>
#include <cstdio>

#include "simulator/refusal.h"

namespace simulator {

namespace {

constexpr std::size_t max_described = 1000;
constexpr int max_described_depth = 3;

void describe_elements(const bsonDocument& document, bool keys, int depth, std::string& text);

void describe_bytes(const bsonElement& element, std::string& text) {
    constexpr std::uint32_t shown = 8;
    const std::uint32_t size = element.getValueSize();
    text += "[" + std::to_string(size) + " bytes";
    for (std::uint32_t i = 0; i < size && i < shown; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, " %02x", static_cast<unsigned>(element.getValue()[i]));
        text += digits;
    }
    text += size > shown ? " ...]" : "]";
}

void describe_value(const bsonElement& element, int depth, std::string& text) {
    const bsonDocument* inner = element.getDocumentValue();
    char number[32];
    switch (element.getValueType()) {
        case 0x01:
            std::snprintf(number, sizeof number, "%g", element.getDoubleValue());
            text += number;
            return;
        case 0x02:
            text += quoted(element.getStringValue());
            return;
        case 0x03:
        case 0x04: {
            const bool is_array = element.getValueType() == 0x04;
            text += is_array ? "[" : "{";
            if (inner == nullptr || depth >= max_described_depth) {
                text += "...";
            } else {
                describe_elements(*inner, !is_array, depth + 1, text);
            }
            text += is_array ? "]" : "}";
            return;
        }
        case 0x0A:
            text += "null";
            return;
        case 0x08:
            text += element.getBoolValue() ? "true" : "false";
            return;
        case 0x10:
            text += std::to_string(element.getInt32Value());
            return;
        case 0x12:
            text += std::to_string(element.getInt64Value());
            return;
        default:
            describe_bytes(element, text);
    }
}

bool same_in_every_message(const bsonElement& element) {
    return element.key == "protocolVersion" || element.key == "msgID" || element.key == "command" ||
           (element.key == "type" && (element.getStringValue() == "command" || element.getStringValue() == "response"));
}

void describe_elements(const bsonDocument& document, bool keys, int depth, std::string& text) {
    const char* separator = "";
    for (const bsonElement* element : document.elementList) {
        if (depth == 0 && same_in_every_message(*element)) continue;
        text += separator;
        separator = " ";
        if (text.size() > max_described) {
            text += "...";
            return;
        }
        if (keys) {
            const std::string key = quoted(element->key);
            text += key.substr(1, key.size() - 2) + "=";
        }
        if (depth == 0 && element->key == "message") {
            text += quoted(element->getStringValue(), max_message_size);
        } else {
            describe_value(*element, depth, text);
        }
    }
}

}  // namespace

std::string described(const bsonDocument& document) {
    std::string text;
    describe_elements(document, true, 0, text);
    return text;
}

}  // namespace simulator
