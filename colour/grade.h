// What a grade does to a picture, computed as the device computes it: code values from 0 to 1, no transfer function.
//
// CDL      slope and offset, limited to 0..1, power, saturation with the weights of Rec. 709, limited to 0..1
// saturation  the same weights, limited to 0..1
// 1dlut    linear between two entries; the input is limited to 0..1, the output isn't
// 3dlut    tetrahedral; limited likewise
#ifndef LUTC_COLOUR_GRADE_H
#define LUTC_COLOUR_GRADE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "colour/image.h"
#include "colour/transform.h"
#include "colour/values.h"

namespace colour {

// A component as a client sent it. The bytes of a table are only referred to.
struct grade_component {
    std::string type;  // "cdl", "saturation", "1dlut", "3dlut"
    std::int32_t slot = 1;
    std::string data_format;                           // tables: a name of colour/layout.h, or "uint16"
    std::optional<cdl_values> values;                  // "cdl"; of "saturation" the saturation alone counts
    const std::vector<unsigned char>* data = nullptr;  // tables; nullptr: no bytes
};

// The table of a "1dlut" or "3dlut". Throws content_error when format and bytes are none.
lut_table read_table(const grade_component& component);

// Why the component can't run, in words; empty when it can. Reads the whole table.
std::string find_obstacle(const grade_component& component);
using obstacle_finder = std::function<std::string(const grade_component&)>;

// One place in the order in which components run.
struct grade_step {
    std::string type;
    std::int32_t slot = 1;
    const grade_component* component = nullptr;  // nullptr: nobody set the slot, which leaves the picture as it is
    bool runs = false;
    std::string reason;  // why it doesn't run
};

// The steps of a combination, whose n-th string of a type stands for slot n of it; then, for they don't run, the
// components that it doesn't name. The steps refer to the components. Whoever lists steps often can give a finder that
// remembers what it has found.
std::vector<grade_step> list_steps(const std::vector<std::string>& combination,
                                   const std::vector<grade_component>& components,
                                   const obstacle_finder& find = find_obstacle);

// Components without a combination: they run in this order.
std::vector<grade_step> list_steps(const std::vector<grade_component>& components);

struct grade_view {
    std::optional<std::vector<std::size_t>> only;  // the steps to show, counted from 0; empty: what enters the first
    std::vector<std::size_t> without;              // the steps to leave out
    bool is_legal_range = false;                   // 64..940 of 1023 are 0..1 ahead of the grade, and again behind it
};

// The graded picture, limited to 0..1. Where no step runs values and range stay as they are; where steps run but the
// view shows none of them the limits and the range count. Neither steps nor components are needed once it has returned.
// Throws error only when the computation itself can't be set up.
image_rows grade_rows(image_rows source, const std::vector<grade_step>& steps, const grade_view& view);

}  // namespace colour

#endif
