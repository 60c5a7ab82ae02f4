#include "cli/presets/json_fields.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/console/files.h"

namespace lutc_cli {

using nlohmann::ordered_json;

namespace {

constexpr std::size_t json_limit = 16u << 20;

}  // namespace

ordered_json read_json(const std::string& path) {
    const std::vector<unsigned char> bytes = read_file(path, json_limit);
    const std::string place = (path == "-" ? "standard input" : path) + ": ";
    // Of two members with the same key the parser would silently drop one.
    std::vector<std::set<std::string>> keys;
    const auto refuse_twins = [&keys, &place](int, ordered_json::parse_event_t event, ordered_json& value) {
        if (event == ordered_json::parse_event_t::object_start) keys.emplace_back();
        if (event == ordered_json::parse_event_t::object_end) keys.pop_back();
        if (event == ordered_json::parse_event_t::key && !keys.back().insert(value.get<std::string>()).second) {
            throw failure(exit_usage, place + value.get<std::string>() + ": stands twice in one object");
        }
        return true;
    };
    try {
        return ordered_json::parse(bytes.begin(), bytes.end(), refuse_twins);
    } catch (const ordered_json::exception& error) {
        const std::string text = error.what();
        throw failure(exit_usage, place + "is no JSON: " + text.substr(text.find("] ") + 2));
    }
}

json_fields::json_fields(const std::string& place, const ordered_json& object)
    : place_(place == "-" ? "standard input" : place), object_(&object) {
    if (!object.is_object()) throw failure(exit_usage, place_ + ": must be an object");
}

failure json_fields::make_failure(std::string_view field, std::string_view fault) const {
    return failure(exit_usage, place_ + ": " + std::string(field) + ": " + std::string(fault));
}

void json_fields::allow_only(std::initializer_list<std::string_view> keys) const {
    for (const auto& member : object_->items()) {
        if (std::find(keys.begin(), keys.end(), member.key()) == keys.end()) {
            throw make_failure(member.key(), "is not a known field here");
        }
    }
}

bool json_fields::has(const char* key) const { return object_->contains(key); }

std::string json_fields::text(const char* key) const { return read_text(key, find(key)); }

std::int32_t json_fields::integer(const char* key, std::int32_t least, std::int32_t most) const {
    return read_integer(key, find(key), least, most);
}

double json_fields::number(const char* key) const { return read_number(key, find(key)); }

void json_fields::read_triple(const char* key, double (&values)[3]) const {
    const ordered_json& list = find_three(key);
    for (std::size_t i = 0; i < 3; ++i) values[i] = read_number(key, list[i]);
}

void json_fields::read_colour(const char* key, std::uint16_t (&values)[3]) const {
    const ordered_json& list = find_three(key);
    for (std::size_t i = 0; i < 3; ++i) {
        values[i] = static_cast<std::uint16_t>(read_integer(key, list[i], 0, UINT16_MAX));
    }
}

std::vector<std::string> json_fields::texts(const char* key) const {
    std::vector<std::string> texts;
    for (const ordered_json& item : find_list(key)) texts.push_back(read_text(key, item));
    return texts;
}

std::vector<json_fields> json_fields::objects(const char* key, const std::string& item) const {
    std::vector<json_fields> objects;
    for (const ordered_json& object : find_list(key)) {
        objects.emplace_back(place_ + ": " + item + " " + std::to_string(objects.size() + 1), object);
    }
    return objects;
}

void json_fields::require_plain_name(const char* key, const std::string& name) const {
    if (!name.empty() && std::filesystem::path(name).filename() == name && name != "." && name != "..") return;
    throw make_failure(key, "'" + name + "' must be a file of the same folder");
}

const ordered_json& json_fields::find(const char* key) const {
    const auto member = object_->find(key);
    if (member == object_->end()) throw make_failure(key, "is missing");
    return *member;
}

const ordered_json& json_fields::find_list(const char* key) const {
    const ordered_json& list = find(key);
    if (!list.is_array()) throw make_failure(key, "must be a list");
    return list;
}

const ordered_json& json_fields::find_three(const char* key) const {
    const ordered_json& list = find(key);
    if (!list.is_array() || list.size() != 3) throw make_failure(key, "must be a list of three numbers");
    return list;
}

std::string json_fields::read_text(const char* key, const ordered_json& value) const {
    if (!value.is_string()) throw make_failure(key, "must be a string");
    auto text = value.get<std::string>();
    if (text.find('\0') != std::string::npos) throw make_failure(key, "must not hold a zero character");
    return text;
}

std::int32_t json_fields::read_integer(const char* key, const ordered_json& value, std::int32_t least,
                                       std::int32_t most) const {
    const bool fits = value.is_number_integer() &&
                      !(value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT32_MAX});
    if (!fits || value.get<std::int64_t>() < least || value.get<std::int64_t>() > most) {
        throw make_failure(key, "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return value.get<std::int32_t>();
}

double json_fields::read_number(const char* key, const ordered_json& value) const {
    if (!value.is_number()) throw make_failure(key, "must be numbers only");
    return value.get<double>();
}

}  // namespace lutc_cli
