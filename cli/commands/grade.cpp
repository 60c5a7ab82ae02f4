// lutc grade combination|lut|cdl|saturation|live|plot (preview has a file of its own)
#include <algorithm>
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"
#include "cli/commands/output_option.h"
#include "cli/commands/table_option.h"
#include "cli/presets/grade_file.h"
#include "colour/plot.h"
#include "colour/reader.h"
#include "colour/text_file.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

// The channel that a grade goes to, and how.
struct grade_target {
    int channel = 0;
    int slot = 0;
    bool reset = false;

    void declare_slot(const command& to) {
        to.add_integer("--slot", slot, 1, "Slot among the components of its type, from 1");
    }

    void declare(const command& to) {
        to.add_channel(channel);
        to.add_flag("--reset", reset, "Start from a neutral grade and apply this at once");
    }

    std::string describe() const { return describe_channel(channel); }
};

struct combination_options {
    grade_target target;
    int combination = 0;

    std::string subject() const { return target.describe(); }

    void declare(const command& to) {
        to.add_integer("combination", combination, 1, "The combination, from 1 (see lutc model)").require();
        target.declare(to);
    }

    void run() const { lutc::send_combination(target.channel, combination, {target.reset}); }
};

struct lut_options {
    grade_target target;
    std::string file;
    std::string type;
    table_options tables;
    int size = 0;

    std::string subject() const { return target.describe(); }

    void declare(const command& lut) {
        lut.add_text("file", file, "A LUT file; or with --type a table's bytes, - for standard input").require();
        const argument raw =
            lut.add_text("--type", type, "Type of the table whose bytes are sent as they are, such as 1dlut or 3dlut");
        const argument format = add_format(lut, tables.format);
        raw.need(format).exclude(add_layout(lut, tables.layout));
        lut.add_integer("--size", size, 2, "Entries of the curve, or points on each axis of the cube; as in the file")
            .exclude(raw);
        target.declare_slot(lut);
        target.declare(lut);
    }

    ordered_json run() const {
        if (type.empty()) return send_packed();
        const std::vector<unsigned char> data = read_file(file, payload_limit);
        if (data.empty()) throw failure(exit_usage, file + ": holds no table");
        if (colour::is_lut_text(data)) throw failure(exit_usage, file + ": " + text_as_table + "without --type");
        lutc::send_lut(target.channel, type, *tables.format, data, {target.slot, target.reset});
        return nullptr;
    }

    ordered_json send_packed() const {
        device_model device;
        const packed_component packed = pack_component(colour::read_lut_file(file), size, tables, device);
        const std::string kind = type_of(packed.component);
        const std::string format = format_of(packed.component);
        lutc::send_lut(target.channel, kind, format, packed.table.bytes, {target.slot, target.reset});
        return {{"type", kind},
                {"dataFormat", format},
                {"size", packed.table.size},
                {"resampled", packed.table.is_resampled},
                {"maximumError", packed.table.error}};
    }
};

// CDL values, one by one or from a file.
struct cdl_source {
    colour::cdl_values values;
    std::optional<std::string> file;
    std::string id;
    std::vector<argument> given;  // each of which says what the values are

    void declare(const command& to) {
        const argument from_file = to.add_text("--file", file, "Take the values from a .cc, .ccc, .cdl or .edl file");
        to.add_text("--id", id, "Which of the file's corrections; #N for the Nth").need(from_file);
        given = {to.add_triple("--slope", values.slope, "Slope of red, green and blue (default 1 1 1)"),
                 to.add_triple("--offset", values.offset, "Offset of red, green and blue (default 0 0 0)"),
                 to.add_triple("--power", values.power, "Power of red, green and blue (default 1 1 1)"),
                 to.add_number("--saturation", values.saturation, "Saturation (default 1)")};
        for (const argument& value : given) from_file.exclude(value);
        given.push_back(from_file);
    }

    bool is_given() const {
        return std::any_of(given.begin(), given.end(), [](const argument& each) { return each.is_given(); });
    }

    colour::cdl_values read() const {
        if (file) return colour::read_cdl_file(*file, id);
        const std::string obstacle = colour::find_cdl_obstacle(values);
        if (!obstacle.empty()) throw failure(exit_usage, obstacle);
        return values;
    }
};

struct cdl_options {
    cdl_source source;
    bool neutral = false;
    grade_target target;

    std::string subject() const { return target.describe(); }

    void declare(const command& to) {
        source.declare(to);
        const argument alone = to.add_flag("--neutral", neutral, "Send a CDL that leaves the picture as it is");
        for (const argument& value : source.given) alone.exclude(value);
        target.declare_slot(to);
        target.declare(to);
    }

    ordered_json run() const {
        if (!neutral && !source.is_given()) {
            throw failure(exit_usage, "grade cdl: give --slope, --offset, --power, --saturation, --file or --neutral");
        }
        const colour::cdl_values values = source.read();
        lutc::send_cdl(target.channel, {values.slope, values.offset, values.power, values.saturation, target.slot},
                       {target.reset});
        if (!source.file) return nullptr;
        return {{"slope", values.slope},
                {"offset", values.offset},
                {"power", values.power},
                {"saturation", values.saturation}};
    }
};

struct saturation_options {
    grade_target target;
    double saturation = 1.0;

    std::string subject() const { return target.describe(); }

    void declare(const command& to) {
        to.add_number("saturation", saturation, "1 leaves the picture as it is, 0 gives greys").require();
        target.declare_slot(to);
        target.declare(to);
    }

    void run() const {
        const std::string obstacle = colour::find_saturation_obstacle(saturation);
        if (!obstacle.empty()) throw failure(exit_usage, obstacle);
        lutc::send_saturation(target.channel, {saturation, target.slot}, {target.reset});
    }
};

struct live_options {
    grade_target target;
    std::string file;
    int combination = 0;
    table_options tables;

    std::string subject() const { return target.describe(); }

    void declare(const command& live) {
        live.add_text("file", file, "A grade file; - for standard input").require();
        live.add_integer("--combination", combination, 1, "The grade combination, from 1, in place of the file's");
        declare_tables(tables, live);
        target.declare(live);
    }

    void run() const {
        const grade_file grade = read_grade_file(file, grade_use::live, make_packer(tables));
        lutc::send_live(target.channel, grade.components,
                        {combination > 0 ? combination : grade.combination, target.reset});
    }
};

struct plot_options {
    cdl_source source;
    output_option output;

    void declare(const command& plot) {
        source.declare(plot);
        output.declare(plot, "The picture, an SVG when its name ends in .svg, else a PNG");
    }

    void run(const output_style& style) const {
        colour::colour_transform transform = colour::make_cdl_transform(source.read());
        if (source.file) transform.name = *source.file;
        output.write(colour::plot(transform, output.is_svg()),
                     source.file ? std::vector{*source.file} : std::vector<std::string>());
        print_done(output.style_beside(style));
    }
};

}  // namespace

void add_grade(const command& tool) {
    const command group = tool.add_group("grade", "Send grades to a channel");
    group.add<combination_options>("combination", "Choose the grade combination of a channel");
    group.add<lut_options>("lut", "Send a LUT to a channel");
    group.add<cdl_options>("cdl", "Send CDL values to a channel");
    group.add<saturation_options>("saturation", "Send a saturation to a channel");
    group.add<live_options>("live", "Send a whole grade to a channel, without storing it");
    group.add<plot_options>("plot", "Draw what a CDL does; nothing is sent");
    add_grade_preview(group);
}

}  // namespace lutc_cli
