// lutc grade preview: what a grade does to a picture, before it is sent.
#include <algorithm>
#include <memory>

#include "cli/commands/commands.h"
#include "cli/commands/output_option.h"
#include "cli/commands/table_option.h"
#include "cli/presets/config.h"
#include "cli/presets/grade_file.h"
#include "colour/chart.h"
#include "colour/error.h"
#include "colour/grade.h"
#include "colour/image_png.h"
#include "colour/layout.h"
#include "colour/pattern.h"
#include "colour/reader.h"
#include "colour/text_file.h"
#include "colour/transform.h"

namespace lutc_cli {
namespace {

using colour::image_rows;

image_rows draw(const lutc::test_pattern& wanted, const image_rows& before) {
    colour::test_pattern pattern;
    pattern.name = wanted.type;
    pattern.square_size = wanted.size;
    std::copy(wanted.foreground.begin(), wanted.foreground.end(), pattern.foreground.begin());
    std::copy(wanted.background.begin(), wanted.background.end(), pattern.background.begin());
    return colour::draw_pattern(pattern, before.width, before.height);
}

// It refers to the bytes of the component.
colour::grade_component convert(const lutc::component& component) {
    colour::grade_component converted;
    converted.type = type_of(component);
    converted.data = data_of(component);
    converted.data_format = format_of(component);
    if (const auto* const cdl = std::get_if<lutc::cdl_values>(&component)) {
        converted.values = {cdl->slope, cdl->offset, cdl->power, cdl->saturation};
    } else if (const auto* const saturation = std::get_if<lutc::saturation>(&component)) {
        converted.values.emplace().saturation = saturation->value;
    }
    return converted;
}

// The pictures before and after.
struct preview {
    image_rows before;
    image_rows after;
    std::vector<std::string> files;  // those that it was made of, the picture not counted
};

preview grade(const std::string& name, image_rows before, const std::vector<colour::grade_component>& components) {
    const std::vector<colour::grade_step> steps = colour::list_steps(components);
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i].runs) continue;
        const std::string place = steps.size() == 1 ? "" : "component " + std::to_string(i + 1) + ": ";
        throw failure(exit_usage, name + ": " + place + steps[i].reason);
    }
    return {before, colour::grade_rows(before, steps, {}), {name}};
}

preview grade_by_file(const std::string& file, image_rows before) {
    // Without a device: in its layout when that is written down, else as exactly as can be.
    const table_options tables = {read_config().layout.value_or("float32-le-red-fastest"), ""};
    const grade_file content = read_grade_file(file, grade_use::live, make_packer(tables));
    std::vector<colour::grade_component> components;
    for (const lutc::component& component : content.components) {
        const auto* const pattern = std::get_if<lutc::test_pattern>(&component);
        if (pattern == nullptr) {
            components.push_back(convert(component));
        } else if (colour::is_pattern(pattern->type)) {
            before = draw(*pattern, before);
        } else {
            throw failure(exit_usage, file + ": no pattern is named '" + pattern->type + "'");
        }
    }
    preview result = grade(file, std::move(before), components);
    result.files = content.files;
    return result;
}

preview grade_by_cdl(const std::string& file, const std::string& id, image_rows before) {
    colour::grade_component component;
    component.type = "cdl";
    component.values = colour::read_cdl_file(file, id);
    return grade(file, std::move(before), {component});
}

image_rows transform_rows(const image_rows& source, const colour::colour_transform& transform) {
    return {source.width, source.height, [source, apply = transform.apply](std::size_t y, float* rgba) {
                std::vector<float> triples(3 * source.width);
                source.read(y, rgba);
                for (std::size_t i = 0; i < triples.size(); ++i) triples[i] = rgba[i / 3 * 4 + i % 3];
                apply(triples);
                for (std::size_t i = 0; i < triples.size(); ++i) rgba[i / 3 * 4 + i % 3] = triples[i];
            }};
}

// A file that is one table runs as the device would run that; of all others the file itself is shown.
preview grade_by_lut(const std::string& file, image_rows before) {
    const colour::colour_transform transform = colour::read_lut_file(file);
    if (!transform.content) return {before, transform_rows(before, transform), {file}};
    colour::grade_component component;
    component.type = transform.content->is_cube ? "3dlut" : "1dlut";
    component.data_format = transform.content->is_cube ? "float32-le-red-fastest" : "float32-le";
    const std::vector<unsigned char> bytes =
        colour::pack(*transform.content, colour::find_layout(component.data_format).value());
    component.data = &bytes;
    return grade(file, std::move(before), {component});
}

image_rows split(const preview& halves) {
    return {halves.before.width, halves.before.height, [halves](std::size_t y, float* rgba) {
                std::vector<float> left(4 * halves.before.width);
                halves.before.read(y, left.data());
                halves.after.read(y, rgba);
                std::copy_n(left.begin(), 4 * (halves.before.width / 2), rgba);
            }};
}

struct preview_options {
    std::string file;
    std::string id;
    std::optional<std::string> picture;
    bool splits = false;
    output_option output;

    void declare(const command& to) {
        to.add_text("file", file, "A grade file, a CDL file (.cc, .ccc, .cdl, .edl) or a LUT file").require();
        to.add_text("--id", id, "Which of a CDL file's corrections; #N for the Nth");
        to.add_text("--picture", picture, "The picture to grade, a PNG; without it a chart");
        to.add_flag("--split", splits, "Leave the left half as it was");
        output.declare(to, "The graded picture, with as many bits as the one it was made from");
    }

    void run(const output_style& style) const {
        const auto input =
            std::make_shared<const colour::image>(picture ? colour::read_png(*picture) : colour::draw_chart(0));
        const preview result = render(colour::read_rows(input));
        std::vector<std::string> inputs = result.files;
        if (picture) inputs.push_back(*picture);
        output.write(colour::encode_png(splits ? split(result) : result.after, colour::depth_of(*input)), inputs);
        print_done(output.style_beside(style));
    }

    preview render(image_rows input) const {
        if (colour::is_cdl_file(file)) return grade_by_cdl(file, id, std::move(input));
        if (!id.empty()) throw failure(exit_usage, file + ": --id is for .cc, .ccc, .cdl and .edl files");
        if (colour::extension_of(file) == ".json" || file == "-") return grade_by_file(file, std::move(input));
        return grade_by_lut(file, std::move(input));
    }
};

}  // namespace

void add_grade_preview(const command& grades) {
    grades.add<preview_options>("preview", "Draw what a grade does to a picture, as PNG; nothing is sent");
}

}  // namespace lutc_cli
