#include "terminal/json_value.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "terminal/suggestion.h"

namespace lutc_terminal {

using nlohmann::ordered_json;

constexpr int max_depth = 100;
// The parser's time grows with the square of both; an index of a whole library has fewer.
constexpr std::size_t max_values = 30000, max_members = 1000;

ordered_json parse_json(const std::vector<unsigned char>& bytes, const std::string& path) {
    const std::string place = (path == "-" ? "standard input" : path) + ": ";
    // Of two members with the same key the parser would silently drop one.
    std::vector<std::set<std::string>> keys;
    std::size_t values = 0;
    const auto check = [&keys, &values, &place](int depth, ordered_json::parse_event_t event, ordered_json& value) {
        if (depth > max_depth) throw content_error(place + "nested more than " + std::to_string(max_depth) + " deep");
        const bool is_value = event == ordered_json::parse_event_t::value ||
                              event == ordered_json::parse_event_t::object_start ||
                              event == ordered_json::parse_event_t::array_start;
        if (is_value && ++values > max_values)
            throw content_error(place + "has more than " + std::to_string(max_values) + " values");
        if (event == ordered_json::parse_event_t::object_start) keys.emplace_back();
        if (event == ordered_json::parse_event_t::object_end) keys.pop_back();
        if (event != ordered_json::parse_event_t::key) return true;
        if (!keys.back().insert(value.get<std::string>()).second) {
            throw content_error(place + value.get<std::string>() + ": stands twice in one object");
        }
        if (keys.back().size() > max_members)
            throw content_error(place + "an object has more than " + std::to_string(max_members) + " members");
        return true;
    };
    try {
        return ordered_json::parse(bytes.begin(), bytes.end(), check);
    } catch (const ordered_json::exception& error) {
        const std::string text = error.what();
        throw content_error(place + "is no JSON: " + text.substr(text.find("] ") + 2));
    }
}

json_value::json_value(const std::string& place, const ordered_json& value)
    : place_(place == "-" ? "standard input" : place), value_(&value) {}

content_error json_value::make_failure(const std::string& fault) const { return content_error(place_ + ": " + fault); }

void json_value::allow_only(std::initializer_list<std::string_view> keys) const {
    if (!value_->is_object()) throw make_failure("must be an object");
    for (const auto& member : value_->items()) {
        if (std::find(keys.begin(), keys.end(), member.key()) == keys.end()) {
            throw make_failure(member.key() + ": is not a known field here" +
                               suggest(member.key(), {keys.begin(), keys.end()}));
        }
    }
}

bool json_value::is_object() const { return value_->is_object(); }

bool json_value::has(const char* key) const { return value_->contains(key); }

json_value json_value::operator[](const char* key) const {
    if (!value_->is_object()) throw make_failure("must be an object");
    if (!has(key)) throw make_failure(std::string(key) + ": is missing");
    return {place_ + ": " + key, value_->at(key)};
}

std::vector<std::pair<std::string, json_value>> json_value::members() const {
    if (!value_->is_object()) throw make_failure("must be an object");
    std::vector<std::pair<std::string, json_value>> members;
    for (const auto& member : value_->items()) {
        members.emplace_back(member.key(), json_value(place_ + ": " + member.key(), member.value()));
    }
    return members;
}

std::vector<json_value> json_value::items() const {
    if (!value_->is_array()) throw make_failure("must be a list");
    std::vector<json_value> items;
    for (const ordered_json& item : *value_) items.emplace_back(place_, item);
    return items;
}

std::vector<json_value> json_value::items(const char* key, const std::string& item) const {
    std::vector<json_value> items = (*this)[key].items();
    for (std::size_t i = 0; i < items.size(); ++i) items[i].place_ = place_ + ": " + item + " " + std::to_string(i + 1);
    return items;
}

std::string json_value::text() const {
    if (!value_->is_string()) throw make_failure("must be a string");
    auto text = value_->get<std::string>();
    if (text.find('\0') != std::string::npos) throw make_failure("must not hold a zero character");
    return text;
}

std::int32_t json_value::integer(std::int32_t least, std::int32_t most) const {
    const bool fits = value_->is_number_integer() &&
                      !(value_->is_number_unsigned() && value_->get<std::uint64_t>() > std::uint64_t{INT32_MAX});
    if (!fits || value_->get<std::int64_t>() < least || value_->get<std::int64_t>() > most) {
        throw make_failure("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value_->get<std::int32_t>();
}

bool json_value::boolean() const {
    if (!value_->is_boolean()) throw make_failure("must be true or false");
    return value_->get<bool>();
}

double json_value::number() const {
    if (!value_->is_number()) throw make_failure("must be numbers only");
    return value_->get<double>();
}

std::array<double, 3> json_value::triple() const {
    if (!value_->is_array() || value_->size() != 3) throw make_failure("must be a list of three numbers");
    const std::vector<json_value> values = items();
    return {values[0].number(), values[1].number(), values[2].number()};
}

std::string json_value::plain_name() const {
    const std::string name = text();
    if (!name.empty() && std::filesystem::path(name).filename() == name && name != "." && name != "..") return name;
    throw make_failure("'" + name + "' must be a file of the same folder");
}

}  // namespace lutc_terminal
