#include "colour/size_check.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "colour/layout.h"
#include "colour/text_file.h"

namespace colour {
namespace {

constexpr std::size_t most_entries = max_cube_size * max_cube_size * max_cube_size;

// 0 for what is no whole number.
std::size_t read_count(std::string_view text) {
    std::size_t count = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), count);
    if (result.ec == std::errc::result_out_of_range) return SIZE_MAX;
    return result.ptr == text.data() + text.size() ? count : 0;
}

std::string describe_excess(std::string_view size, std::size_t largest, const char* unit) {
    return "a size of " + std::string(size) + "; at most " + std::to_string(largest) + unit + " are possible";
}

}  // namespace

std::string fault_of_size(std::string_view text, bool is_cube) {
    const std::size_t largest = is_cube ? max_cube_size : max_curve_size;
    if (read_count(text) <= largest) return {};
    return describe_excess(text.substr(0, 40), largest, is_cube ? " points an axis" : " entries");
}

size_check::size_check(const std::string& path) : path_(path), kind_(extension_of(path)) {}

void size_check::check(std::size_t line, std::string_view text, bool is_cube) const {
    const std::string fault = fault_of_size(text, is_cube);
    if (!fault.empty()) refuse(path_, line, fault);
}

void size_check::read(std::size_t line, std::string_view text, const std::vector<std::string_view>& tokens) {
    if (kind_ == ".cub" && tokens.empty()) {  // its sizes stand in comments
        return read_keyword(line, tokens_of(text.substr(std::min(text.find('#'), text.size() - 1) + 1)));
    }
    if (tokens.empty()) return;
    ++count_;
    if (begins_row(tokens[0]) && ++rows_ > most_entries + max_curve_size) {
        refuse(path_, line, "more rows than the largest table has");
    }
    if (kind_ == ".csp") return read_cinespace(line, tokens);
    const bool is_size_line = kind_ == ".spi3d" && count_ == 3;
    for (std::size_t i = 0; is_size_line && i < tokens.size(); ++i) check(line, tokens[i], true);
    read_keyword(line, tokens);
}

void size_check::read_keyword(std::size_t line, const std::vector<std::string_view>& tokens) {
    // How the number behind it counts.
    enum class unit { points, entries, either, power, total };
    static const std::map<std::string_view, unit> keywords = {
        {"Length", unit::either}, {"LUT:", unit::entries}, {"lutLength", unit::entries}, {"grid_size", unit::points},
        {"width", unit::points},  {"Mesh", unit::power},   {"in", unit::total}};
    if (tokens.size() < 2) return;
    if (tokens[0] == "Type") is_cube_ = tokens[1].substr(0, 2) == "3D";
    const auto known = keywords.find(tokens[0]);
    if (known == keywords.end()) return;
    const std::string_view size = known->second == unit::entries ? tokens.back() : tokens[1];
    switch (known->second) {
        case unit::points:
            for (std::size_t i = 1; i < tokens.size(); ++i) check(line, tokens[i], true);
            return;
        case unit::entries:
            return check(line, size, false);
        case unit::either:
            check(line, size, is_cube_);
            for (std::size_t i = 2; i < tokens.size(); ++i) check(line, tokens[i], false);
            return;
        case unit::power:  // 2 to the power of it, and 1
            if (read_count(size) > 7) refuse(path_, line, describe_excess(size, 7, " as a power of 2"));
            return;
        case unit::total:
            if (read_count(size) > most_entries) refuse(path_, line, describe_excess(size, most_entries, " entries"));
            return;
    }
}

// Two lines say what it is; then come three shapers, each with its number of entries and two lines of them; then the
// size.
void size_check::read_cinespace(std::size_t line, const std::vector<std::string_view>& tokens) {
    if (count_ == 2) is_cube_ = tokens[0] == "3D";
    if (count_ <= 2 || !begins_row(tokens[0])) return;
    if (skipped_ > 0) {
        --skipped_;
        return;
    }
    if (++shapers_ > 4) return;
    for (const std::string_view size : tokens) check(line, size, shapers_ == 4 && is_cube_);
    if (shapers_ < 4 && read_count(tokens[0]) > 0) skipped_ = 2;
}

}  // namespace colour
