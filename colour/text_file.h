// Colour files as text: their lines, words and numbers.
#ifndef LUTC_COLOUR_TEXT_FILE_H
#define LUTC_COLOUR_TEXT_FILE_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace colour {

// The content of a file, without a byte-order mark in front. Throws error when it can't be read.
std::string read_text(const std::string& path);

// Throws content_error with the file and the line.
[[noreturn]] void refuse(const std::string& path, std::size_t line, const std::string& reason);

std::string quote(std::string_view text);           // for messages, cut when it is long
std::string lower_case(std::string_view text);      // of ASCII letters
std::string extension_of(const std::string& path);  // in small letters, with its point

// Whether a file holds CDLs, by its name: .cc, .ccc, .cdl or .edl.
bool is_cdl_file(const std::string& path);

// Calls read(line, number) for each line, numbers from 1. Returns how many there are.
std::size_t for_each_line(std::string_view text, const std::function<void(std::string_view, std::size_t)>& read);

// The words of a line, up to a #.
std::vector<std::string_view> tokens_of(std::string_view line);

// Whether a line that begins so is meant as a row of numbers.
bool begins_row(std::string_view token);

// Empty for a number that every colour file may hold (decimal, within single precision), else what is wrong with it.
std::string fault_of_number(std::string_view token);

// Such a number. Throws content_error for another.
double read_number(const std::string& path, std::size_t line, std::string_view token);

// A number of entries: a whole number from 2 to largest. Throws content_error for another.
std::size_t read_size(const std::string& path, std::size_t line, std::string_view token, std::size_t largest);

// Whether bytes that are meant as the numbers of a table are text instead: XML, or lines of which one holds nothing but
// numbers. Looks at the first of them alone.
bool is_lut_text(const std::vector<unsigned char>& bytes);

}  // namespace colour

#endif
