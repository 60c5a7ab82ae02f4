#include "colour/plot.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "colour/canvas.h"
#include "colour/error.h"

namespace colour {
namespace {

constexpr ink background = {24, 24, 24};
constexpr ink grid = {56, 56, 56};
constexpr ink frame = {110, 110, 110};
constexpr ink label = {190, 190, 190};
constexpr ink heading = {235, 235, 235};
constexpr std::array<ink, 3> channels = {{{255, 48, 48}, {48, 255, 48}, {64, 64, 255}}};
constexpr std::array<const char*, 3> channel_names = {"red", "green", "blue"};
constexpr int plot_side = 512;  // the side of a diagram
constexpr int left = 72;        // its place
constexpr int top = 80;
constexpr int right_margin = 40;
constexpr int bottom_margin = 84;
constexpr int tile = 96;  // the side of one slice of a cube
constexpr int cell_width = tile + 8;
constexpr int cell_height = tile + 22;
constexpr std::size_t most_slices = 36;
constexpr int samples = 4 * plot_side;

std::string write_number(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", number);
    return text;
}

// The step of a grid that divides an extent into 4 to 10 parts: 1, 2 or 5 times a power of ten.
double grid_step(double extent) {
    const double power = std::pow(10.0, std::floor(std::log10(extent / 4.0)));
    for (const double factor : {5.0, 2.0}) {
        if (extent / (factor * power) >= 4.0) return factor * power;
    }
    return power;
}

// What one axis spans: the values, and 0 to 1 in any case.
struct span {
    double low;
    double high;

    double part(double value) const { return (value - low) / (high - low); }
    double at(double part) const { return low + part * (high - low); }

    std::vector<double> levels() const {
        const double step = grid_step(high - low);
        std::vector<double> found;
        for (double level = std::ceil(low / step - 1e-9) * step; level <= high + step * 1e-4; level += step) {
            found.push_back(std::fabs(level) < step / 2.0 ? 0.0 : level);
        }
        return found;
    }
};

span domain_of(const colour_transform& transform, std::size_t channel) {
    return {std::min(0.0, transform.domain_minimum[channel]), std::max(1.0, transform.domain_maximum[channel])};
}

// Of all channels, for greys.
span domain_of(const colour_transform& transform) {
    span whole = domain_of(transform, 0);
    for (const std::size_t channel : {1U, 2U}) {
        const span other = domain_of(transform, channel);
        whole = {std::min(whole.low, other.low), std::max(whole.high, other.high)};
    }
    return whole;
}

// What greys become.
class diagram {
  public:
    diagram(canvas& to, const colour_transform& transform) : to_(to), inputs_(domain_of(transform)) {
        for (int i = 0; i <= samples; ++i) {
            curves_.insert(curves_.end(), 3, static_cast<float>(inputs_.at(static_cast<double>(i) / samples)));
        }
        transform.apply(curves_);
        if (!std::all_of(curves_.begin(), curves_.end(), [](float v) { return std::isfinite(v); })) {
            throw content_error("the curves are not finite and can't be drawn");
        }
        const auto [low, high] = std::minmax_element(curves_.begin(), curves_.end());
        outputs_ = {std::min(0.0, double{*low}), std::max(1.0, double{*high})};
    }

    void draw() {
        draw_grid();
        // The unit square, and what leaves greys as they are.
        to_.draw_lines({at(0, 0), at(1, 0), at(1, 1), at(0, 1), at(0, 0), at(1, 1)}, 1.0, frame);
        for (std::size_t channel = 0; channel < 3; ++channel) draw_curve(channel);
        draw_legend();
    }

  private:
    // In the middle of a pixel, where a line is sharp.
    std::pair<double, double> at(double input, double output) const {
        return {left + inputs_.part(input) * plot_side + 0.5,
                top + plot_side - outputs_.part(output) * plot_side + 0.5};
    }

    void draw_grid() {
        constexpr int bottom = top + plot_side;
        for (const double level : outputs_.levels()) {
            const double y = std::floor(at(0, level).second) + 0.5;
            to_.draw_lines({{left, y}, {left + plot_side, y}}, 1.0, grid);
            to_.draw_text(left - 8, y + 4, write_number(level), {12.0, label, 1.0});
        }
        for (const double level : inputs_.levels()) {
            const double x = std::floor(at(level, 0).first) + 0.5;
            to_.draw_lines({{x, top}, {x, bottom}}, 1.0, grid);
            to_.draw_text(x, bottom + 18, write_number(level), {12.0, label, 0.5});
        }
        to_.draw_text(left + plot_side / 2.0, bottom + 40, "input", {13.0, label, 0.5});
        to_.draw_text(22, top + plot_side / 2.0, "output", {13.0, label, 0.5, true});
    }

    double y_of(std::size_t sample, std::size_t channel) const {
        return at(0, double{curves_[3 * sample + channel]}).second;
    }

    // The channels whose curves run together there: their colours add up.
    std::array<bool, 3> find_companions(std::size_t sample, std::size_t channel) const {
        std::array<bool, 3> companions{};
        for (std::size_t other = 0; other < 3; ++other) {
            companions[other] = std::fabs(y_of(sample, other) - y_of(sample, channel)) < 0.75;
        }
        return companions;
    }

    static ink mix(const std::array<bool, 3>& companions) {
        ink mixed{};
        for (std::size_t other = 0; other < 3; ++other) {
            for (std::size_t i = 0; companions[other] && i < 3; ++i) mixed[i] = std::max(mixed[i], channels[other][i]);
        }
        return mixed;
    }

    void draw_curve(std::size_t channel) {
        std::vector<std::pair<double, double>> points;
        std::array<bool, 3> before = find_companions(0, channel);
        for (std::size_t i = 0; i <= samples; ++i) {
            const std::array<bool, 3> companions = find_companions(i, channel);
            points.emplace_back(left + static_cast<double>(i) / samples * plot_side + 0.5, y_of(i, channel));
            if (companions == before && i < samples) continue;
            to_.draw_lines(points, 2.0, mix(before));
            points = {points.back()};
            before = companions;
        }
    }

    void draw_legend() {
        double x = left;
        constexpr double y = top + plot_side + 66;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            to_.draw_lines({{x, y - 4}, {x + 24, y - 4}}, 2.0, channels[channel]);
            to_.draw_text(x + 30, y, channel_names[channel], {12.0, label});
            x += 90;
        }
        to_.draw_lines({{x, y - 4}, {x + 24, y - 4}}, 1.0, frame);
        to_.draw_text(x + 30, y, "unchanged, 0 to 1", {12.0, label});
    }

    canvas& to_;
    span inputs_;
    span outputs_{};
    std::vector<float> curves_;
};

// One slice of the colour cube: red to the right, green upwards, blue the same everywhere.
void draw_slice(canvas& to, int x, int y, double blue, const colour_transform& transform) {
    const span red = domain_of(transform, 0);
    const span green = domain_of(transform, 1);
    std::vector<float> triples;
    for (int i = 0; i < tile * tile; ++i) {
        triples.push_back(static_cast<float>(red.at(static_cast<double>(i % tile) / (tile - 1))));
        triples.push_back(static_cast<float>(green.at(1.0 - static_cast<double>(i / tile) / (tile - 1))));
        triples.push_back(static_cast<float>(blue));
    }
    transform.apply(triples);
    to.draw_square(x, y, tile, [&triples](int column, int row) {
        ink shown{};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const float value = triples[3 * static_cast<std::size_t>(row * tile + column) + channel];
            // Written so that a value that is no number is drawn as 0.
            shown[channel] =
                static_cast<unsigned char>(std::lround(value > 0.0F ? std::min(value, 1.0F) * 255.0F : 0.0F));
        }
        return shown;
    });
}

std::string list_stages(const colour_transform& transform) {
    std::string words;
    for (const std::string& stage : transform.stages) words += (words.empty() ? "" : ", then ") + stage;
    return words.empty() ? "changes nothing" : words;
}

}  // namespace

std::vector<unsigned char> plot(const colour_transform& transform, bool is_svg) {
    const std::size_t points = transform.file_size == 0 ? 9 : transform.file_size;
    const int slices = transform.mixes_channels ? static_cast<int>(std::min(points, most_slices)) : 0;
    const int columns = static_cast<int>(std::ceil(std::sqrt(slices)));
    const int rows = columns == 0 ? 0 : (slices + columns - 1) / columns;
    const int diagram_width = left + plot_side + right_margin;
    canvas to(diagram_width + (columns == 0 ? 0 : std::max(columns * cell_width, 330) + right_margin),
              std::max(top + plot_side, top + rows * cell_height) + bottom_margin, background, is_svg);
    const std::string file = std::filesystem::path(transform.name).filename();
    const std::string name = make_drawable(transform.title.empty() ? file : transform.title, 44);
    const std::string stages = (transform.title.empty() ? "" : file + ": ") + list_stages(transform);
    to.draw_text(left, 34, name, {18.0, heading, 0.0, false, true});
    to.draw_text(left, 56, make_drawable(stages, 90), {12.0, label});
    diagram(to, transform).draw();
    if (slices > 0) {
        to.draw_text(diagram_width, 70, "slices: red to the right, green upwards", {12.0, label});
    }
    for (int i = 0; i < slices; ++i) {
        const double blue = domain_of(transform, 2).at(slices == 1 ? 0.0 : static_cast<double>(i) / (slices - 1));
        const int x = diagram_width + i % columns * cell_width;
        const int y = top + i / columns * cell_height + 14;
        to.draw_text(x, y - 4, "blue = " + write_number(blue), {11.0, label});
        draw_slice(to, x, y, blue, transform);
    }
    const std::string description =
        "What greys become: input to the right, output upwards, a curve for red, green and blue. " +
        make_drawable(file + ": " + list_stages(transform), 1000) + "." +
        (slices > 0 ? " Beside it slices of the cube." : "");
    return to.finish({name, description});
}

}  // namespace colour
