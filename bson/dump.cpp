#include <algorithm>
#include <cstdio>
#include <string>

#include "bson/bsonDocument.h"
#include "bson/element.h"
#include "bson/tree_walk.h"
#include "bson/wire_format.h"

using namespace lutc_bson;

namespace {

void indent(std::int32_t level) {
    for (; level > 0; --level) std::putchar('\t');
}

// The first eight bytes in hexadecimal.
std::string previewOf(const bsonElement& element) {
    constexpr std::uint32_t shown = 8;
    const std::uint32_t size = readableSize(element);
    std::string text;
    for (std::uint32_t i = 0; i < std::min(size, shown); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, i == 0 ? "%02X" : ",%02X", static_cast<unsigned>(element.value[i]));
        text += digits;
    }
    return size > shown ? text + ",..." : text;
}

void printLine(const bsonElement& element) {
    const char* const key = element.key.c_str();
    switch (element.valueType) {
        case type::real:
            std::printf("%s:(double)%f\n", key, element.getDoubleValue());
            break;
        case type::string:
            std::printf("%s:(string)%s\n", key, element.getStringValue().c_str());
            break;
        case type::document:
            std::printf("%s:(embedded document){\n", key);
            break;
        case type::array:
            std::printf("%s:(array document)[\n", key);
            break;
        case type::binary:
            std::printf("%s:(binary [length=%d])%s\n", key, static_cast<int>(element.valueSize),
                        previewOf(element).c_str());
            break;
        case type::undefined:
            std::printf("%s:(undefined)\n", key);
            break;
        case type::objectId:
            std::printf("%s:(object id)\n", key);
            break;
        case type::boolean:
            std::printf("%s:(boolean)%s\n", key, element.getBoolValue() ? "true" : "false");
            break;
        case type::utc:
            std::printf("%s:(utc)%lld\n", key, static_cast<long long>(element.getInt64Value()));
            break;
        case type::null:
            std::printf("%s:(null)\n", key);
            break;
        case type::regularExpression:
            std::printf("%s:(regular expression)\n", key);
            break;
        case type::dbPointer:
            std::printf("%s:(db pointer)\n", key);
            break;
        case type::javascript:
            std::printf("%s:(javascript)%s\n", key, element.getStringValue().c_str());
            break;
        case type::symbol:
            std::printf("%s:(deprecated)\n", key);
            break;
        case type::javascriptWithScope:
            std::printf("%s:(javascript with scope)\n", key);
            break;
        case type::int32:
            std::printf("%s:(int32)%d\n", key, element.getInt32Value());
            break;
        case type::timestamp:
            std::printf("%s:(timestamp)%lld\n", key, static_cast<long long>(element.getInt64Value()));
            break;
        case type::int64:
            std::printf("%s:(int64)%lld\n", key, static_cast<long long>(element.getInt64Value()));
            break;
        case type::maxKey:
            std::printf("%s:(max key)\n", key);
            break;
        case type::minKey:
            std::printf("%s:(min key)\n", key);
            break;
        default:
            std::printf("%s:(unknown)\n", key);
            break;
    }
}

// mark is the level of the lines.
struct printer {
    std::int32_t mark;

    const bsonDocument* visit(const bsonElement& element) {
        indent(mark);
        printLine(element);
        if (!isDocumentType(element.valueType) || element.documentValue == nullptr) return nullptr;
        ++mark;
        return element.documentValue;
    }

    void leave(const bsonElement& holder, std::int32_t level) {
        indent(level - 1);
        std::printf(holder.valueType == type::array ? "%s]\n" : "%s}\n", "");
    }
};

}  // namespace

void bsonDocument::debugPrint(std::int32_t level) const {
    printer out{level};
    walkTree(*this, out);
}

void bsonElement::debugPrint(std::int32_t level) const {
    printer out{level};
    const bsonDocument* const inner = out.visit(*this);
    if (inner == nullptr) return;
    const std::int32_t innerLevel = out.mark;
    walkTree(*inner, out);
    out.leave(*this, innerLevel);
}
