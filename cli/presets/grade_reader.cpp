#include "cli/grade_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/files.h"
#include "cli/output.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

constexpr std::size_t json_limit = 16u << 20;
// By their kind.
constexpr std::array<const char*, 5> type_names = {"cdl", "saturation", "1dlut", "3dlut", "tpg"};
const char* const square = "square";

const char* type_name(const Component& component) { return type_names[static_cast<std::size_t>(component.kind)]; }

bool has_payload(const Component& component) { return component.kind != LUTC_KIND_TEST_PATTERN && !component.values; }

// ---- Reading

std::string shown_path(const std::string& path) { return path == "-" ? "standard input" : path; }

// One JSON object of the file, and where it stands. Every getter throws Failure with the place of what is wrong.
class Fields {
  public:
    Fields(std::string place, const ordered_json& object) : place_(std::move(place)), object_(object) {
        if (!object_.is_object()) throw wrong("must be an object");
    }

    Failure wrong(const std::string& what) const { return Failure(exit_usage, place_ + ": " + what); }

    void allow_only(std::initializer_list<const char*> keys) const {
        for (const auto& member : object_.items()) {
            const auto same = [&member](const char* key) { return member.key() == key; };
            if (std::none_of(keys.begin(), keys.end(), same)) throw wrong(member.key() + ": is not a known field here");
        }
    }

    const ordered_json* find(const char* key) const {
        const auto member = object_.find(key);
        return member == object_.end() ? nullptr : &*member;
    }

    std::string text(const char* key) const {
        const ordered_json& value = required(key);
        if (!value.is_string()) throw wrong(std::string(key) + ": must be a string");
        auto string = value.get<std::string>();
        if (string.find('\0') != std::string::npos) throw wrong(std::string(key) + ": must not hold a zero character");
        return string;
    }

    std::int32_t integer(const char* key, std::int32_t least, std::int32_t most) const {
        return integer(key, required(key), least, most);
    }

    void number(const char* key, double& value) const {
        if (find(key) != nullptr) value = number(key, required(key));
    }

    void triple(const char* key, double (&values)[3]) const {
        if (find(key) == nullptr) return;
        const ordered_json& list = three(key);
        for (std::size_t i = 0; i < 3; ++i) values[i] = number(key, list[i]);
    }

    void colour(const char* key, std::uint16_t (&values)[3]) const {
        const ordered_json& list = three(key);
        for (std::size_t i = 0; i < 3; ++i) {
            values[i] = static_cast<std::uint16_t>(integer(key, list[i], 0, UINT16_MAX));
        }
    }

  private:
    const ordered_json& required(const char* key) const {
        const ordered_json* value = find(key);
        if (value == nullptr) throw wrong(std::string(key) + ": is missing");
        return *value;
    }

    const ordered_json& three(const char* key) const {
        const ordered_json& list = required(key);
        if (!list.is_array() || list.size() != 3) throw wrong(std::string(key) + ": must be a list of three numbers");
        return list;
    }

    std::int32_t integer(const char* key, const ordered_json& value, std::int32_t least, std::int32_t most) const {
        const bool fits = value.is_number_integer() &&
                          !(value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT32_MAX});
        if (!fits || value.get<std::int64_t>() < least || value.get<std::int64_t>() > most) {
            throw wrong(std::string(key) + ": must be a whole number from " + std::to_string(least) + " to " +
                        std::to_string(most));
        }
        return value.get<std::int32_t>();
    }

    double number(const char* key, const ordered_json& value) const {
        if (!value.is_number()) throw wrong(std::string(key) + ": must be numbers only");
        return value.get<double>();
    }

    std::string place_;
    const ordered_json& object_;
};

std::vector<unsigned char> read_payload(const Fields& fields, const std::filesystem::path& folder, GradeUse use) {
    const std::string name = fields.text("file");
    if (name.empty()) throw fields.wrong("file: must not be empty");
    const bool plain = std::filesystem::path(name).filename() == name && name != "." && name != "..";
    if (use == GradeUse::backup && !plain) {
        throw fields.wrong("file: '" + name + "' must be a file of the same folder");
    }
    try {
        return read_file(folder / name, payload_limit);
    } catch (const Failure& failure) {
        throw Failure(failure.code(), fields.wrong(std::string("file: ") + failure.what()).what());
    }
}

void read_values(const Fields& fields, Component& component) {
    fields.allow_only({"type", "typeIndex", "slope", "offset", "power", "saturation"});
    cdl values = neutral_cdl();
    fields.triple("slope", values.slope);
    fields.triple("offset", values.offset);
    fields.triple("power", values.power);
    fields.number("saturation", values.saturation);
    component.values = values;
}

void read_pattern(const Fields& fields, Component& component) {
    component.pattern_type = fields.text("patternType");
    component.pattern.videoFormat = fields.integer("videoFormat", INT32_MIN, INT32_MAX);
    if (component.pattern_type != square) {
        fields.allow_only({"type", "typeIndex", "patternType", "videoFormat"});
        return;
    }
    fields.allow_only({"type", "typeIndex", "patternType", "videoFormat", "squareSize", "fgColor", "bgColor"});
    if (fields.find("squareSize") == nullptr) throw fields.wrong("squareSize: is missing");
    fields.number("squareSize", component.pattern.squareSize);
    fields.colour("fgColor", component.pattern.fgColor);
    fields.colour("bgColor", component.pattern.bgColor);
}

Component read_component(const Fields& fields, const std::filesystem::path& folder, GradeUse use) {
    const std::string type = fields.text("type");
    const auto known = std::find(type_names.begin(), type_names.end(), type);
    if (known == type_names.end()) {
        throw fields.wrong("type: '" + type + "' is none of cdl, saturation, 1dlut, 3dlut and tpg");
    }
    Component component;
    component.kind = static_cast<int>(known - type_names.begin());
    if (fields.find("typeIndex") != nullptr) component.type_index = fields.integer("typeIndex", 1, INT32_MAX);
    if (component.kind == LUTC_KIND_TEST_PATTERN) {
        if (use != GradeUse::live) throw fields.wrong("type: a preset can't hold a test pattern");
        read_pattern(fields, component);
    } else if (component.kind == LUTC_KIND_LUT_1D || component.kind == LUTC_KIND_LUT_3D) {
        fields.allow_only({"type", "typeIndex", "dataFormat", "file"});
        component.data_format = fields.text("dataFormat");
        component.data = read_payload(fields, folder, use);
    } else if (fields.find("file") != nullptr) {
        fields.allow_only({"type", "typeIndex", "file"});
        component.data = read_payload(fields, folder, use);
    } else {
        read_values(fields, component);
    }
    return component;
}

void check_payloads(const std::string& place, const Grade& grade) {
    std::size_t total = 0;
    for (const Component& component : grade.components) total += component.data.size();
    if (total > preset_payload_limit) {
        throw Failure(exit_usage, place + ": the preset's payloads have " + std::to_string(total) +
                                      " bytes; more than " + std::to_string(preset_payload_limit) +
                                      " could never be downloaded again");
    }
}

// ---- Writing

std::string payload_name(const std::string& stem, std::size_t position, const Component& component) {
    return stem + "-" + std::to_string(position) + "-" + type_name(component) + ".bin";
}

ordered_json triple_of(const double (&values)[3]) { return ordered_json::array({values[0], values[1], values[2]}); }

ordered_json member_list(const Component& component, const std::string& payload) {
    ordered_json object = {{"type", type_name(component)}};
    if (component.type_index > 0) object["typeIndex"] = component.type_index;
    if (component.kind == LUTC_KIND_LUT_1D || component.kind == LUTC_KIND_LUT_3D) {
        object["dataFormat"] = component.data_format;
    }
    if (component.values) {
        object["slope"] = triple_of(component.values->slope);
        object["offset"] = triple_of(component.values->offset);
        object["power"] = triple_of(component.values->power);
        object["saturation"] = component.values->saturation;
    } else {
        object["file"] = payload;
    }
    return object;
}

// One member a line, each value on its line.
std::string lines_of(const ordered_json& object, const std::string& indent) {
    std::string text;
    for (const auto& member : object.items()) {
        text += (text.empty() ? "" : ",\n") + indent + ordered_json(member.key()).dump() + ": " + member.value().dump();
    }
    return text;
}

bool is_finite(const cdl& values) {
    bool finite = std::isfinite(values.saturation);
    for (int i = 0; i < 3; ++i) {
        finite = finite && std::isfinite(values.slope[i]) && std::isfinite(values.offset[i]) &&
                 std::isfinite(values.power[i]);
    }
    return finite;
}

void check_writable(const std::string& path, const Grade& grade) {
    if (grade.name && !is_utf8(*grade.name)) {
        throw Failure(exit_refused, path + ": preset '" + *grade.name + "': its name is not UTF-8; rename it first");
    }
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        const Component& component = grade.components[i];
        const std::string place = path + ": component " + std::to_string(i + 1) + ": ";
        if (!is_utf8(component.data_format)) throw Failure(exit_refused, place + "dataFormat: is not UTF-8");
        if (component.values && !is_finite(*component.values)) {
            throw Failure(exit_refused, place + "a CDL value is not finite and can't be written as JSON");
        }
    }
}

std::string text_of(const Grade& grade, const std::string& stem) {
    ordered_json head = ordered_json::object();
    if (grade.name) head["name"] = *grade.name;
    if (grade.grade_combo_index > 0) head["gradeComboIndex"] = grade.grade_combo_index;
    std::string text = "{\n" + lines_of(head, "  ") + (head.empty() ? "" : ",\n") + "  \"components\": [";
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        const Component& component = grade.components[i];
        text += (i == 0 ? "\n    {\n" : ",\n    {\n") +
                lines_of(member_list(component, payload_name(stem, i + 1, component)), "      ") + "\n    }";
    }
    return text + (grade.components.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}  // namespace

cdl neutral_cdl() { return cdl{{0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, 1.0}; }

std::vector<gradeComponent> records_of(Grade& grade) {
    std::vector<gradeComponent> records;
    for (Component& component : grade.components) {
        gradeComponent record = {};
        record.kind = component.kind;
        record.typeIndex = component.type_index;
        record.data = component.data.data();
        record.dataSize = static_cast<std::int32_t>(component.data.size());
        record.dataFormat = component.data_format.data();
        record.cdlValues = component.values ? &*component.values : nullptr;
        component.pattern.patternType = component.pattern_type.c_str();
        record.pattern = &component.pattern;
        records.push_back(record);
    }
    return records;
}

ordered_json read_json(const std::string& path) {
    const std::vector<unsigned char> bytes = read_file(path, json_limit);
    const std::string place = shown_path(path);
    // Of two members with the same key the parser would silently drop one.
    std::vector<std::set<std::string>> keys;
    const auto refuse_twins = [&keys, &place](int, ordered_json::parse_event_t event, ordered_json& value) {
        if (event == ordered_json::parse_event_t::object_start) keys.emplace_back();
        if (event == ordered_json::parse_event_t::object_end) keys.pop_back();
        if (event == ordered_json::parse_event_t::key && !keys.back().insert(value.get<std::string>()).second) {
            throw Failure(exit_usage, place + ": " + value.get<std::string>() + ": stands twice in one object");
        }
        return true;
    };
    try {
        return ordered_json::parse(bytes.begin(), bytes.end(), refuse_twins);
    } catch (const ordered_json::exception& error) {
        const std::string text = error.what();
        throw Failure(exit_usage, place + ": is no JSON: " + text.substr(text.find("] ") + 2));
    }
}

Grade read_grade_file(const std::string& path, GradeUse use) {
    const ordered_json document = read_json(path);
    const std::string place = shown_path(path);
    const Fields fields(place, document);
    fields.allow_only({"name", "gradeComboIndex", "components"});
    Grade grade;
    if (fields.find("name") != nullptr) {
        grade.name = fields.text("name");
        if (grade.name->size() > LUTC_PRESET_NAME_SIZE) {
            throw fields.wrong("name: '" + *grade.name + "' has " + std::to_string(grade.name->size()) +
                               " bytes; at most 32 are possible");
        }
    }
    if (fields.find("gradeComboIndex") != nullptr) {
        grade.grade_combo_index = fields.integer("gradeComboIndex", 1, INT32_MAX);
    }
    const ordered_json* components = fields.find("components");
    if (components == nullptr || !components->is_array()) throw fields.wrong("components: must be a list");
    const std::filesystem::path folder = path == "-" ? "" : std::filesystem::path(path).parent_path();
    for (std::size_t i = 0; i < components->size(); ++i) {
        const Fields component(place + ": component " + std::to_string(i + 1), (*components)[i]);
        grade.components.push_back(read_component(component, folder, use));
    }
    if (use != GradeUse::live) check_payloads(place, grade);
    return grade;
}

std::vector<std::string> grade_file_names(const std::string& path, const Grade& grade, const std::string& stem) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        if (!has_payload(grade.components[i])) continue;
        names.push_back(std::filesystem::path(path).parent_path() / payload_name(stem, i + 1, grade.components[i]));
    }
    names.push_back(path);
    return names;
}

void write_grade_file(const std::string& path, const Grade& grade, const std::string& stem) {
    check_writable(path, grade);
    const std::string text = text_of(grade, stem);
    const std::vector<std::string> names = grade_file_names(path, grade, stem);
    std::vector<NewFile> files;
    for (const Component& component : grade.components) {
        if (has_payload(component)) {
            files.push_back({names[files.size()], component.data.data(), component.data.size()});
        }
    }
    files.push_back({path, text.data(), text.size()});
    write_files(files);
}

}  // namespace lutc_cli
