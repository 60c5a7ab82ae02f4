#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/console/files.h"
#include "cli/presets/grade_file.h"
#include "cli/presets/json_value.h"

namespace lutc_cli {
namespace {

// Reads the components of one file.
class component_reader {
  public:
    component_reader(const std::string& path, grade_use use)
        : folder_(path == "-" ? "" : std::filesystem::path(path).parent_path()), use_(use) {}

    file_component read(const json_value& fields) const {
        const std::string type = fields["type"].text();
        const auto known = std::find(component_types.begin(), component_types.end(), type);
        if (known == component_types.end()) {
            throw fields["type"].make_failure("'" + type + "' is none of cdl, saturation, 1dlut, 3dlut and tpg");
        }
        file_component component;
        component.kind = static_cast<int>(known - component_types.begin());
        if (fields.has("typeIndex")) component.type_index = fields["typeIndex"].integer(1);
        if (component.kind == LUTC_KIND_TEST_PATTERN) {
            if (use_ != grade_use::live) throw fields["type"].make_failure("a preset can't hold a test pattern");
            read_pattern(fields, component);
        } else if (component.is_lut()) {
            fields.allow_only({"type", "typeIndex", "dataFormat", "file"});
            component.data_format = fields["dataFormat"].text();
            component.data = read_payload(fields["file"]);
        } else if (fields.has("file")) {
            fields.allow_only({"type", "typeIndex", "file"});
            component.data = read_payload(fields["file"]);
        } else {
            component.values = read_values(fields);
        }
        return component;
    }

  private:
    static cdl read_values(const json_value& fields) {
        fields.allow_only({"type", "typeIndex", "slope", "offset", "power", "saturation"});
        cdl values{{0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}, {1.0, 1.0, 1.0}, 1.0};
        if (fields.has("slope")) fields["slope"].read_triple(values.slope);
        if (fields.has("offset")) fields["offset"].read_triple(values.offset);
        if (fields.has("power")) fields["power"].read_triple(values.power);
        if (fields.has("saturation")) values.saturation = fields["saturation"].number();
        return values;
    }

    static void read_colour(const json_value& value, std::uint16_t (&colour)[3]) {
        const std::vector<json_value> items = value.items();
        if (items.size() != 3) throw value.make_failure("must be a list of three numbers");
        for (std::size_t i = 0; i < 3; ++i) colour[i] = static_cast<std::uint16_t>(items[i].integer(0, UINT16_MAX));
    }

    static void read_pattern(const json_value& fields, file_component& component) {
        component.pattern_type = fields["patternType"].text();
        component.pattern.videoFormat = fields["videoFormat"].integer(INT32_MIN);
        if (component.pattern_type != "square") {
            fields.allow_only({"type", "typeIndex", "patternType", "videoFormat"});
            return;
        }
        fields.allow_only({"type", "typeIndex", "patternType", "videoFormat", "squareSize", "fgColor", "bgColor"});
        component.pattern.squareSize = fields["squareSize"].number();
        read_colour(fields["fgColor"], component.pattern.fgColor);
        read_colour(fields["bgColor"], component.pattern.bgColor);
    }

    std::vector<unsigned char> read_payload(const json_value& file) const {
        const std::string name = use_ == grade_use::backup ? file.plain_name() : file.text();
        if (name.empty()) throw file.make_failure("must not be empty");
        try {
            return read_file(folder_ / name, payload_limit);
        } catch (const failure& error) {
            throw failure(error.code(), file.make_failure(error.what()).what());
        }
    }

    std::filesystem::path folder_;
    grade_use use_;
};

}  // namespace

grade_file read_grade_file(const std::string& path, grade_use use) {
    const nlohmann::ordered_json document = read_json(path);
    const json_value fields(path, document);
    fields.allow_only({"name", "gradeComboIndex", "components"});
    grade_file grade;
    if (fields.has("name")) {
        grade.name = fields["name"].text();
        if (grade.name->size() > LUTC_PRESET_NAME_SIZE) {
            throw fields["name"].make_failure("'" + *grade.name + "' has " + std::to_string(grade.name->size()) +
                                              " bytes; at most 32 are possible");
        }
    }
    if (fields.has("gradeComboIndex")) grade.combination = fields["gradeComboIndex"].integer(1);
    const component_reader reader(path, use);
    for (const json_value& component : fields.items("components", "component")) {
        grade.components.push_back(reader.read(component));
    }
    std::size_t total = 0;
    for (const file_component& component : grade.components) total += component.data.size();
    if (use != grade_use::live && total > preset_payload_limit) {
        throw fields.make_failure("the preset's payloads have " + std::to_string(total) + " bytes; more than " +
                                  std::to_string(preset_payload_limit) + " could never be downloaded again");
    }
    return grade;
}

}  // namespace lutc_cli
