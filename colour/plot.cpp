#include "colour/plot.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "colour/error.h"
#include "colour/picture.h"

namespace colour {
namespace {

constexpr pixel background = {24, 24, 24};
constexpr pixel grid = {56, 56, 56};
constexpr pixel frame = {110, 110, 110};
constexpr pixel label = {190, 190, 190};
constexpr std::array<pixel, 3> channels = {{{255, 48, 48}, {48, 255, 48}, {64, 64, 255}}};
constexpr int plot_side = 512;  // the side of a diagram
constexpr int margin = 48;
constexpr int tile = 96;  // the side of one slice of a cube
constexpr int gap = 6;
constexpr std::size_t most_slices = 36;

// The step of a grid that divides span into 4 to 10 parts: 1, 2 or 5 times a power of ten.
double grid_step(double span) {
    const double power = std::pow(10.0, std::floor(std::log10(span / 4.0)));
    for (const double factor : {5.0, 2.0}) {
        if (span / (factor * power) >= 4.0) return factor * power;
    }
    return power;
}

// What the transform makes of greys from 0 to 1, with its top left corner at left and top (margins not counted).
void draw_curves(picture& canvas, int left, int top, const colour_transform& transform) {
    std::vector<float> triples;
    for (int i = 0; i <= plot_side * 4; ++i)
        triples.insert(triples.end(), 3, static_cast<float>(i) / (plot_side * 4.0F));
    transform.apply(triples);
    if (!std::all_of(triples.begin(), triples.end(), [](float v) { return std::isfinite(v); })) {
        throw content_error("the curves are not finite and can't be drawn");
    }
    const auto [low, high] = std::minmax_element(triples.begin(), triples.end());
    const double bottom = std::min(0.0, double{*low});
    const double span = std::max(1.0, double{*high}) - bottom;
    const auto x_of = [left](double input) { return left + input * plot_side; };
    const auto y_of = [=](double output) { return top + plot_side - (output - bottom) / span * plot_side; };

    const double step = grid_step(span);
    for (double level = std::ceil(bottom / step) * step; level <= bottom + span * 1.0001; level += step) {
        const double shown = std::fabs(level) < step / 2.0 ? 0.0 : level;
        const int y = static_cast<int>(std::lround(y_of(level)));
        canvas.fill(left, y, plot_side + 1, 1, grid);
        canvas.draw_number(left - 6 - width_of_number(shown), y - 3, shown, label);
    }
    for (int i = 0; i <= 5; ++i) {
        const double level = i / 5.0;
        const int x = static_cast<int>(std::lround(x_of(level)));
        canvas.fill(x, top, 1, plot_side + 1, grid);
        canvas.draw_number(x - width_of_number(level) / 2, top + plot_side + 8, level, label);
    }
    // The unit square, and what leaves greys as they are.
    for (const double level : {0.0, 1.0}) {
        canvas.draw_line(x_of(0), y_of(level), x_of(1), y_of(level), 1.0, frame);
        canvas.draw_line(x_of(level), y_of(0), x_of(level), y_of(1), 1.0, frame);
    }
    canvas.draw_line(x_of(0), y_of(0), x_of(1), y_of(1), 1.0, frame);
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (std::size_t i = 0; i + 1 < triples.size() / 3; ++i) {
            const double x = x_of(static_cast<double>(i) / (plot_side * 4.0));
            canvas.draw_line(x, y_of(double{triples[3 * i + channel]}), x + 0.25,
                             y_of(double{triples[3 * i + 3 + channel]}), 2.0, channels[channel]);
        }
    }
}

// One slice of the colour cube: red to the right, green upwards, blue the same everywhere.
void draw_slice(picture& canvas, int left, int top, double blue, const colour_transform& transform) {
    std::vector<float> triples;
    for (int i = 0; i < tile * tile; ++i) {
        const double red = static_cast<double>(i % tile) / (tile - 1);
        const double green = 1.0 - static_cast<double>(i / tile) / (tile - 1);
        for (const double value : {red, green, blue}) triples.push_back(static_cast<float>(value));
    }
    transform.apply(triples);
    for (int i = 0; i < tile * tile; ++i) {
        pixel shown{};
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const float value = triples[3 * static_cast<std::size_t>(i) + channel];
            // Written so that a value that is no number is drawn as 0.
            shown[channel] =
                static_cast<unsigned char>(std::lround(value > 0.0F ? std::min(value, 1.0F) * 255.0F : 0.0F));
        }
        canvas.fill(left + i % tile, top + i / tile, 1, 1, shown);
    }
}

}  // namespace

std::vector<unsigned char> plot(const colour_transform& transform, bool with_slices) {
    const std::size_t points = transform.file_size == 0 ? 9 : transform.file_size;
    const int slices = with_slices ? static_cast<int>(std::min(points, most_slices)) : 0;
    const int columns = static_cast<int>(std::ceil(std::sqrt(slices)));
    const int rows = columns == 0 ? 0 : (slices + columns - 1) / columns;
    const int cell = tile + gap + 10;
    const int diagram = plot_side + 2 * margin;
    picture canvas(diagram + (columns == 0 ? 0 : columns * cell + margin), std::max(diagram, rows * cell + 2 * margin),
                   background);
    draw_curves(canvas, margin, margin, transform);
    for (int i = 0; i < slices; ++i) {
        const double blue = slices == 1 ? 0.0 : static_cast<double>(i) / (slices - 1);
        const int left = diagram + i % columns * cell;
        const int top = margin + i / columns * cell;
        canvas.draw_number(left, top - 9, std::round(blue * 1000.0) / 1000.0, label);
        draw_slice(canvas, left, top, blue, transform);
    }
    return canvas.encode_png();
}

}  // namespace colour
