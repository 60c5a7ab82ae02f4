#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/console/files.h"
#include "cli/presets/grade_file.h"
#include "cli/presets/json_file.h"
#include "colour/error.h"
#include "colour/reader.h"
#include "colour/text_file.h"

namespace lutc_cli {
namespace {

// What goes wrong with a file is said with its place.
template <class Read>
auto read_at(const json_value& place, const Read& read) {
    try {
        return read();
    } catch (const failure& error) {
        throw failure(error.code(), place.make_failure(error.what()).what());
    } catch (const colour::content_error& error) {
        throw place.make_failure(error.what());
    } catch (const colour::error& error) {
        throw failure(exit_refused, place.make_failure(error.what()).what());
    }
}

// Reads the components of one file.
class component_reader {
  public:
    component_reader(const std::string& path, grade_use use, const lut_packer& pack)
        : folder_(path == "-" ? "" : std::filesystem::path(path).parent_path()), use_(use), pack_(pack) {}

    lutc::component read(const json_value& fields) {
        const std::string type = fields["type"].text();
        const int slot = fields.has("typeIndex") ? fields["typeIndex"].integer(1) : 0;
        if ((type == "1dlut" || type == "3dlut") && pack_ && !fields.has("dataFormat")) return pack(fields, type, slot);
        if (type == "1dlut") return read_lut<lutc::lut_1d>(fields, slot);
        if (type == "3dlut") return read_lut<lutc::lut_3d>(fields, slot);
        if (type == "cdl" || type == "saturation") return read_colour(fields, type == "saturation", slot);
        if (type != "tpg") {
            throw fields["type"].make_failure("'" + type + "' is none of cdl, saturation, 1dlut, 3dlut and tpg");
        }
        if (use_ != grade_use::live) throw fields["type"].make_failure("a preset can't hold a test pattern");
        return read_pattern(fields, slot);
    }

    std::vector<std::string> files;  // that were read

  private:
    template <class Lut>
    Lut read_lut(const json_value& fields, int slot) {
        fields.allow_only({"type", "typeIndex", "dataFormat", "file"});
        return {fields["dataFormat"].text(), read_table(fields["file"], "without dataFormat"), slot};
    }

    // A LUT file, turned into the device's table.
    lutc::component pack(const json_value& fields, const std::string& type, int slot) {
        fields.allow_only({"type", "typeIndex", "file", "size"});
        const std::string path = find_file(fields["file"]);
        const int size = fields.has("size") ? fields["size"].integer(2) : 0;
        lutc::component packed = read_at(fields["file"], [&] { return pack_(path, size); });
        if (type_of(packed) != type) {
            throw fields["type"].make_failure("'" + type + "', but " + path + " is a " + type_of(packed));
        }
        std::visit([slot](auto& component) { component.slot = slot; }, packed);
        return packed;
    }

    lutc::component read_colour(const json_value& fields, bool is_saturation, int slot) {
        if (fields.has("file") && !is_saturation && pack_ && is_cdl_file(fields)) return read_cdl(fields, slot);
        if (fields.has("file")) {
            fields.allow_only({"type", "typeIndex", "file"});
            return lutc::raw_colour{read_table(fields["file"], "as a cdl"), is_saturation, slot};
        }
        fields.allow_only({"type", "typeIndex", "slope", "offset", "power", "saturation"});
        lutc::cdl_values values;
        if (fields.has("slope")) values.slope = fields["slope"].triple();
        if (fields.has("offset")) values.offset = fields["offset"].triple();
        if (fields.has("power")) values.power = fields["power"].triple();
        if (fields.has("saturation")) values.saturation = fields["saturation"].number();
        values.slot = slot;
        if (!is_saturation) return values;
        check_saturation_alone(fields, values);
        return lutc::saturation{values.saturation, slot};
    }

    // All 0 is how a device may give values that it doesn't have.
    static void check_saturation_alone(const json_value& fields, const lutc::cdl_values& values) {
        const lutc::triple zero{};
        const lutc::cdl_values neutral;
        if (values.slope == zero && values.offset == zero && values.power == zero) return;
        for (const auto& [key, field] : {std::pair("slope", &lutc::cdl_values::slope),
                                         {"offset", &lutc::cdl_values::offset},
                                         {"power", &lutc::cdl_values::power}}) {
            if (values.*field == neutral.*field) continue;
            throw fields[key].make_failure("changes the picture, and a saturation has none; make it a cdl");
        }
    }

    static lutc::colour16 read_rgb(const json_value& value) {
        const std::vector<json_value> items = value.items();
        if (items.size() != 3) throw value.make_failure("must be a list of three numbers");
        lutc::colour16 rgb;
        for (std::size_t i = 0; i < 3; ++i) rgb[i] = static_cast<std::uint16_t>(items[i].integer(0, UINT16_MAX));
        return rgb;
    }

    static lutc::test_pattern read_pattern(const json_value& fields, int slot) {
        lutc::test_pattern pattern;
        pattern.slot = slot;
        pattern.type = fields["patternType"].text();
        pattern.video_format = fields["videoFormat"].integer(INT32_MIN);
        if (pattern.type != "square") {
            fields.allow_only({"type", "typeIndex", "patternType", "videoFormat"});
            return pattern;
        }
        fields.allow_only({"type", "typeIndex", "patternType", "videoFormat", "squareSize", "fgColor", "bgColor"});
        pattern.size = fields["squareSize"].number();
        pattern.foreground = read_rgb(fields["fgColor"]);
        pattern.background = read_rgb(fields["bgColor"]);
        return pattern;
    }

    // Else its bytes are values as the device has them.
    bool is_cdl_file(const json_value& fields) const {
        return fields.has("id") || colour::is_cdl_file(fields["file"].text());
    }

    lutc::component read_cdl(const json_value& fields, int slot) {
        fields.allow_only({"type", "typeIndex", "file", "id"});
        const std::string id = fields.has("id") ? fields["id"].text() : "";
        const std::string path = find_file(fields["file"]);
        const auto values = read_at(fields["file"], [&] { return colour::read_cdl_file(path, id); });
        return lutc::cdl_values{values.slope, values.offset, values.power, values.saturation, slot};
    }

    // Where a file is; it is one of those that were read.
    std::string find_file(const json_value& file) {
        const std::string name = use_ == grade_use::backup ? file.plain_name() : file.text();
        if (name.empty()) throw file.make_failure("must not be empty");
        files.push_back(folder_ / name);
        return files.back();
    }

    // hint: how a text would do.
    std::vector<unsigned char> read_table(const json_value& file, const char* hint) {
        const std::string path = find_file(file);
        return read_at(file, [&] {
            if (use_ == grade_use::backup) return read_file_of_folder(path, payload_limit);
            std::vector<unsigned char> bytes = read_file(path, payload_limit);
            if (!colour::is_lut_text(bytes)) return bytes;
            throw failure(exit_usage, path + ": " + text_as_table + hint);
        });
    }

    std::filesystem::path folder_;
    grade_use use_;
    const lut_packer& pack_;
};

}  // namespace

grade_file read_grade_file(const std::string& path, grade_use use, const lut_packer& pack) {
    const nlohmann::ordered_json document = use == grade_use::backup ? read_json_of_folder(path) : read_json(path);
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
    component_reader reader(path, use, pack);
    for (const json_value& component : fields.items("components", "component")) {
        grade.components.push_back(reader.read(component));
    }
    grade.files = std::move(reader.files);
    grade.files.push_back(path);
    if (use != grade_use::live) check_payloads(path == "-" ? "standard input" : path, grade.components);
    return grade;
}

void check_payloads(const std::string& place, const lutc::grade& components) {
    std::size_t total = 0;
    for (const lutc::component& component : components) {
        if (const auto* const data = data_of(component)) total += data->size();
    }
    if (total <= preset_payload_limit) return;
    throw failure(exit_usage, place + ": the preset's payloads have " + std::to_string(total) + " bytes; more than " +
                                  std::to_string(preset_payload_limit) + " could never be downloaded again");
}

}  // namespace lutc_cli
