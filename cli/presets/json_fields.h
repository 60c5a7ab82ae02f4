// JSON files, read strictly: failures name the file, the place in it and the field.
#ifndef LUTC_CLI_PRESETS_JSON_FIELDS_H
#define LUTC_CLI_PRESETS_JSON_FIELDS_H

#include <cstdint>
#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "cli/console/output.h"

namespace lutc_cli {

// The JSON of a file, or of standard input for "-". Throws failure: exit_refused when it can't be read, else exit_usage.
nlohmann::ordered_json read_json(const std::string& path);

// One JSON object. What reads a field throws failure, exit_usage, when it is missing or of another type.
class json_fields {
  public:
    // place: the file and where in it; standard input for "-". The object outlives this.
    json_fields(const std::string& place, const nlohmann::ordered_json& object);

    failure make_failure(std::string_view field, std::string_view fault) const;
    void allow_only(std::initializer_list<std::string_view> keys) const;
    bool has(const char* key) const;

    std::string text(const char* key) const;
    std::int32_t integer(const char* key, std::int32_t least, std::int32_t most = INT32_MAX) const;
    double number(const char* key) const;
    void read_triple(const char* key, double (&values)[3]) const;
    void read_colour(const char* key, std::uint16_t (&values)[3]) const;
    std::vector<std::string> texts(const char* key) const;
    std::vector<json_fields> objects(const char* key, const std::string& item) const;  // each has the place "item N"

    // That a file which the field names is one of the same folder.
    void require_plain_name(const char* key, const std::string& name) const;

  private:
    const nlohmann::ordered_json& find(const char* key) const;
    const nlohmann::ordered_json& find_list(const char* key) const;
    const nlohmann::ordered_json& find_three(const char* key) const;

    std::string read_text(const char* key, const nlohmann::ordered_json& value) const;
    std::int32_t read_integer(const char* key, const nlohmann::ordered_json& value, std::int32_t least,
                              std::int32_t most) const;
    double read_number(const char* key, const nlohmann::ordered_json& value) const;

    std::string place_;
    const nlohmann::ordered_json* object_;
};

}  // namespace lutc_cli

#endif
