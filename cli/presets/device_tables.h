// Colour files on their way to a device: its layout, its grade combinations.
#ifndef LUTC_CLI_PRESETS_DEVICE_TABLES_H
#define LUTC_CLI_PRESETS_DEVICE_TABLES_H

#include <optional>
#include <string>
#include <vector>

#include <lutc/lutc.hpp>
#include "cli/presets/packing.h"

namespace lutc_cli {

// Asked for at most once, when it is needed.
class device_model {
  public:
    const lutc::model& get() {
        if (!model_) model_ = lutc::model_info();
        return *model_;
    }

  private:
    std::optional<lutc::model> model_;
};

// How a device's tables look; where something isn't given, the config says it.
struct table_options {
    std::optional<std::string> layout;
    std::optional<std::string> format;  // what the service is told; empty: the layout's name, whatever the config says
};

// The layout's name: as given, else of the config, else that of a model which the tool knows. Throws failure, exit_usage,
// with what to write when nobody knows it.
std::string find_layout_name(const table_options& options, device_model& device);

// A layout as curves or cubes have it; it serves curves without its order. Throws failure, exit_usage, for a cube and a layout
// without one.
colour::table_layout settle_layout(const std::string& name, bool is_cube);

// A LUT file as a component. size as for packing.
struct packed_component {
    lutc::component component;
    packed_table table;
};
packed_component pack_component(const colour::colour_transform& file, int size, const table_options& options,
                                device_model& device);

// A grade combination, from 1, and the slot of each component in it.
struct placing {
    int combination = 0;
    std::vector<int> slots;
};

// The shortest combination of the model in which components of these types stand in this order; combination: no other than
// this, 0: any; channels: those that have to support it. Throws failure, exit_usage, when there is none.
placing place_components(const lutc::model& model, const std::vector<std::string>& types, int combination,
                         const std::vector<int>& channels);

}  // namespace lutc_cli

#endif
