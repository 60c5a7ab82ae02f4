// lutc config
#include "cli/presets/config.h"

#include <memory>
#include <nlohmann/json.hpp>

#include "cli/commands/commands.h"
#include "cli/commands/table_option.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

ordered_json show_config() {
    const config content = read_config();
    const auto shown = [](const std::optional<std::string>& text) { return text ? ordered_json(*text) : nullptr; };
    return {{"config", find_config()}, {"layout", shown(content.layout)}, {"format", shown(content.format)}};
}

struct layout_options {
    std::string name;

    void declare(const command& to) {
        to.add_text(
              "name", name,
              "float32, uint16, uint12in16 or uint10in16, then -le or -be for the byte order, then, where cubes are "
              "sent, -red-fastest or -blue-fastest for the input that changes first")
            .require();
    }

    ordered_json run() const {
        check_layout("config", name);
        config content = read_config();
        content.layout = name;
        write_config(content);
        return show_config();
    }
};

struct format_options {
    std::string name;

    void declare(const command& to) {
        to.add_text("name", name, "The service's name; empty: it is the layout's own").require();
    }

    ordered_json run() const {
        if (!is_utf8(name)) {
            throw failure(exit_usage, "config: '" + name + "' is not UTF-8, which the config has to be");
        }
        config content = read_config();
        content.format = name.empty() ? std::nullopt : std::optional(name);
        write_config(content);
        return show_config();
    }
};

}  // namespace

argument add_layout(const command& to, std::optional<std::string>& layout) {
    return to.add_text("--layout", layout, "How tables are laid out, such as uint16-le-red-fastest; see lutc config");
}

argument add_format(const command& to, std::optional<std::string>& format) {
    return to.add_text("--format", format,
                       "The service's name of the tables' format; without it the config's, else the layout's");
}

void declare_tables(table_options& options, const command& to) {
    add_layout(to, options.layout);
    add_format(to, options.format);
}

lut_packer make_packer(const table_options& options) {
    return [options, device = std::make_shared<device_model>()](const std::string& file, int size) {
        return pack_component(colour::read_lut_file(file), size, options, *device).component;
    };
}

void add_config(const command& tool) {
    const command group = tool.add_group("config", "What is known of the device that one works with", show_config);
    group.add<layout_options>("layout", "Write down how the device lays out its tables");
    group.add<format_options>("format", "Write down what its service calls that layout");
}

}  // namespace lutc_cli
