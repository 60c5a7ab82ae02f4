// JSON files, read strictly: failures name the file, the place in it and the field.
#ifndef LUTC_TERMINAL_JSON_VALUE_H
#define LUTC_TERMINAL_JSON_VALUE_H

#include <array>
#include <cstdint>
#include <initializer_list>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lutc_terminal {

// What is wrong with a file's content, and where.
class content_error : public std::invalid_argument {
  public:
    using std::invalid_argument::invalid_argument;
};

// The JSON of a file's bytes; place: the file, "-" for standard input. Throws content_error.
nlohmann::ordered_json parse_json(const std::vector<unsigned char>& bytes, const std::string& place);

// A value of such a file, which outlives this. What reads it throws content_error when it is of another type.
class json_value {
  public:
    // place: the file and where in it; standard input for "-".
    json_value(const std::string& place, const nlohmann::ordered_json& value);

    content_error make_failure(const std::string& fault) const;

    void allow_only(std::initializer_list<std::string_view> keys) const;  // and that it is an object
    bool is_object() const;
    bool has(const char* key) const;
    std::vector<std::pair<std::string, json_value>> members() const;
    json_value operator[](const char* key) const;  // which must be there
    // The items of a list. Their place is the list's, or of a list of this object "item N".
    std::vector<json_value> items() const;
    std::vector<json_value> items(const char* key, const std::string& item) const;

    std::string text() const;
    std::int32_t integer(std::int32_t least, std::int32_t most = INT32_MAX) const;
    bool boolean() const;
    double number() const;
    std::array<double, 3> triple() const;
    std::string plain_name() const;  // of a file of the same folder

  private:
    std::string place_;
    const nlohmann::ordered_json* value_;
};

}  // namespace lutc_terminal

#endif
