#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string>

#include <lutc/bsonDocument.h>
#include "bson/element.h"
#include "bson/tree_walk.h"
#include "bson/wire_format.h"

using namespace lutc_bson;

namespace {

void indent(std::int32_t level) {
    for (; level > 0; --level) std::putchar('\t');
}

std::string kind_of(const bsonElement& element) {
    const auto* const known =
        std::find_if(std::begin(kinds), std::end(kinds), [&](const kind& k) { return element.valueType == k.type; });
    if (known == std::end(kinds)) return "unknown";
    if (element.valueType != bson_type::binary) return known->name;
    return "binary [length=" + std::to_string(static_cast<std::int32_t>(element.valueSize)) + "]";
}

// The first eight bytes in hexadecimal.
std::string preview_of(const bsonElement& element) {
    constexpr std::uint32_t shown = 8;
    const std::uint32_t size = readable_size(element);
    std::string text;
    for (std::uint32_t i = 0; i < std::min(size, shown); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, i == 0 ? "%02X" : ",%02X", static_cast<unsigned>(element.value[i]));
        text += digits;
    }
    return size > shown ? text + ",..." : text;
}

// What follows the kind; nothing for kinds whose value isn't shown.
std::string value_of(const bsonElement& element) {
    switch (bson_type{element.valueType}) {
        case bson_type::real:
            return std::to_string(element.getDoubleValue());  // six decimals
        case bson_type::string:
        case bson_type::javascript:
            return element.getStringValue();
        case bson_type::document:
            return "{";
        case bson_type::array:
            return "[";
        case bson_type::binary:
            return preview_of(element);
        case bson_type::boolean:
            return element.getBoolValue() ? "true" : "false";
        case bson_type::int32:
            return std::to_string(element.getInt32Value());
        case bson_type::utc:
        case bson_type::timestamp:
        case bson_type::int64:
            return std::to_string(element.getInt64Value());
        default:
            return {};
    }
}

void print_line(const bsonElement& element) {
    std::printf("%s:(%s)%s\n", element.key.c_str(), kind_of(element).c_str(), value_of(element).c_str());
}

struct printer {
    std::int32_t level;

    const bsonDocument* visit(const bsonElement& element) {
        indent(level);
        print_line(element);
        if (!is_document_type(element.valueType) || element.documentValue == nullptr) return nullptr;
        ++level;
        return element.documentValue;
    }

    void leave(const bsonElement& holder) {
        indent(--level);
        std::puts(holder.valueType == bson_type::array ? "]" : "}");
    }
};

}  // namespace

void bsonDocument::debugPrint(std::int32_t level) const {
    printer out{level};
    walk_tree(*this, out);
}

void bsonElement::debugPrint(std::int32_t level) const {
    printer out{level};
    const bsonDocument* const inner = out.visit(*this);
    if (inner == nullptr) return;
    walk_tree(*inner, out);
    out.leave(*this);
}
