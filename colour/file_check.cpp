#include "cli/colour_reader.h"

#include <OpenColorIO/OpenColorIO.h>
#include <expat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "cli/files.h"
#include "cli/output.h"

namespace lutc_cli {

namespace OCIO = OCIO_NAMESPACE;

namespace {

constexpr std::size_t max_file_size = 256U << 20U;
constexpr std::string_view blanks = " \t\r\v\f";

[[noreturn]] void refuse(const std::string& path, std::size_t line, const std::string& reason) {
    throw Failure(exit_usage, path + ", line " + std::to_string(line) + ": " + reason);
}

std::string quoted(std::string_view text) { return "'" + std::string(text.substr(0, 40)) + "'"; }

// Empty for a number that every colour file may hold, else what is wrong with it.
std::string fault_of_number(std::string_view token) {
    const char* begin = token.data();
    const char* end = begin + token.size();
    if (token.size() > 1 && *begin == '+' && begin[1] != '-') ++begin;
    double value = 0.0;
    const std::from_chars_result result = std::from_chars(begin, end, value);
    if (result.ec == std::errc::invalid_argument) return quoted(token) + " is not a number";
    if (result.ptr != end && *result.ptr == ',')
        return quoted(token) + " has a comma; decimals are written with a point";
    if (result.ptr != end) return quoted(token) + " is not a decimal number";
    if (result.ec != std::errc() || !(std::fabs(value) <= double{FLT_MAX})) return quoted(token) + " is not finite";
    return {};
}

// Whether a line that begins so is a row of numbers, if only meant to be one.
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

// The rows that the size lines of a .cube announce, against those that there are.
class RowCount {
  public:
    void announce(std::string_view keyword, std::string_view size_text) {
        std::size_t size = 0;
        std::from_chars(size_text.data(), size_text.data() + size_text.size(), size);
        if (size > 4096 && keyword == "LUT_3D_SIZE") return;  // the reader has its own limit
        announced_ += keyword == "LUT_3D_SIZE" ? size * size * size : size;
        any_ = true;
    }
    // Whether the row is one too many.
    bool add() { return ++found_ > announced_ && any_; }
    bool begun() const { return any_ && found_ > 0; }
    bool short_of() const { return any_ && found_ < announced_; }
    std::string shown() const { return std::to_string(found_) + " of " + std::to_string(announced_) + " rows"; }
    std::size_t announced() const { return announced_; }

  private:
    std::size_t announced_ = 0;
    std::size_t found_ = 0;
    bool any_ = false;
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
    RowCount rows;
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
        if (!is_row && rows.begun()) refuse(path, line, quoted(tokens[0]) + " is not a number");
        if (is_row || is_known) check_numbers(path, line, tokens, is_row ? 0 : 1);
        if (is_row && rows.add()) {
            refuse(path, line, "a row more than the " + std::to_string(rows.announced()) + " that its size calls for");
        }
        if (is_known && tokens.size() > 1 && tokens[0].substr(4) == "1D_SIZE") rows.announce(tokens[0], tokens[1]);
        if (is_known && tokens.size() > 1 && tokens[0].substr(4) == "3D_SIZE") rows.announce(tokens[0], tokens[1]);
    }
    if (rows.short_of()) refuse(path, line, "the table ends after " + rows.shown());
    return line;
}

// Walks an XML colour file. Faults are kept and thrown after the parser has returned: it is written in C.
class XmlCheck {
  public:
    XmlCheck(const std::string& path, std::string_view text) : path_(path), parser_(XML_ParserCreate(nullptr)) {
        if (parser_ == nullptr) throw std::bad_alloc();
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), on_start, on_end);
        XML_SetCharacterDataHandler(parser_.get(), on_text);
        const XML_Status status = XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
        if (!fault_.empty()) refuse(path_, fault_line_, fault_);
        if (status != XML_STATUS_OK) refuse(path_, line(), XML_ErrorString(XML_GetErrorCode(parser_.get())));
    }

  private:
    struct Element {
        std::string name;
        std::vector<std::string> parts;  // of a CDL
    };
    struct FreeParser {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    static bool listed(const std::string& name, std::initializer_list<const char*> names) {
        return std::find(names.begin(), names.end(), name) != names.end();
    }
    static bool holds_numbers(const std::string& name) {
        return listed(name, {"Array", "IndexMap", "Slope", "Offset", "Power", "Saturation"});
    }

    std::size_t line() const { return XML_GetCurrentLineNumber(parser_.get()); }

    void fail(std::size_t at, const std::string& fault) {
        if (!fault_.empty()) return;
        fault_ = fault;
        fault_line_ = at;
        XML_StopParser(parser_.get(), XML_FALSE);
    }

    static void XMLCALL on_start(void* self, const XML_Char* name, const XML_Char** /*attributes*/) {
        static_cast<XmlCheck*>(self)->start(name);
    }
    static void XMLCALL on_end(void* self, const XML_Char* /*name*/) { static_cast<XmlCheck*>(self)->end(); }
    static void XMLCALL on_text(void* self, const XML_Char* text, int length) {
        static_cast<XmlCheck*>(self)->characters({text, static_cast<std::size_t>(length)});
    }

    void start(std::string name) {
        if (name == "SATNode") name = "SatNode";
        if (!open_.empty()) check_part(open_.back(), name);
        open_.push_back({std::move(name), {}});
    }

    // The parts of a CDL: each once, and no others, for the reader would ignore those.
    void check_part(Element& parent, const std::string& name) {
        const bool correction = parent.name == "ColorCorrection" || parent.name == "ASC_CDL";
        if (!correction && parent.name != "SOPNode" && parent.name != "SatNode") return;
        if (listed(name, {"Description", "InputDescription", "ViewingDescription"})) return;
        const bool known = correction                 ? listed(name, {"SOPNode", "SatNode"})
                           : parent.name == "SOPNode" ? listed(name, {"Slope", "Offset", "Power"})
                                                      : name == "Saturation";
        if (!known) fail(line(), "unknown element " + name + " in " + parent.name);
        const std::vector<std::string>& parts = parent.parts;
        if (std::find(parts.begin(), parts.end(), name) != parts.end()) {
            fail(line(), "a second " + name + " in the same " + parent.name);
        }
        parent.parts.push_back(name);
    }

    void end() {
        finish_token();
        const Element& element = open_.back();
        if (listed(element.name, {"ColorCorrection", "ASC_CDL"}) && element.parts.empty()) {
            fail(line(), element.name + " has neither a SOPNode nor a SatNode");
        }
        if (element.name == "SatNode" && element.parts.empty()) fail(line(), "SatNode has no Saturation");
        open_.pop_back();
    }

    void characters(std::string_view text) {
        if (open_.empty() || !holds_numbers(open_.back().name)) return;
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
        if (token_.empty()) return;
        const std::string fault = fault_of_number(token_);
        if (!fault.empty()) fail(token_line_, fault);
        token_.clear();
    }

    const std::string& path_;
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser> parser_;
    std::vector<Element> open_;
    std::string token_;
    std::size_t token_line_ = 0;
    std::string fault_;
    std::size_t fault_line_ = 0;
};

void replace_all(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

std::string on_one_line(const std::string& text) {
    std::string line;
    for (const char c : text) {
        const bool blank = c == '\n' || blanks.find(c) != std::string_view::npos;
        if (!blank) line += c;
        if (blank && !line.empty() && line.back() != ' ') line += ' ';
    }
    while (!line.empty() && (line.back() == ' ' || line.back() == '.')) line.pop_back();
    return line;
}

// The reader tries every format; the one that belongs to the file's extension says what is wrong.
std::string cause_of(const std::string& path, const std::string& message) {
    const std::string marker = "' failed with: ";
    const std::size_t first = message.find(marker);
    if (first == std::string::npos) return on_one_line(message);
    const std::size_t begin = first + marker.size();
    std::string cause = message.substr(begin, message.find(marker, begin) - begin);
    if (message.find(marker, begin) != std::string::npos) cause.resize(cause.rfind('\''));
    const std::string remark = "Does not appear to contain a valid ASC CDL XML:";
    if (const std::size_t at = cause.find(remark); at != std::string::npos) cause.erase(0, at + remark.size());
    replace_all(cause, " (" + path + ")", "");
    return on_one_line(cause);
}

// "NAME(LINE): what" as ", line LINE: what"; others as they are.
std::string tidied_warning(std::string warning) {
    const std::string prefix = "[OpenColorIO Warning]: ";
    if (warning.compare(0, prefix.size(), prefix) == 0) warning.erase(0, prefix.size());
    const std::size_t end = warning.find("): ");
    const std::size_t begin = end == std::string::npos ? end : warning.rfind('(', end);
    if (begin == std::string::npos) return ": " + on_one_line(warning);
    return ", line " + warning.substr(begin + 1, end - begin - 1) + ": " + on_one_line(warning.substr(end + 3));
}

// A clip's name beside its ColorCorrection: it carries no grade.
bool is_harmless(const std::string& warning) {
    return warning.find("'MediaRef' where its parent is 'ColorDecision'") != std::string::npos;
}

// Refuses what the reader would let pass. Returns the number of lines; 0 for XML and what is not text.
std::size_t check_colour_file(const std::string& path) {
    const std::vector<unsigned char> bytes = read_file(path, max_file_size);
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    if (text.substr(0, 4096).find('\0') != std::string_view::npos) return 0;
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string_view::npos) throw Failure(exit_usage, path + ": the file is empty");
    if (text[begin] != '<') return check_plain_text(path, text);
    const XmlCheck check(path, text);
    return 0;
}

}  // namespace

void guard_reader(const std::string& name, const std::function<void()>& read) {
    std::vector<std::string> warnings;
    std::string error;
    ::unsetenv("OCIO_LOGGING_LEVEL");  // it would outrank the level set here, and hide the warnings
    OCIO::SetLoggingLevel(OCIO::LOGGING_LEVEL_WARNING);
    OCIO::SetLoggingFunction([&warnings](const char* message) { warnings.emplace_back(message); });
    try {
        read();
    } catch (const OCIO::Exception& exception) {
        error = exception.what();
    } catch (...) {
        OCIO::ResetToDefaultLoggingFunction();
        throw;
    }
    OCIO::ResetToDefaultLoggingFunction();
    const auto first = std::find_if_not(warnings.begin(), warnings.end(), is_harmless);
    if (first != warnings.end()) throw Failure(exit_usage, name + tidied_warning(*first));
    if (!error.empty()) throw Failure(exit_usage, name + ": " + cause_of(name, error));
}

void read_colour_file(const std::string& path, const std::function<void()>& read) {
    const std::size_t lines = check_colour_file(path);
    try {
        guard_reader(path, read);
    } catch (const Failure& failure) {
        const std::string what = failure.what();
        const bool says_where = what.find("line ", path.size()) != std::string::npos ||
                                what.find("ine (", path.size()) != std::string::npos;
        if (says_where || lines == 0) throw;
        throw Failure(failure.code(), what + " (its last line is " + std::to_string(lines) + ")");
    }
}

}  // namespace lutc_cli
