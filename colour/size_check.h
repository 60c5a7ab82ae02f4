// How large the tables of a colour file are, as far as it says so itself.
#ifndef LUTC_COLOUR_SIZE_CHECK_H
#define LUTC_COLOUR_SIZE_CHECK_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace colour {

// Empty when a text, a number, is at most the largest size of a cube's axis or of a curve, or no number; else what to
// say.
std::string fault_of_size(std::string_view text, bool is_cube);

// Reads the lines of a plain text file one after the other and throws content_error at the line of a size that is too
// large, or at the first row too many: before anyone makes room for the table.
class size_check {
  public:
    explicit size_check(const std::string& path);

    void read(std::size_t line, std::string_view text, const std::vector<std::string_view>& tokens);

  private:
    void check(std::size_t line, std::string_view text, bool is_cube) const;
    void read_keyword(std::size_t line, const std::vector<std::string_view>& tokens);
    void read_cinespace(std::size_t line, const std::vector<std::string_view>& tokens);

    const std::string& path_;
    std::string kind_;       // the end of its name
    std::size_t count_ = 0;  // lines that hold something, and
    std::size_t rows_ = 0;   // those of them that are rows
    bool is_cube_ = false;   // what a "Length" counts
    std::size_t skipped_ = 0;
    std::size_t shapers_ = 0;
};

}  // namespace colour

#endif
