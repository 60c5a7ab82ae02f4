#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/console/files.h"
#include "cli/console/output.h"
#include "cli/presets/grade_file.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

std::string name_payload(const std::string& stem, std::size_t position, const file_component& component) {
    return stem + "-" + std::to_string(position) + "-" + component.type() + ".bin";
}

ordered_json write_component(const file_component& component, const std::string& payload) {
    ordered_json object = {{"type", component.type()}};
    if (component.type_index > 0) object["typeIndex"] = component.type_index;
    if (component.is_lut()) object["dataFormat"] = component.data_format;
    if (component.values) {
        object["slope"] = component.values->slope;
        object["offset"] = component.values->offset;
        object["power"] = component.values->power;
        object["saturation"] = component.values->saturation;
    } else {
        object["file"] = payload;
    }
    return object;
}

// One member a line, each value on its line.
std::string write_members(const ordered_json& object, const std::string& indent) {
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

void check_writable(const std::string& path, const grade_file& grade) {
    if (grade.name && !is_utf8(*grade.name)) {
        throw failure(exit_refused, path + ": preset '" + *grade.name + "': its name is not UTF-8; rename it first");
    }
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        const file_component& component = grade.components[i];
        const std::string place = path + ": component " + std::to_string(i + 1) + ": ";
        if (!is_utf8(component.data_format)) throw failure(exit_refused, place + "dataFormat: is not UTF-8");
        if (component.values && !is_finite(*component.values)) {
            throw failure(exit_refused, place + "a CDL value is not finite and can't be written as JSON");
        }
    }
}

std::string write_grade(const grade_file& grade, const std::string& stem) {
    ordered_json head = ordered_json::object();
    if (grade.name) head["name"] = *grade.name;
    if (grade.combination > 0) head["gradeComboIndex"] = grade.combination;
    std::string text = "{\n" + write_members(head, "  ") + (head.empty() ? "" : ",\n") + "  \"components\": [";
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        const file_component& component = grade.components[i];
        text += (i == 0 ? "\n    {\n" : ",\n    {\n") +
                write_members(write_component(component, name_payload(stem, i + 1, component)), "      ") + "\n    }";
    }
    return text + (grade.components.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

bool has_payload(const file_component& component) {
    return component.kind != LUTC_KIND_TEST_PATTERN && !component.values;
}

}  // namespace

std::vector<gradeComponent> list_records(grade_file& grade) {
    std::vector<gradeComponent> records;
    for (file_component& component : grade.components) {
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

std::vector<std::string> list_grade_files(const std::string& path, const grade_file& grade, const std::string& stem) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        if (!has_payload(grade.components[i])) continue;
        names.push_back(std::filesystem::path(path).parent_path() / name_payload(stem, i + 1, grade.components[i]));
    }
    names.push_back(path);
    return names;
}

void write_grade_file(const std::string& path, const grade_file& grade, const std::string& stem) {
    check_writable(path, grade);
    const std::string text = write_grade(grade, stem);
    const std::vector<std::string> names = list_grade_files(path, grade, stem);
    std::vector<new_file> files;
    for (const file_component& component : grade.components) {
        if (has_payload(component)) {
            files.push_back({names[files.size()], component.data.data(), component.data.size()});
        }
    }
    files.push_back({path, text.data(), text.size()});
    write_files(files);
}

}  // namespace lutc_cli
