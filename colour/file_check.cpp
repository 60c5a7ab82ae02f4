#include "colour/file_check.h"

#include <expat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

#include "colour/error.h"

namespace colour {
namespace {

constexpr std::size_t max_file_size = 256U << 20U;
constexpr std::string_view blanks = " \t\r\v\f";

[[noreturn]] void refuse(const std::string& path, std::size_t line, const std::string& reason) {
    throw content_error(path + ", line " + std::to_string(line) + ": " + reason);
}

std::string quote(std::string_view text) { return "'" + std::string(text.substr(0, 40)) + "'"; }

// Empty for a number that every colour file may hold, else what is wrong with it.
std::string fault_of_number(std::string_view token) {
    const char* begin = token.data();
    const char* end = begin + token.size();
    if (token.size() > 1 && *begin == '+' && begin[1] != '-') ++begin;
    double value = 0.0;
    const std::from_chars_result result = std::from_chars(begin, end, value);
    if (result.ec == std::errc::invalid_argument) return quote(token) + " is not a number";
    if (result.ptr != end && *result.ptr == ',')
        return quote(token) + " has a comma; decimals are written with a point";
    if (result.ptr != end) return quote(token) + " is not a decimal number";
    if (result.ec != std::errc() || !(std::fabs(value) <= double{FLT_MAX})) return quote(token) + " is not finite";
    return {};
}

// Whether a line that begins so is meant as a row of numbers.
bool begins_row(std::string_view token) {
    if (token.find_first_of("+-.0123456789") == 0) return true;
    std::string lower(token);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower == "nan" || lower == "inf" || lower == "infinity";
}

std::vector<std::string_view> tokens_of(std::string_view line) {
    std::vector<std::string_view> tokens;
    while (true) {
        const std::size_t begin = line.find_first_not_of(blanks);
        if (begin == std::string_view::npos || line[begin] == '#') return tokens;
        line.remove_prefix(begin);
        tokens.push_back(line.substr(0, line.find_first_of(blanks)));
        line.remove_prefix(tokens.back().size());
    }
}

// The rows that the size lines of a .cube announce, and those that there are.
struct row_count {
    std::size_t announced = 0;
    std::size_t found = 0;
    bool is_announced = false;

    void announce(std::string_view keyword, std::string_view size_text) {
        std::size_t size = 0;
        std::from_chars(size_text.data(), size_text.data() + size_text.size(), size);
        if (size > 4096 && keyword == "LUT_3D_SIZE") return;  // the reader has its own limit
        announced += keyword == "LUT_3D_SIZE" ? size * size * size : size;
        is_announced = true;
    }
};

void check_numbers(const std::string& path, std::size_t line, const std::vector<std::string_view>& tokens,
                   std::size_t first) {
    for (std::size_t i = first; i < tokens.size(); ++i) {
        const std::string fault = fault_of_number(tokens[i]);
        if (!fault.empty()) refuse(path, line, fault);
    }
}

// Returns the number of lines.
std::size_t check_plain_text(const std::string& path, std::string_view text) {
    constexpr std::array<std::string_view, 7> number_keywords = {
        "DOMAIN_MIN", "DOMAIN_MAX", "LUT_1D_INPUT_RANGE", "LUT_3D_INPUT_RANGE", "LUT_1D_SIZE", "LUT_3D_SIZE", "From"};
    row_count rows;
    bool in_metadata = false;  // free text
    std::size_t line = 0;
    while (!text.empty()) {
        ++line;
        const std::size_t length = std::min(text.find('\n'), text.size());
        const std::vector<std::string_view> tokens = tokens_of(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
        if (tokens.empty()) continue;
        if (tokens.size() > 1 && tokens[1] == "METADATA") in_metadata = tokens[0] == "BEGIN";
        if (in_metadata) continue;
        const bool is_row = begins_row(tokens[0]);
        const bool is_known =
            std::find(number_keywords.begin(), number_keywords.end(), tokens[0]) != number_keywords.end();
        if (!is_row && rows.is_announced && rows.found > 0) refuse(path, line, quote(tokens[0]) + " is not a number");
        if (is_row || is_known) check_numbers(path, line, tokens, is_row ? 0 : 1);
        if (is_row && ++rows.found > rows.announced && rows.is_announced) {
            refuse(path, line, "a row more than the " + std::to_string(rows.announced) + " that its size calls for");
        }
        const bool is_size = tokens[0] == "LUT_1D_SIZE" || tokens[0] == "LUT_3D_SIZE";
        if (is_size && tokens.size() > 1) rows.announce(tokens[0], tokens[1]);
    }
    if (rows.is_announced && rows.found < rows.announced) {
        refuse(
            path, line,
            "the table ends after " + std::to_string(rows.found) + " of " + std::to_string(rows.announced) + " rows");
    }
    return line;
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
    xml_check(const std::string& path, std::string_view text) : parser_(XML_ParserCreate(nullptr), XML_ParserFree) {
        if (parser_ == nullptr) throw std::bad_alloc();
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(
            parser_.get(),
            [](void* self, const XML_Char* name, const XML_Char**) { static_cast<xml_check*>(self)->begin(name); },
            [](void* self, const XML_Char*) { static_cast<xml_check*>(self)->end(); });
        XML_SetCharacterDataHandler(parser_.get(), [](void* self, const XML_Char* characters, int length) {
            static_cast<xml_check*>(self)->read({characters, static_cast<std::size_t>(length)});
        });
        const XML_Status status = XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
        if (!fault_.empty()) refuse(path, fault_line_, fault_);
        if (status != XML_STATUS_OK) refuse(path, line(), XML_ErrorString(XML_GetErrorCode(parser_.get())));
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

    void begin(std::string name) {
        if (name == "SATNode") name = "SatNode";
        if (!open_.empty() && descriptions.count(name) == 0) {
            auto& [parent, parts] = open_.back();
            const auto known = cdl_parts.find(parent);
            const bool is_part = known != cdl_parts.end();
            if (is_part && known->second.count(name) == 0) fail(line(), "unknown element " + name + " in " + parent);
            if (is_part && !parts.insert(name).second) fail(line(), "a second " + name + " in the same " + parent);
        }
        open_.push_back({std::move(name), {}});
    }

    void end() {
        finish_token();
        const auto& [name, parts] = open_.back();
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
            if (c != '\n' && blanks.find(c) == std::string_view::npos) {
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
        token_.clear();
    }

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, void (*)(XML_Parser)> parser_;
    std::vector<element> open_;
    std::string token_;
    std::size_t token_line_ = 0;
    std::string fault_;
    std::size_t fault_line_ = 0;
};

std::string read_text(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file) throw error(path + ": can't be opened: " + std::strerror(errno));
    std::string text;
    char buffer[1 << 16];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get())) {
        text.append(buffer, count);
        if (text.size() > max_file_size) {
            throw content_error(path + ": has more than " + std::to_string(max_file_size) + " bytes");
        }
    }
    if (std::ferror(file.get()) != 0) throw error(path + ": can't be read: " + std::strerror(errno));
    return text;
}

}  // namespace

std::size_t check_colour_file(const std::string& path) {
    const std::string content = read_text(path);
    std::string_view text = content;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    if (text.substr(0, 4096).find('\0') != std::string_view::npos) return 0;
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos) throw content_error(path + ": the file is empty");
    if (text[begin] != '<') return check_plain_text(path, text);
    const xml_check check(path, text);
    return 0;
}

}  // namespace colour
