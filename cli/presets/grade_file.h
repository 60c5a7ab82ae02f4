// Grades in files: one JSON document for each grade, its payloads in files beside it (docs/grade-files.md).
#ifndef LUTC_CLI_PRESETS_GRADE_FILE_H
#define LUTC_CLI_PRESETS_GRADE_FILE_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <lutc/lutc.hpp>

namespace lutc_cli {

// The most bytes of one payload, and of the payloads of a preset: more could never be downloaded again.
constexpr std::size_t payload_limit = 64u << 20;
constexpr std::size_t preset_payload_limit = 2u << 20;

// What is wrong with a text where the bytes of a table should be.
constexpr const char* text_as_table = "is the text of a LUT, or XML, and no table's bytes; it is packed on the way ";

struct grade_file {
    std::optional<std::string> name;
    int combination = 0;
    lutc::grade components;
    std::vector<std::string> files = {};  // those that it was read from
};

// What a file says of a component. data_of: the bytes beside the file, nullptr for a component without;
// format_of: empty for all but tables.
std::string type_of(const lutc::component& component);
const std::vector<std::uint8_t>* data_of(const lutc::component& component);
std::string format_of(const lutc::component& component);

enum class grade_use {
    live,    // test patterns are allowed
    preset,  // they are not, and the payloads have to fit an answer
    backup   // as preset; all are files of one folder, and no links
};

// Makes a component of a LUT file; size as for packing.
using lut_packer = std::function<lutc::component(const std::string& file, int size)>;

// Throws failure, naming file, component and field: exit_usage for a wrong content, exit_refused for an unreadable file.
// Without pack, colour files are refused.
grade_file read_grade_file(const std::string& path, grade_use use, const lut_packer& pack = {});

// Throws failure, exit_usage, when the tables of a preset are more than could be downloaded again.
void check_payloads(const std::string& place, const lutc::grade& components);

// The names of the files that write_grade_file makes for a grade, the JSON file last. stem is the beginning of the
// payloads' names.
std::vector<std::string> list_grade_files(const std::string& path, const grade_file& grade, const std::string& stem);

// Writes the payloads as stem-N-TYPE.bin into the folder of path, then path itself. Throws failure for a grade that
// can't be written without loss (a name that is not UTF-8, values that are not finite, a component of a type that files
// don't have) before anything is written, and
// when there is no room for all files, with none of them changed.
void write_grade_file(const std::string& path, const grade_file& grade, const std::string& stem);

}  // namespace lutc_cli

#endif
