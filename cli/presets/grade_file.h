// Grades in files: one JSON document for each grade, its payloads in files beside it (docs/grade-files.md).
#ifndef LUTC_CLI_PRESETS_GRADE_FILE_H
#define LUTC_CLI_PRESETS_GRADE_FILE_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <lutc/lutc.h>

namespace lutc_cli {

// The most bytes of one payload, and of the payloads of a preset: more could never be downloaded again.
constexpr std::size_t payload_limit = 64u << 20;
constexpr std::size_t preset_payload_limit = 2u << 20;

constexpr std::array<const char*, 5> component_types = {"cdl", "saturation", "1dlut", "3dlut", "tpg"};  // by their kind

// A gradeComponent that owns what it points to.
struct file_component {
    int kind = LUTC_KIND_CDL;
    int type_index = 0;
    std::string data_format;
    std::optional<cdl> values;
    std::vector<unsigned char> data;
    std::string pattern_type;
    testPattern pattern = {};

    const char* type() const { return component_types[static_cast<std::size_t>(kind)]; }
    bool is_lut() const { return kind == LUTC_KIND_LUT_1D || kind == LUTC_KIND_LUT_3D; }
};

struct grade_file {
    std::optional<std::string> name;
    int combination = 0;
    std::vector<file_component> components;
};

// The records that the library takes; they point into the grade.
std::vector<gradeComponent> list_records(grade_file& grade);

enum class grade_use {
    live,    // test patterns are allowed
    preset,  // they are not, and the payloads have to fit an answer
    backup   // as preset; and the payloads are files of the same folder
};

// Throws failure, naming file, component and field: exit_usage for a wrong content, exit_refused for an unreadable file.
grade_file read_grade_file(const std::string& path, grade_use use);

// The names of the files that write_grade_file makes for a grade, the JSON file last. stem is the beginning of the
// payloads' names.
std::vector<std::string> list_grade_files(const std::string& path, const grade_file& grade, const std::string& stem);

// Writes the payloads as stem-N-TYPE.bin into the folder of path, then path itself. Throws failure for a grade that
// can't be written without loss (a name that is not UTF-8, values that are not finite) before anything is written, and
// when there is no room for all files, with none of them changed.
void write_grade_file(const std::string& path, const grade_file& grade, const std::string& stem);

}  // namespace lutc_cli

#endif
