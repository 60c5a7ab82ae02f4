// What computes pictures. It needs OpenColorIO and libpng, which take more time and memory to load than all the rest of
// the simulator: it stands in a module of its own that is loaded when a page is asked for.
#ifndef LUTC_SIMULATOR_PAGE_RENDERER_H
#define LUTC_SIMULATOR_PAGE_RENDERER_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "colour/grade.h"
#include "colour/image.h"
#include "colour/pattern.h"
#include "colour/transform.h"

namespace simulator {

// A picture, and all that it takes to compute it. Nothing of it changes any more.
struct picture_plan {
    std::shared_ptr<const colour::image> input;   // what arrives
    std::optional<colour::test_pattern> pattern;  // stands in its place, in its size
    std::size_t width = 0;                        // of what enters the grade, when the input is wider; 0: as it is
    int depth = 8;                                // bits of a sample
    std::shared_ptr<const void> owner;            // keeps what the steps refer to
    std::vector<colour::grade_step> steps;
    colour::grade_view view;
};

class renderer {
  public:
    using component = colour::grade_component;

    virtual ~renderer() = default;

    virtual colour::image draw_chart(int number) const = 0;
    virtual colour::image read_png(const std::string& path) const = 0;  // throws std::runtime_error

    virtual bool is_pattern(const std::string& name) const = 0;
    virtual std::string find_obstacle(const component& component) const = 0;
    virtual std::vector<colour::grade_step> list_steps(const std::vector<std::string>& combination,
                                                       const std::vector<component>& components,
                                                       const colour::obstacle_finder& find) const = 0;

    // Of a component that runs.
    virtual colour::lut_table read_table(const component& component) const = 0;

    // The plan's picture as PNG. Takes its time; may run in any thread.
    virtual std::vector<unsigned char> render(const picture_plan& plan) const = 0;
};

// Loads the module, which stays loaded. Throws std::runtime_error when this build has none.
const renderer& load_renderer();

}  // namespace simulator

#endif
