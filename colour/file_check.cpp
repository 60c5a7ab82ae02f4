#include "colour/file_check.h"

#include <expat.h>

#include <cctype>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "colour/error.h"
#include "colour/file_format.h"
#include "colour/size_check.h"
#include "colour/text_file.h"

namespace colour {
namespace {

// Returns the number of lines, and leaves out the metadata, in which readers of other formats could find anything.
std::size_t check_plain_text(const std::string& path, std::string& text) {
    size_check sizes(path);
    std::string kept;
    bool has_metadata = false;
    const auto check = [&](std::string_view content, std::size_t line) {
        const std::vector<std::string_view> tokens = tokens_of(content);
        const bool is_row = !tokens.empty() && sizes.read(line, tokens);
        has_metadata = has_metadata || sizes.is_metadata();
        if (!sizes.is_metadata()) kept += content;
        kept += '\n';
        if (tokens.empty()) return;
        const bool is_range = tokens[0] == "From" && tokens.size() == 3;
        const std::size_t first = is_row ? 0 : is_range ? 1 : tokens.size();
        for (std::size_t i = first; i < tokens.size(); ++i) read_number(path, line, tokens[i]);
        if (is_range && !(read_number(path, line, tokens[1]) < read_number(path, line, tokens[2]))) {
            refuse(path, line, "the minimum of the inputs must be below their maximum");
        }
    };
    const std::size_t lines = for_each_line(text, check);
    sizes.finish();
    if (has_metadata) text = std::move(kept);
    return lines;
}

// The parts of a CDL's elements: each stands there at most once, and no other, for the reader would ignore it.
const std::map<std::string, std::set<std::string>> cdl_parts = {{"ColorCorrection", {"SOPNode", "SatNode"}},
                                                                {"ASC_CDL", {"SOPNode", "SatNode"}},
                                                                {"SOPNode", {"Slope", "Offset", "Power"}},
                                                                {"SatNode", {"Saturation"}}};
const std::set<std::string> descriptions = {"Description", "InputDescription", "ViewingDescription"};
const std::set<std::string> lists_of_numbers = {"Array", "IndexMap", "Slope", "Offset", "Power", "Saturation"};

// Walks an XML colour file. Faults are kept and thrown after the parser has returned: it is written in C.
class xml_check {
  public:
    xml_check(const std::string& path, std::string_view text, std::string root)
        : parser_(XML_ParserCreate(nullptr), XML_ParserFree), root_(std::move(root)) {
        if (parser_ == nullptr) throw std::bad_alloc();
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(
            parser_.get(),
            [](void* self, const XML_Char* name, const XML_Char** attributes) {
                static_cast<xml_check*>(self)->begin(name, attributes);
            },
            [](void* self, const XML_Char*) { static_cast<xml_check*>(self)->end(); });
        XML_SetCharacterDataHandler(parser_.get(), [](void* self, const XML_Char* characters, int length) {
            static_cast<xml_check*>(self)->read({characters, static_cast<std::size_t>(length)});
        });
        XML_SetStartDoctypeDeclHandler(parser_.get(),
                                       [](void* self, const XML_Char*, const XML_Char*, const XML_Char*, int) {
                                           auto* const check = static_cast<xml_check*>(self);
                                           check->fail(check->line(), "a document type, which no colour file has");
                                       });
        const XML_Status status = XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
        if (!fault_.empty()) refuse(path, fault_line_, fault_);
        if (status != XML_STATUS_OK) refuse(path, line(), XML_ErrorString(XML_GetErrorCode(parser_.get())));
    }

    // A CLF of SMPTE ST 2136-1 has no compCLFversion, and need not have an id: the reader is given them.
    std::string complete(std::string text) const {
        const std::string tag = "<ProcessList";
        if (!added_.empty() && text.compare(root_at_, tag.size(), tag) == 0) {
            text.insert(root_at_ + tag.size(), added_);
        }
        return text;
    }

  private:
    struct element {
        std::string name;
        std::set<std::string> parts;  // of a CDL
    };

    std::size_t line() const { return XML_GetCurrentLineNumber(parser_.get()); }

    void fail(std::size_t at, const std::string& fault) {
        if (!fault_.empty()) return;
        fault_ = fault;
        fault_line_ = at;
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    void begin(std::string name, const XML_Char** attributes) {
        if (name == "SATNode") name = "SatNode";
        std::map<std::string, std::string> values;
        for (; *attributes != nullptr && values.size() <= most_in_one; attributes += 2) {
            values[attributes[0]] = attributes[1];
        }
        check_structure(name, values.size());
        if (open_.empty() && name == "ProcessList") {
            root_at_ = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser_.get()));
            if (values.count("compCLFversion") + values.count("version") == 0) added_ += " compCLFversion=\"3\"";
            if (values.count("id") == 0) added_ += " id=\"none\"";
        }
        numbers_left_ = most_in_one;
        if (name == "Array") check_size(values["dim"]);
        if (!open_.empty() && descriptions.count(name) == 0) {
            auto& [parent, parts] = open_.back();
            const auto known = cdl_parts.find(parent);
            const bool is_part = known != cdl_parts.end();
            if (is_part && known->second.count(name) == 0) fail(line(), "unknown element " + name + " in " + parent);
            if (is_part && !parts.insert(name).second) fail(line(), "a second " + name + " in the same " + parent);
        }
        open_.push_back({std::move(name), {}});
    }

    // What would cost the reader much more than its size.
    void check_structure(const std::string& name, std::size_t attributes) {
        if (open_.empty() && name != root_) fail(line(), "the root is " + name.substr(0, 40) + ", not " + root_);
        if (open_.size() >= most_in_one) fail(line(), "elements that are nested too deep");
        if (attributes > most_in_one) fail(line(), "too many attributes");
        if (open_.size() == 1 && root_ == "ProcessList" && ++steps_ > most_in_one) fail(line(), "too many steps");
    }

    // "129 129 129 3" of a cube, "65536 3" of a curve, "3 4 3" or "3 4" of a matrix.
    void check_size(const std::string& dimensions) {
        const std::vector<std::string_view> sizes = tokens_of(dimensions);
        const bool is_matrix = !open_.empty() && open_.back().name == "Matrix";
        numbers_left_ = 1;
        const size_unit unit = sizes.size() == 2 ? size_unit::entries : size_unit::points;
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const bool is_last = i + 1 == sizes.size();
            const std::string fault = fault_of_size(sizes[i], is_matrix || is_last ? size_unit::channels : unit);
            if (!fault.empty()) return fail(line(), fault);
            // A matrix's third size is its number of channels; rows and columns alone say how many numbers there are.
            if (is_matrix && i == 2) continue;
            numbers_left_ *= static_cast<std::size_t>(std::stoul(std::string(sizes[i])));
        }
    }

    void end() {
        finish_token();
        const auto& [name, parts] = open_.back();
        if (name == "Array" && numbers_left_ > 0) {
            fail(line(), "the Array lacks " + std::to_string(numbers_left_) + " of its numbers");
        }
        if ((name == "ColorCorrection" || name == "ASC_CDL") && parts.empty()) {
            fail(line(), name + " has neither a SOPNode nor a SatNode");
        }
        if (name == "SatNode" && parts.empty()) fail(line(), "SatNode has no Saturation");
        open_.pop_back();
    }

    void read(std::string_view text) {
        if (open_.empty() || lists_of_numbers.count(open_.back().name) == 0) return;
        std::size_t at = line();
        for (const char c : text) {
            if (std::isspace(static_cast<unsigned char>(c)) == 0) {
                if (token_.empty()) token_line_ = at;
                token_ += c;
                continue;
            }
            finish_token();
            if (c == '\n') ++at;
        }
    }

    void finish_token() {
        const std::string fault = token_.empty() ? "" : fault_of_number(token_);
        if (!fault.empty()) fail(token_line_, fault);
        if (!token_.empty() && numbers_left_-- == 0) fail(token_line_, "more numbers than its size calls for");
        token_.clear();
    }

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser_;
    static constexpr std::size_t most_in_one = 100;

    std::string root_;
    std::size_t numbers_left_ = 0;  // of a list
    std::size_t steps_ = 0;
    std::vector<element> open_;
    std::string token_;
    std::size_t token_line_ = 0;
    std::string fault_;
    std::size_t fault_line_ = 0;
    std::size_t root_at_ = 0;
    std::string added_;  // attributes of the root
};

}  // namespace

file_facts check_colour_file(const std::string& path) {
    file_facts facts;
    facts.text = read_text(path);
    const std::string_view text = facts.text;
    const file_format& format = find_format(path, text);
    switch (format.kind) {
        case file_kind::cube:
            facts.cube = parse_cube_file(path, text);
            break;
        case file_kind::xml:
            facts.text = xml_check(path, text, format.beginning).complete(facts.text);
            break;
        case file_kind::edl:
        case file_kind::plain_text:
            facts.lines = check_plain_text(path, facts.text);
    }
    return facts;
}

}  // namespace colour
