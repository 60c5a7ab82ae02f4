#include "colour/pattern.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace colour {
namespace {

using pixel = std::array<double, 3>;
constexpr double pi = 3.14159265358979323846;

struct canvas {
    double width;
    double height;
};

// The colour of the pixel whose centre is at x, y.
using painter = pixel (*)(const test_pattern& pattern, const canvas& size, double x, double y);

pixel paint_square(const test_pattern& pattern, const canvas& size, double x, double y) {
    const double reach = pattern.square_size * size.height / 2.0;
    const auto is_inside = [reach](double distance) { return -reach <= distance && distance < reach; };
    const bool inside = is_inside(x - size.width / 2.0) && is_inside(y - size.height / 2.0);
    pixel colour{};
    for (std::size_t i = 0; i < 3; ++i) {
        const std::int32_t level = inside ? pattern.foreground[i] : pattern.background[i];
        colour[i] = std::clamp(level, 0, 65535) / 65535.0;
    }
    return colour;
}

pixel paint_bars(const test_pattern& /*pattern*/, const canvas& size, double x, double /*y*/) {
    constexpr pixel bars[] = {{1, 1, 1},     {.75, .75, 0}, {0, .75, .75}, {0, .75, 0},
                              {.75, 0, .75}, {.75, 0, 0},   {0, 0, .75},   {0, 0, 0}};
    return bars[static_cast<std::size_t>(8.0 * x / size.width)];
}

pixel paint_ramp(const test_pattern& /*pattern*/, const canvas& size, double x, double /*y*/) {
    const double level = size.width > 1.0 ? (x - 0.5) / (size.width - 1.0) : 0.0;
    return {level, level, level};
}

pixel paint_zoneplate(const test_pattern& /*pattern*/, const canvas& size, double x, double y) {
    const double dx = x - size.width / 2.0;
    const double dy = y - size.height / 2.0;
    const double level = 0.5 + 0.5 * std::cos(pi * (dx * dx + dy * dy) / std::max(size.width, size.height));
    return {level, level, level};
}

const std::map<std::string, painter>& painters() {
    static const std::map<std::string, painter> all{
        {"square", paint_square}, {"bars", paint_bars}, {"ramp", paint_ramp}, {"zoneplate", paint_zoneplate}};
    return all;
}

}  // namespace

bool is_pattern(const std::string& name) { return painters().count(name) != 0; }

image_rows draw_pattern(const test_pattern& pattern, std::size_t width, std::size_t height) {
    const painter paint = painters().at(pattern.name);
    const canvas size{static_cast<double>(width), static_cast<double>(height)};
    return {width, height, [=](std::size_t y, float* rgba) {
                for (std::size_t x = 0; x < width; ++x) {
                    const pixel colour =
                        paint(pattern, size, static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
                    for (std::size_t i = 0; i < 3; ++i) rgba[4 * x + i] = static_cast<float>(colour[i]);
                    rgba[4 * x + 3] = 1.0F;
                }
            }};
}

}  // namespace colour
