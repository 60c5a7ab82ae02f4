// How large the tables of a colour file are, as far as it says so itself.
#ifndef LUTC_COLOUR_SIZE_CHECK_H
#define LUTC_COLOUR_SIZE_CHECK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace colour {

enum class size_unit { points, entries, channels, power };

// Empty when a text is a whole number, and at most the largest size of its kind; else what to say.
std::string fault_of_size(std::string_view text, size_unit unit);

// Reads the lines of a .3dl, .csp, .spi1d or .spi3d one after the other, before anyone makes room for the table. Throws
// content_error
// - at a size that is too large,
// - at a word that such a file doesn't have,
// - at the first row too many, or behind the last of too few,
// - in a .3dl, at a number that isn't whole, or too low for its depth.
class size_check {
  public:
    using tokens = std::vector<std::string_view>;

    explicit size_check(const std::string& path);

    // A line's words, of which there is one at least. Returns whether it is a row of numbers.
    bool read(std::size_t line, const tokens& words_of_line);
    void finish() const;                               // behind the last line
    bool is_metadata() const { return is_metadata_; }  // of a .csp: free text

  private:
    void check(const tokens& sizes, std::size_t first, size_unit unit) const;
    void set_size(const tokens& sizes, std::size_t first, size_unit unit);
    void expect_rows(std::size_t count);
    void count_row(const tokens& row);
    void check_whole_numbers(const tokens& row, bool is_shaper);
    void check_depth(std::int32_t largest, const std::string& whose) const;
    bool read_cinespace(const tokens& words_of_line);

    const std::string& path_;
    std::string kind_;  // the end of its name
    std::size_t line_ = 0;
    std::size_t count_ = 0;  // lines that hold something, and
    std::size_t rows_ = 0;   // those of them that are rows, of which there are at most
    std::size_t most_;
    std::size_t first_row_ = 0;  // of the table whose size is known
    bool is_sized_ = false;
    std::int32_t largest_ = INT32_MIN;
    std::int32_t largest_of_shaper_ = INT32_MIN;
    bool is_cube_ = false;
    bool is_metadata_ = false;
    bool is_end_ = false;  // of the metadata
    std::size_t skipped_ = 0;
    std::size_t shapers_ = 0;
};

}  // namespace colour

#endif
