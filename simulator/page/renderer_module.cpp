// The module that computes pictures.
#include <algorithm>
#include <cstddef>

#include "colour/chart.h"
#include "colour/image_png.h"
#include "colour/layout.h"
#include "simulator/page/renderer.h"

namespace simulator {

namespace {

constexpr std::size_t chart_width = 960, chart_height = 540;  // also where no signal says a size

class colour_renderer : public renderer {
  public:
    colour::image draw_chart(int number) const override { return colour::draw_chart(number); }
    colour::image read_png(const std::string& path) const override { return colour::read_png(path); }
    bool is_pattern(const std::string& name) const override { return colour::is_pattern(name); }
    std::string find_obstacle(const component& subject) const override { return colour::find_obstacle(subject); }

    std::vector<colour::grade_step> list_steps(const std::vector<std::string>& combination,
                                               const std::vector<component>& components,
                                               const colour::obstacle_finder& find) const override {
        return colour::list_steps(combination, components, find);
    }

    colour::lut_table read_table(const component& subject) const override { return colour::read_table(subject); }

    std::vector<unsigned char> render(const picture_plan& plan) const override {
        colour::image_rows rows = arriving_rows(plan);
        if (plan.width != 0) rows = colour::scale_down(std::move(rows), plan.width);
        return colour::encode_png(colour::grade_rows(std::move(rows), plan.steps, plan.view), plan.depth);
    }

  private:
    static colour::image_rows arriving_rows(const picture_plan& plan) {
        if (!plan.pattern) return colour::read_rows(plan.input);
        return plan.input ? colour::draw_pattern(*plan.pattern, plan.input->width, plan.input->height)
                          : colour::draw_pattern(*plan.pattern, chart_width, chart_height);
    }
};

}  // namespace

}  // namespace simulator

extern "C" __attribute__((visibility("default"))) const simulator::renderer* lutc_renderer() {
    static const simulator::colour_renderer computes;
    return &computes;
}
