// The document classes as a filter, for comparison with another codec.
//
// Standard input: documents, each with its length in front (4 bytes, low byte first). Standard output: a line for each:
//
//   refused                           no valid document, or one that doesn't decode
//   ENCODED VALUES                    what the decoded document encodes to, in hexadecimal; and the values
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <lutc/bsonDocument.h>

namespace {

std::string hex_of(const void* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<const unsigned char*>(bytes)[i]);
        text += digits;
    }
    return text;
}

std::string encoding_of(bsonDocument& document) {
    document.convertElementListToMessage();
    return hex_of(document.message, document.messageSize);
}

std::string values_of(const bsonDocument& document);

std::string value_of(const bsonElement& element) {
    char text[64];
    const std::string bytes = hex_of(element.getValue(), element.getValueSize());
    switch (element.getValueType()) {
        case 0x01:
            std::snprintf(text, sizeof text, "real:%.17g", element.getDoubleValue());
            return text;
        case 0x02:
            return "text:" + hex_of(element.getStringValue().data(), element.getStringValue().size());
        case 0x03:
            return "{" + values_of(*element.getDocumentValue()) + "}";
        case 0x04:
            return "[" + values_of(*element.getDocumentValue()) + "]";
        case 0x05:
            return "bytes:" + bytes;
        case 0x07:
            return "id:" + bytes;
        case 0x08:
            return element.getBoolValue() ? "true" : "false";
        case 0x09:
            std::snprintf(text, sizeof text, "time:%" PRId64, element.getInt64Value());
            return text;
        case 0x0A:
            return "null";
        case 0x10:
            std::snprintf(text, sizeof text, "int32:%" PRId32, element.getInt32Value());
            return text;
        case 0x12:
            std::snprintf(text, sizeof text, "int64:%" PRId64, element.getInt64Value());
            return text;
        default:
            std::snprintf(text, sizeof text, "%02x:", element.getValueType());
            return text + bytes;
    }
}

std::string values_of(const bsonDocument& document) {
    std::string text;
    for (const bsonElement* const element : document.elementList) {
        text += hex_of(element->key.data(), element->key.size()) + "=" + value_of(*element) + ",";
    }
    return text;
}

}  // namespace

int main() {
    unsigned char head[4];
    while (std::fread(head, 1, 4, stdin) == 4) {
        std::vector<unsigned char> bytes(head[0] | head[1] << 8 | head[2] << 16);
        if (std::fread(bytes.data(), 1, bytes.size(), stdin) != bytes.size()) return 1;
        bsonDocument document(bytes.data(), static_cast<std::uint32_t>(bytes.size()), true, false);
        if (document.convertMessageToElementList(true) != 1) {
            std::puts("refused");
            continue;
        }
        std::printf("%s %s\n", encoding_of(document).c_str(), values_of(document).c_str());
    }
    return 0;
}
