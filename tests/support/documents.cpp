#include "tests/support/documents.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace {

using json = nlohmann::ordered_json;

std::unique_ptr<bsonDocument> from_json(const json& object) {
    auto document = std::make_unique<bsonDocument>();
    for (const auto& item : object.items()) {
        const std::string& key = item.key();
        const json& value = item.value();
        if (value.is_structured()) {
            document->addDocumentElement(key, from_json(value).release(), value.is_array());
        } else if (value.is_boolean()) {
            document->addBooleanElement(key, value.get<bool>());
        } else if (value.is_number_integer()) {
            document->addInt32Element(key, value.get<std::int32_t>());
        } else if (value.is_number_float()) {
            document->addDoubleElement(key, value.get<double>());
        } else if (value.is_null()) {
            document->elementList.push_back(new bsonElement(key));
        } else if (const auto text = value.get<std::string>(); text.rfind("hex:", 0) == 0) {
            const std::string bytes = from_hex(text.substr(4));
            document->addBinaryElement(key, bytes_of(bytes), size_of(bytes));
        } else {
            document->addStringElement(key, text);
        }
    }
    return document;
}

std::string value_text(const bsonElement& element) {
    switch (element.valueType) {
        case 0x01:
            return json(element.getDoubleValue()).dump();
        case 0x02:
            return "'" + element.getStringValue() + "'";
        case 0x03:
        case 0x04:
            return text_of(*element.documentValue, element.valueType == 0x04);
        case 0x05:
            if (element.binarySubtype != 0) break;
            return "'hex:" + to_hex(element.value, element.valueSize) + "'";
        case 0x08:
            return element.getBoolValue() ? "true" : "false";
        case 0x0A:
            return "null";
        case 0x10:
            return std::to_string(element.getInt32Value());
    }
    return "<" + to_hex(&element.valueType, 1) + " " + to_hex(&element.binarySubtype, 1) + ":" +
           to_hex(element.value, element.valueSize) + ">";
}

}  // namespace

std::unique_ptr<bsonDocument> document_from(const std::string& text) {
    std::string quoted = text;
    std::replace(quoted.begin(), quoted.end(), '\'', '"');
    return from_json(json::parse(quoted));
}

std::string text_of(const bsonDocument& document, bool isArray) {
    std::string text;
    std::size_t index = 0;
    for (const bsonElement* element : document.elementList) {
        if (!text.empty()) text += ",";
        if (!isArray) {
            text += "'" + element->key + "':";
        } else if (element->key != std::to_string(index++)) {
            text += "<key " + element->key + ">";
        }
        text += value_text(*element);
    }
    return isArray ? "[" + text + "]" : "{" + text + "}";
}

std::string encoded(bsonDocument& document) {
    document.convertElementListToMessage();
    return std::string(reinterpret_cast<const char*>(document.message), document.messageSize);
}

std::string encoded(const std::string& text) { return encoded(*document_from(text)); }

std::string decoded(const std::string& bytes) {
    bsonDocument document(bytes_of(bytes), size_of(bytes), true, false);
    return document.convertMessageToElementList(true) == 1 ? text_of(document) : "<invalid>";
}

std::string from_hex(const std::string& hex) {
    std::string digits;
    std::copy_if(hex.begin(), hex.end(), std::back_inserter(digits), [](char c) { return c != ' '; });
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

std::string to_hex(const void* bytes, std::size_t size) {
    static const char digits[] = "0123456789ABCDEF";
    std::string hex;
    for (std::size_t i = 0; i < size; ++i) {
        const unsigned char byte = static_cast<const unsigned char*>(bytes)[i];
        hex += digits[byte >> 4];
        hex += digits[byte & 15];
    }
    return hex;
}
