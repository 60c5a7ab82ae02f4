// JSON files, read strictly: failures name the file, the place in it and the field.
#ifndef LUTC_CLI_PRESETS_JSON_VALUE_H
#define LUTC_CLI_PRESETS_JSON_VALUE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "cli/console/output.h"

namespace lutc_cli {

// The JSON of a file, or of standard input for "-". Throws failure: exit_refused when it can't be read, else exit_usage.
nlohmann::ordered_json read_json(const std::string& path, std::size_t limit = 16u << 20);

// A value of such a file, which outlives this. What reads it throws failure, exit_usage, when it is of another type.
class json_value {
  public:
    // place: the file and where in it; standard input for "-".
    json_value(const std::string& place, const nlohmann::ordered_json& value);

    failure make_failure(const std::string& fault) const;

    void allow_only(std::initializer_list<std::string_view> keys) const;  // and that it is an object
    bool has(const char* key) const;
    json_value operator[](const char* key) const;  // which must be there
    // The items of a list. Their place is the list's, or of a list of this object "item N".
    std::vector<json_value> items() const;
    std::vector<json_value> items(const char* key, const std::string& item) const;

    std::string text() const;
    std::int32_t integer(std::int32_t least, std::int32_t most = INT32_MAX) const;
    double number() const;
    std::array<double, 3> triple() const;
    std::string plain_name() const;  // of a file of the same folder

  private:
    std::string place_;
    const nlohmann::ordered_json* value_;
};

}  // namespace lutc_cli

#endif
