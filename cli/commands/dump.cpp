// lutc dump
#include <memory>
#include <vector>

#include <lutc/bsonDocument.h>
#include "bson/validator.h"
#include "bson/wire_format.h"
#include "cli/commands/commands.h"
#include "cli/commands/document_json.h"
#include "cli/console/files.h"

namespace lutc_cli {
namespace {

using lutc_bson::rule;
using lutc_bson::verdict;

constexpr std::size_t document_limit = 256u << 20;

// A message on the way through the command.
struct input {
    std::string path;
    std::vector<unsigned char> bytes;

    std::uint32_t size() const { return static_cast<std::uint32_t>(bytes.size()); }
};

// Why the message is not valid. A rule that speaks of a length finds it at the verdict's position.
std::string describe(const verdict& found, const unsigned char* at) {
    const std::string room = std::to_string(found.room);
    switch (found.broken) {
        case rule::smallest_size:
            return "a document has at least 5 bytes; here are " + room;
        case rule::length:
            return "the length says " + std::to_string(lutc_bson::load32(at)) + " bytes; there are " + room;
        case rule::last_byte:
            return "the document does not end with a zero byte";
        case rule::key_end:
            return "the key of this element does not end before its document does";
        case rule::array_key:
            return "the key is not the index of this element in its array";
        case rule::body_end:
            return "the value does not end before its document does; " + room + " bytes are left for it";
        case rule::boolean:
            return "a boolean is 0 or 1";
        case rule::text_end:
            return "the text does not end with a zero byte";
        case rule::code_length:
            return "the code leaves no room for its scope";
        default:
            return {};
    }
}

failure defective(const input& message, std::uint32_t position, const std::string& reason) {
    constexpr std::size_t shown = 200;  // of a path that may be as long as the message
    std::string path = lutc_bson::path_to(message.bytes.data(), message.size(), position);
    if (path.size() > shown) path = "..." + path.substr(path.size() - shown);
    if (!path.empty()) path = "element '" + path + "': ";
    return failure(exit_usage, message.path + ": at byte " + std::to_string(position) + ": " + path + reason);
}

// Makes every name and text of a document fit for one line, so that none looks like another element.
void make_printable(bsonDocument& root) {
    std::vector<bsonDocument*> left = {&root};
    while (!left.empty()) {
        const bsonDocument* const document = left.back();
        left.pop_back();
        for (bsonElement* element : document->elementList) {
            element->key = printable(element->key);
            const std::uint8_t type = element->valueType;
            if (type == bson_type::string || type == bson_type::javascript) {
                element->setStringValue(printable(element->getStringValue()));
                element->valueType = type;
            }
            if (element->documentValue != nullptr) left.push_back(element->documentValue);
        }
    }
}

void dump(const output_style& style, const std::string& file) {
    const input message{file == "-" ? "standard input" : file, read_file(file, document_limit)};
    const unsigned char* const bytes = message.bytes.data();
    const verdict found = lutc_bson::validate(bytes, message.size(), false);
    if (found.broken != rule::none) {
        throw defective(message, found.position, describe(found, bytes + found.position));
    }

    std::string unknown;
    if (found.unknown_type != lutc_bson::nowhere) {
        char text[32];
        std::snprintf(text, sizeof text, "type byte 0x%02X is unknown", unsigned{bytes[found.unknown_type]});
        unknown = text;
    }
    bsonDocument document(bytes, message.size(), false, false);
    if (document.convertMessageToElementList(true) != 1) throw defective(message, found.unknown_type, unknown);
    if (style.json) {
        print_document_json(bytes, message.size());
    } else {
        make_printable(document);
        document.debugPrint(0);
    }
    // An embedded document is decoded as far as it goes, without a word.
    if (!unknown.empty()) {
        throw defective(message, found.unknown_type,
                        unknown + "; the dump leaves out what follows in that embedded document");
    }
}

struct dump_options {
    std::string file;

    void declare(const command& to) {
        to.add_text("file", file, "A file with one document; - for standard input").require();
    }

    void run(const output_style& style) const { dump(style, file); }
};

}  // namespace

void add_dump(const command& tool) { tool.add<dump_options>("dump", "Print a BSON document, or say why it is none"); }

}  // namespace lutc_cli
