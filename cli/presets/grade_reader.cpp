#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/console/files.h"
#include "cli/presets/grade_file.h"
#include "cli/presets/json_fields.h"

namespace lutc_cli {
namespace {

// Reads the components of one file.
class component_reader {
  public:
    component_reader(const std::string& path, grade_use use)
        : folder_(path == "-" ? "" : std::filesystem::path(path).parent_path()), use_(use) {}

    file_component read(const json_fields& fields) const {
        const std::string type = fields.text("type");
        const auto known = std::find(component_types.begin(), component_types.end(), type);
        if (known == component_types.end()) {
            throw fields.make_failure("type", "'" + type + "' is none of cdl, saturation, 1dlut, 3dlut and tpg");
        }
        file_component component;
        component.kind = static_cast<int>(known - component_types.begin());
        if (fields.has("typeIndex")) component.type_index = fields.integer("typeIndex", 1);
        if (component.kind == LUTC_KIND_TEST_PATTERN) {
            if (use_ != grade_use::live) throw fields.make_failure("type", "a preset can't hold a test pattern");
            read_pattern(fields, component);
        } else if (component.is_lut()) {
            fields.allow_only({"type", "typeIndex", "dataFormat", "file"});
            component.data_format = fields.text("dataFormat");
            component.data = read_payload(fields);
        } else if (fields.has("file")) {
            fields.allow_only({"type", "typeIndex", "file"});
            component.data = read_payload(fields);
        } else {
            component.values = read_values(fields);
        }
        return component;
    }

  private:
    static cdl read_values(const json_fields& fields) {
        fields.allow_only({"type", "typeIndex", "slope", "offset", "power", "saturation"});
        cdl values{{0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, 1.0};
        if (fields.has("slope")) fields.read_triple("slope", values.slope);
        if (fields.has("offset")) fields.read_triple("offset", values.offset);
        if (fields.has("power")) fields.read_triple("power", values.power);
        if (fields.has("saturation")) values.saturation = fields.number("saturation");
        return values;
    }

    static void read_pattern(const json_fields& fields, file_component& component) {
        component.pattern_type = fields.text("patternType");
        component.pattern.videoFormat = fields.integer("videoFormat", INT32_MIN);
        if (component.pattern_type != "square") {
            fields.allow_only({"type", "typeIndex", "patternType", "videoFormat"});
            return;
        }
        fields.allow_only({"type", "typeIndex", "patternType", "videoFormat", "squareSize", "fgColor", "bgColor"});
        component.pattern.squareSize = fields.number("squareSize");
        fields.read_colour("fgColor", component.pattern.fgColor);
        fields.read_colour("bgColor", component.pattern.bgColor);
    }

    std::vector<unsigned char> read_payload(const json_fields& fields) const {
        const std::string name = fields.text("file");
        if (name.empty()) throw fields.make_failure("file", "must not be empty");
        if (use_ == grade_use::backup) fields.require_plain_name("file", name);
        try {
            return read_file(folder_ / name, payload_limit);
        } catch (const failure& error) {
            throw failure(error.code(), fields.make_failure("file", error.what()).what());
        }
    }

    std::filesystem::path folder_;
    grade_use use_;
};

void check_payloads(const std::string& path, const grade_file& grade) {
    std::size_t total = 0;
    for (const file_component& component : grade.components) total += component.data.size();
    if (total > preset_payload_limit) {
        throw failure(exit_usage, (path == "-" ? "standard input" : path) + ": the preset's payloads have " +
                                      std::to_string(total) + " bytes; more than " +
                                      std::to_string(preset_payload_limit) + " could never be downloaded again");
    }
}

}  // namespace

grade_file read_grade_file(const std::string& path, grade_use use) {
    const nlohmann::ordered_json document = read_json(path);
    const json_fields fields(path, document);
    fields.allow_only({"name", "gradeComboIndex", "components"});
    grade_file grade;
    if (fields.has("name")) {
        grade.name = fields.text("name");
        if (grade.name->size() > LUTC_PRESET_NAME_SIZE) {
            throw fields.make_failure("name", "'" + *grade.name + "' has " + std::to_string(grade.name->size()) +
                                                  " bytes; at most 32 are possible");
        }
    }
    if (fields.has("gradeComboIndex")) grade.combination = fields.integer("gradeComboIndex", 1);
    const component_reader reader(path, use);
    for (const json_fields& component : fields.objects("components", "component")) {
        grade.components.push_back(reader.read(component));
    }
    if (use != grade_use::live) check_payloads(path, grade);
    return grade;
}

}  // namespace lutc_cli
