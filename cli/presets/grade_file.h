// Grades in files: one JSON document for each grade, its payloads in files beside it (docs/grade-files.md).
#ifndef LUTC_CLI_GRADE_FILE_H
#define LUTC_CLI_GRADE_FILE_H

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include <lutc/lutc.h>

namespace lutc_cli {

// The most bytes of one payload, and of the payloads of a preset: more could never be downloaded again.
constexpr std::size_t payload_limit = 64u << 20;
constexpr std::size_t preset_payload_limit = 2u << 20;

// A gradeComponent that owns what it points to.
struct Component {
    int kind = LUTC_KIND_CDL;
    int type_index = 0;
    std::string data_format;
    std::optional<cdl> values;
    std::vector<unsigned char> data;
    std::string pattern_type;
    testPattern pattern = {};
};

struct Grade {
    std::optional<std::string> name;
    int grade_combo_index = 0;
    std::vector<Component> components;
};

// The CDL that leaves the picture as it is.
cdl neutral_cdl();

// The records that the library takes; they point into the grade.
std::vector<gradeComponent> records_of(Grade& grade);

// The JSON of a file, or of standard input for "-". Throws Failure as read_grade_file does.
nlohmann::ordered_json read_json(const std::string& path);

enum class GradeUse {
    live,    // test patterns are allowed
    preset,  // they are not, and the payloads have to fit an answer
    backup   // as PRESET; and the payloads are files of the same folder
};

// Throws Failure, naming file, component and field: EXIT_USAGE for a wrong content, EXIT_REFUSED for an unreadable file.
Grade read_grade_file(const std::string& path, GradeUse use);

// The names of the files that write_grade_file makes for a grade, the JSON file last. stem is the beginning of the
// payloads' names.
std::vector<std::string> grade_file_names(const std::string& path, const Grade& grade, const std::string& stem);

// Writes the payloads as stem-N-TYPE.bin into the folder of path, then path itself. Throws Failure for a grade that
// can't be written without loss (a name that is not UTF-8, values that are not finite) before anything is written, and
// when there is no room for all files, with none of them changed.
void write_grade_file(const std::string& path, const Grade& grade, const std::string& stem);

}  // namespace lutc_cli

#endif
