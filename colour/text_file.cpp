#include "colour/text_file.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>

#include "colour/error.h"

namespace colour {
namespace {

constexpr std::size_t max_file_size = 256U << 20U;
constexpr std::string_view blanks = " \t\r\v\f";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

std::from_chars_result parse(std::string_view token, double& value) {
    const bool is_signed = token.size() > 1 && token[0] == '+' && token[1] != '-';
    return std::from_chars(token.data() + (is_signed ? 1 : 0), token.data() + token.size(), value);
}

// A line of tiny words would cost many times its size. XML goes by its own limits.
void check_lines(const std::string& path, std::string_view text) {
    constexpr std::size_t longest = 1 << 20;
    if (text.substr(0, 1) == "<") return;
    for_each_line(text, [&path](std::string_view line, std::size_t number) {
        if (line.size() > longest) refuse(path, number, "is longer than " + std::to_string(longest) + " bytes");
    });
}

}  // namespace

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
    if (text.compare(0, byte_order_mark.size(), byte_order_mark) == 0) text.erase(0, byte_order_mark.size());
    check_lines(path, text);
    return text;
}

void refuse(const std::string& path, std::size_t line, const std::string& reason) {
    throw content_error(path + ", line " + std::to_string(line) + ": " + reason);
}

std::string quote(std::string_view text) { return "'" + std::string(text.substr(0, 40)) + "'"; }

std::string lower_case(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
    return lower;
}

std::string extension_of(const std::string& path) {
    const std::size_t point = path.rfind('.');
    return point == std::string::npos ? "" : lower_case(path.substr(point));
}

bool is_cdl_file(const std::string& path) {
    const std::string kind = extension_of(path);
    return kind == ".cc" || kind == ".ccc" || kind == ".cdl" || kind == ".edl";
}

std::size_t for_each_line(std::string_view text, const std::function<void(std::string_view, std::size_t)>& read) {
    std::size_t line = 0;
    while (!text.empty()) {
        const std::size_t length = std::min(text.find('\n'), text.size());
        read(text.substr(0, length), ++line);
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return line;
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

bool begins_row(std::string_view token) {
    if (token.find_first_of("+-.0123456789") == 0) return true;
    const std::string lower = lower_case(token);
    return lower == "nan" || lower == "inf" || lower == "infinity";
}

std::string fault_of_number(std::string_view token) {
    double value = 0.0;
    const std::from_chars_result result = parse(token, value);
    const char* const end = token.data() + token.size();
    if (result.ec == std::errc::invalid_argument) return quote(token) + " is not a number";
    if (result.ptr != end && *result.ptr == ',') {
        return quote(token) + " has a comma; decimals are written with a point";
    }
    if (result.ptr != end) return quote(token) + " is not a decimal number";
    if (result.ec != std::errc() || !(std::fabs(value) <= double{FLT_MAX})) return quote(token) + " is not finite";
    return {};
}

double read_number(const std::string& path, std::size_t line, std::string_view token) {
    const std::string fault = fault_of_number(token);
    if (!fault.empty()) refuse(path, line, fault);
    double value = 0.0;
    parse(token, value);
    return value;
}

std::size_t read_size(const std::string& path, std::size_t line, std::string_view token, std::size_t largest) {
    std::size_t size = 0;
    const std::from_chars_result result = std::from_chars(token.data(), token.data() + token.size(), size);
    const bool is_whole = result.ec == std::errc() && result.ptr == token.data() + token.size();
    if (is_whole && size >= 2 && size <= largest) return size;
    refuse(path, line, "a size of " + quote(token) + "; possible are 2 to " + std::to_string(largest));
}

bool is_lut_text(const std::vector<unsigned char>& bytes) {
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), std::min<std::size_t>(bytes.size(), 4096));
    constexpr std::array<std::string_view, 2> wide_xml = {std::string_view("\xFF\xFE<\0", 4),
                                                          std::string_view("\xFE\xFF\0<", 4)};
    if (std::find(wide_xml.begin(), wide_xml.end(), text.substr(0, 4)) != wide_xml.end()) return true;
    const auto is_control = [](char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0 && c != '\n'; };
    const auto is_text = [&](char c) { return !is_control(c) || blanks.find(c) != std::string_view::npos; };
    if (!std::all_of(text.begin(), text.end(), is_text)) return false;
    if (text.substr(0, byte_order_mark.size()) == byte_order_mark) text.remove_prefix(byte_order_mark.size());
    const std::size_t begin = std::min(text.find_first_not_of(" \t\r\n"), text.size());
    const auto follows_tag = [](char c) { return c == '?' || c == '!' || std::isalpha(static_cast<unsigned char>(c)); };
    if (text.size() - begin > 1 && text[begin] == '<' && follows_tag(text[begin + 1])) return true;
    bool has_row = false;
    for_each_line(text.substr(0, text.rfind('\n') + 1), [&](std::string_view line, std::size_t) {
        const std::vector<std::string_view> tokens = tokens_of(line);
        const auto is_number = [](std::string_view token) { return fault_of_number(token).empty(); };
        has_row = has_row || (!tokens.empty() && std::all_of(tokens.begin(), tokens.end(), is_number));
    });
    return has_row;
}

}  // namespace colour
