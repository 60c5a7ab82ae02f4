#include "terminal/description.h"

#include <cstdint>
#include <cstdio>

#include "terminal/text.h"

namespace lutc_terminal {

namespace {

constexpr std::size_t max_described = 1000;
constexpr int max_described_depth = 3;

template <class... Values>
std::string print(const char* format, Values... values) {
    char text[32];
    std::snprintf(text, sizeof text, format, values...);
    return text;
}

std::string describe_bytes(const bsonElement& element) {
    constexpr std::uint32_t shown = 8;
    const std::uint32_t size = element.getValueSize();
    std::string text = "[" + std::to_string(size) + " bytes";
    for (std::uint32_t i = 0; i < size && i < shown; ++i)
        text += print(" %02x", static_cast<unsigned>(element.getValue()[i]));
    return text + (size > shown ? " ...]" : "]");
}

std::string describe_scalar(const bsonElement& element) {
    switch (bson_type{element.getValueType()}) {
        case bson_type::real:
            return print("%g", element.getDoubleValue());
        case bson_type::string:
            return quote(element.getStringValue());
        case bson_type::null:
            return "null";
        case bson_type::boolean:
            return element.getBoolValue() ? "true" : "false";
        case bson_type::int32:
            return std::to_string(element.getInt32Value());
        case bson_type::int64:
            return std::to_string(element.getInt64Value());
        default:
            return describe_bytes(element);
    }
}

bool is_same_in_every_message(const bsonElement& element) {
    return element.key == "protocolVersion" || element.key == "msgID" || element.key == "command" ||
           (element.key == "type" && (element.getStringValue() == "command" || element.getStringValue() == "response"));
}

void describe_elements(const bsonDocument& document, bool keys, int depth, std::string& text) {
    const char* separator = "";
    for (const bsonElement* element : document.elementList) {
        if (depth == 0 && is_same_in_every_message(*element)) continue;
        text += separator;
        separator = " ";
        if (text.size() > max_described) {
            text += "...";
            return;
        }
        if (keys) text += escape(element->key) + "=";
        const bsonDocument* inner = element->getDocumentValue();
        const bool is_array = element->getValueType() == bson_type::array;
        if (depth == 0 && element->key == "message") {
            text += quote(element->getStringValue(), max_described);
        } else if (!is_array && element->getValueType() != bson_type::document) {
            text += describe_scalar(*element);
        } else {
            text += is_array ? "[" : "{";
            if (inner == nullptr || depth >= max_described_depth) {
                text += "...";
            } else {
                describe_elements(*inner, !is_array, depth + 1, text);
            }
            text += is_array ? "]" : "}";
        }
    }
}

}  // namespace

std::string describe(const bsonDocument& document) {
    std::string text;
    describe_elements(document, true, 0, text);
    return text;
}

}  // namespace lutc_terminal
