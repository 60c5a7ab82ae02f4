#include <array>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/console/files.h"
#include "cli/console/output.h"
#include "cli/presets/grade_file.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

std::string name_payload(const std::string& stem, std::size_t position, const lutc::component& component) {
    return stem + "-" + std::to_string(position) + "-" + type_of(component) + ".bin";
}

ordered_json write_component(const lutc::component& component, const std::string& payload) {
    ordered_json object = {{"type", type_of(component)}};
    const int slot = std::visit([](const auto& value) { return value.slot; }, component);
    if (slot > 0) object["typeIndex"] = slot;
    if (const auto* const cdl = std::get_if<lutc::cdl_values>(&component)) {
        object["slope"] = cdl->slope;
        object["offset"] = cdl->offset;
        object["power"] = cdl->power;
        object["saturation"] = cdl->saturation;
    } else if (const auto* const saturation = std::get_if<lutc::saturation>(&component)) {
        object["saturation"] = saturation->value;
    } else {
        if (!std::holds_alternative<lutc::raw_colour>(component)) object["dataFormat"] = format_of(component);
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

bool is_finite(const lutc::component& component) {
    if (const auto* const single = std::get_if<lutc::saturation>(&component)) return std::isfinite(single->value);
    const auto* const cdl = std::get_if<lutc::cdl_values>(&component);
    if (cdl == nullptr) return true;
    const auto all = [](const lutc::triple& v) {
        return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
    };
    return all(cdl->slope) && all(cdl->offset) && all(cdl->power) && std::isfinite(cdl->saturation);
}

void check_writable(const std::string& path, const grade_file& grade) {
    if (grade.name && !is_utf8(*grade.name)) {
        throw failure(exit_refused, path + ": preset '" + *grade.name + "': its name is not UTF-8; rename it first");
    }
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        const lutc::component& component = grade.components[i];
        const std::string place = path + ": component " + std::to_string(i + 1) + ": ";
        if (std::holds_alternative<lutc::unknown_component>(component)) {
            throw failure(exit_refused, place + "is of a kind that lutc can't keep");
        }
        if (!is_utf8(format_of(component))) throw failure(exit_refused, place + "dataFormat: is not UTF-8");
        if (!is_finite(component)) {
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
        const lutc::component& component = grade.components[i];
        text += (i == 0 ? "\n    {\n" : ",\n    {\n") +
                write_members(write_component(component, name_payload(stem, i + 1, component)), "      ") + "\n    }";
    }
    return text + (grade.components.empty() ? "]\n}\n" : "\n  ]\n}\n");
}

}  // namespace

std::string type_of(const lutc::component& component) {
    constexpr std::array<const char*, 7> types = {"cdl", "saturation", "1dlut", "3dlut", "cdl", "tpg", "unknown"};
    const auto* const raw = std::get_if<lutc::raw_colour>(&component);
    return raw != nullptr && raw->is_saturation ? "saturation" : types[component.index()];
}

const std::vector<std::uint8_t>* data_of(const lutc::component& component) {
    if (const auto* const lut = std::get_if<lutc::lut_1d>(&component)) return &lut->data;
    if (const auto* const lut = std::get_if<lutc::lut_3d>(&component)) return &lut->data;
    if (const auto* const raw = std::get_if<lutc::raw_colour>(&component)) return &raw->data;
    return nullptr;
}

std::string format_of(const lutc::component& component) {
    if (const auto* const lut = std::get_if<lutc::lut_1d>(&component)) return lut->format;
    if (const auto* const lut = std::get_if<lutc::lut_3d>(&component)) return lut->format;
    return {};
}

std::vector<std::string> list_grade_files(const std::string& path, const grade_file& grade, const std::string& stem) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < grade.components.size(); ++i) {
        if (data_of(grade.components[i]) == nullptr) continue;
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
    for (const lutc::component& component : grade.components) {
        if (const auto* const data = data_of(component)) {
            files.push_back({names[files.size()], data->data(), data->size()});
        }
    }
    files.push_back({path, text.data(), text.size()});
    write_files(files);
}

}  // namespace lutc_cli
