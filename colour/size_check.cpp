#include "colour/size_check.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

#include "colour/layout.h"
#include "colour/text_file.h"

namespace colour {
namespace {

constexpr std::size_t most_rows = max_cube_size * max_cube_size * max_cube_size + max_curve_size;

// The words that a line may begin with, in small letters. The reader passes over others, or takes them for another
// format.
const std::map<std::string, std::set<std::string>> words = {
    {".spi1d", {"version", "from", "length", "components", "{", "}"}}, {".3dl", {"3dmesh", "mesh", "gamma", "lut8"}}};

// Nothing for what is no whole number.
std::optional<std::size_t> read_count(std::string_view text) {
    std::size_t count = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), count);
    if (result.ec == std::errc::result_out_of_range) return SIZE_MAX;
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return {};
    return count;
}

}  // namespace

std::string fault_of_size(std::string_view text, size_unit unit) {
    static const std::map<size_unit, std::pair<std::size_t, const char*>> limits = {
        {size_unit::points, {max_cube_size, " points an axis"}},
        {size_unit::entries, {max_curve_size, " entries"}},
        {size_unit::channels, {4, " numbers an entry"}},
        {size_unit::power, {7, " as a power of 2"}}};
    const auto& [largest, name] = limits.at(unit);
    const std::optional<std::size_t> count = read_count(text);
    if (!count) return quote(text) + " is no size";
    if (*count <= largest) return {};
    return "a size of " + std::string(text.substr(0, 40)) + "; at most " + std::to_string(largest) + name +
           " are possible";
}

size_check::size_check(const std::string& path) : path_(path), kind_(extension_of(path)), most_(most_rows) {}

bool size_check::read(std::size_t line, const tokens& words_of_line) {
    ++count_;
    line_ = line;
    if (kind_ == ".csp") return read_cinespace(words_of_line);
    const std::string word = lower_case(words_of_line[0].substr(0, 40));
    const auto known = words.find(kind_);
    const bool is_word = known == words.end() ? count_ == 1 : known->second.count(word) != 0;
    const bool is_shaper = kind_ == ".3dl" && rows_ + shapers_ == 0 && words_of_line.size() > 3;
    if (is_shaper) ++shapers_;
    if (!is_word && !is_shaper) count_row(words_of_line);
    if (kind_ == ".3dl" && !is_word) check_whole_numbers(words_of_line, is_shaper);
    if (word == "length") set_size(words_of_line, 1, size_unit::entries);
    if (word == "components") check(words_of_line, 1, size_unit::channels);
    if (word == "mesh" && words_of_line.size() > 1) {
        check({words_of_line[1]}, 0, size_unit::power);
        const std::size_t points = (1U << *read_count(words_of_line[1])) + 1;
        expect_rows(points * points * points);
    }
    if (kind_ == ".spi3d" && count_ == 3) set_size(words_of_line, 0, size_unit::points);
    return !is_word;
}

void size_check::check(const tokens& sizes, std::size_t first, size_unit unit) const {
    for (std::size_t i = first; i < sizes.size(); ++i) {
        const std::string fault = fault_of_size(sizes[i], unit);
        if (!fault.empty()) refuse(path_, line_, fault);
    }
}

// A .3dl's depth goes by its largest number. The reader would leave out a line with any number that isn't whole.
void size_check::check_whole_numbers(const tokens& row, bool is_shaper) {
    if (!is_shaper && row.size() != 3) {
        refuse(path_, line_, "a row has three numbers, this one " + std::to_string(row.size()));
    }
    std::int32_t& largest = is_shaper ? largest_of_shaper_ : largest_;
    for (std::string_view word : row) {
        const std::string_view digits = word.substr(word.find_first_not_of('+') == 1 ? 1 : 0);
        std::int32_t value = 0;
        const std::from_chars_result result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (result.ec != std::errc() || result.ptr != digits.data() + digits.size()) {
            refuse(path_, line_, quote(word) + " is no whole number of 32 bits");
        }
        largest = std::max(largest, value);
    }
    if (is_shaper) check_depth(largest, "of its shaper");
}

void size_check::check_depth(std::int32_t largest, const std::string& whose) const {
    if (largest >= 128) return;
    refuse(path_, line_,
           "the largest number " + whose + " is " + std::to_string(largest) + "; 8 bits need 128 at least");
}

void size_check::finish() const {
    if (is_sized_ && rows_ < most_) {
        refuse(path_, line_,
               "the table ends after " + std::to_string(rows_ - first_row_) + " of " +
                   std::to_string(most_ - first_row_) + " rows");
    }
    if (kind_ != ".3dl" || rows_ == 0) return;
    std::size_t size = 2;
    while (size < max_cube_size && size * size * size < rows_) ++size;
    if (size * size * size != rows_) refuse(path_, line_, "its " + std::to_string(rows_) + " rows are no cube");
    check_depth(largest_, "of its rows");
}

// There are as many rows as the product of the sizes.
void size_check::set_size(const tokens& sizes, std::size_t first, size_unit unit) {
    check(sizes, first, unit);
    std::size_t count = 1;
    for (std::size_t i = first; i < sizes.size() && count <= most_rows; ++i) count *= *read_count(sizes[i]);
    expect_rows(count);
}

// From here on.
void size_check::expect_rows(std::size_t count) {
    most_ = std::min(most_, rows_ + count);
    first_row_ = rows_;
    is_sized_ = true;
}

void size_check::count_row(const tokens& row) {
    if (!begins_row(row[0])) refuse(path_, line_, "unknown keyword " + quote(row[0]));
    if (++rows_ > most_) refuse(path_, line_, "more rows than its size calls for");
}

// Two lines say what it is; then there may be metadata, between two lines of their own; then come three shapers, each
// with its number of points and two lines of them; then the size.
bool size_check::read_cinespace(const tokens& words_of_line) {
    const std::string word = lower_case(words_of_line[0].substr(0, 40));
    if (count_ == 1) return false;
    if (count_ == 2) {
        if (word != "1d" && word != "3d") refuse(path_, line_, quote(words_of_line[0]) + " is neither 1D nor 3D");
        is_cube_ = word == "3d";
        return false;
    }
    is_metadata_ = (count_ == 3 && word == "begin") || (is_metadata_ && !is_end_);
    if (is_metadata_) {
        is_end_ = word == "end" && words_of_line.size() > 1 && lower_case(words_of_line[1]) == "metadata";
        return false;
    }
    count_row(words_of_line);
    if (skipped_ > 0) {
        --skipped_;
        return true;
    }
    if (++shapers_ > 4) return true;
    if (shapers_ == 4) {
        set_size(words_of_line, 0, is_cube_ ? size_unit::points : size_unit::entries);
        return true;
    }
    check(words_of_line, 0, size_unit::entries);
    if (read_count(words_of_line[0]) == 0U) return true;
    if (read_count(words_of_line[0]) == 1U) refuse(path_, line_, "a shaper of one point");
    skipped_ = 2;
    return true;
}

}  // namespace colour
