#include "colour/chart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace colour {
namespace {

using pixel = std::array<double, 3>;  // 0 to 255

constexpr std::size_t chart_width = 960;
constexpr std::size_t chart_height = 540;
constexpr std::size_t margin = 24;
constexpr std::size_t gap = 12;
constexpr pixel surround = {64, 64, 64};
constexpr pixel panel = {46, 46, 46};  // behind the number
constexpr pixel ink = {225, 225, 225};

struct area {
    std::size_t left;
    std::size_t top;
    std::size_t width;
    std::size_t height;
};

class sheet {
  public:
    sheet() : samples_(3 * chart_width * chart_height) {
        paint({0, 0, chart_width, chart_height}, [](double, double) { return surround; });
    }

    // The colour of each pixel by its place in the area, 0 to 1 from the left and from the top.
    template <class Painter>
    void paint(const area& where, const Painter& colour_at) {
        for (std::size_t y = 0; y < where.height; ++y) {
            for (std::size_t x = 0; x < where.width; ++x) {
                const auto across =
                    static_cast<double>(x) / static_cast<double>(std::max<std::size_t>(where.width, 2) - 1);
                const auto down =
                    static_cast<double>(y) / static_cast<double>(std::max<std::size_t>(where.height, 2) - 1);
                const pixel colour = colour_at(across, down);
                const std::size_t at = 3 * ((where.top + y) * chart_width + where.left + x);
                for (std::size_t i = 0; i < 3; ++i) {
                    samples_[at + i] = static_cast<std::uint8_t>(std::lround(std::clamp(colour[i], 0.0, 255.0)));
                }
            }
        }
    }
    void fill(const area& where, const pixel& colour) {
        paint(where, [&colour](double, double) { return colour; });
    }

    image finish() { return {chart_width, chart_height, std::move(samples_)}; }

  private:
    std::vector<std::uint8_t> samples_;
};

// Patches side by side that fill the area.
template <std::size_t Count>
void fill_row(sheet& chart, const area& where, const std::array<pixel, Count>& colours) {
    for (std::size_t i = 0; i < Count; ++i) {
        const std::size_t left = where.width * i / Count;
        chart.fill({where.left + left, where.top, where.width * (i + 1) / Count - left, where.height}, colours[i]);
    }
}

struct point {
    double x;
    double y;
};

// The strokes of a digit, 4 wide and 8 high: a digit across and one down for each corner.
constexpr std::array<const char*, 10> strokes = {
    "103041473818070110",         "112028",     "0110304143070848",
    "01103041433424344547381807", "3830050646", "400003334447381807",
    "413010010718384745341405",   "0040412628", "1403011030414334140507183847453414",
    "0718384741301001031444"};

double distance_to_line(const point& from, const point& to, const point& at) {
    const double dx = to.x - from.x;
    const double dy = to.y - from.y;
    const double along = std::clamp(((at.x - from.x) * dx + (at.y - from.y) * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    return std::hypot(at.x - from.x - along * dx, at.y - from.y - along * dy);
}

double distance_to_digit(int digit, const point& at) {
    const std::string_view corners = strokes[static_cast<std::size_t>(digit)];
    const auto corner = [&corners](std::size_t i) { return point{corners[i] - '0' + 0.0, corners[i + 1] - '0' + 0.0}; };
    double distance = 100.0;
    for (std::size_t i = 0; i + 3 < corners.size(); i += 2) {
        distance = std::min(distance, distance_to_line(corner(i), corner(i + 2), at));
    }
    return distance;
}

void draw_number(sheet& chart, const area& where, int number) {
    const std::string digits = std::to_string(number);
    const double columns = 6.0 * static_cast<double>(digits.size()) - 2.0;
    const double unit =
        std::min(static_cast<double>(where.height) / 11.0, static_cast<double>(where.width) / (columns + 4));
    chart.paint(where, [&](double across, double down) {
        const point at{(across - 0.5) * static_cast<double>(where.width) / unit + columns / 2.0,
                       (down - 0.5) * static_cast<double>(where.height) / unit + 4.0};
        double distance = 100.0;
        for (std::size_t i = 0; i < digits.size(); ++i) {
            const point place{at.x - 6.0 * static_cast<double>(i), at.y};
            distance = std::min(distance, distance_to_digit(digits[i] - '0', place));
        }
        const double cover = std::clamp((0.45 - distance) * unit + 0.5, 0.0, 1.0);  // soft edges
        pixel colour{};
        for (std::size_t i = 0; i < 3; ++i) colour[i] = panel[i] + cover * (ink[i] - panel[i]);
        return colour;
    });
}

// Red, yellow, green, cyan, blue, magenta.
std::array<pixel, 6> list_hues(double level) {
    const double on = 255.0 * level;
    return {{{on, 0, 0}, {on, on, 0}, {0, on, 0}, {0, on, on}, {0, 0, on}, {on, 0, on}}};
}

void draw_greys(sheet& chart, const area& where) {
    const area ramp{where.left, where.top, where.width, where.height * 3 / 5};
    chart.paint(ramp, [](double across, double) { return pixel{255 * across, 255 * across, 255 * across}; });
    std::array<pixel, 11> steps{};
    for (std::size_t i = 0; i < steps.size(); ++i) steps[i].fill(25.5 * static_cast<double>(i));
    fill_row(chart, {where.left, where.top + ramp.height, where.width, where.height - ramp.height}, steps);
}

// Each hue from the grey of its own lightness to itself, from left to right.
void draw_sweep(sheet& chart, const area& where) {
    const std::array<pixel, 6> hues = list_hues(1.0);
    chart.paint(where, [&hues](double across, double down) {
        const pixel& hue = hues[std::min<std::size_t>(static_cast<std::size_t>(6 * down), 5)];
        const double grey = 0.2126 * hue[0] + 0.7152 * hue[1] + 0.0722 * hue[2];
        pixel colour{};
        for (std::size_t i = 0; i < 3; ++i) colour[i] = grey + across * (hue[i] - grey);
        return colour;
    });
}

}  // namespace

image draw_chart(int number) {
    constexpr std::array<pixel, 6> skins = {
        {{246, 215, 190}, {231, 184, 152}, {207, 154, 118}, {174, 118, 82}, {122, 78, 54}, {66, 41, 32}}};
    constexpr std::array<pixel, 6> foliage = {
        {{188, 201, 110}, {140, 164, 72}, {100, 132, 62}, {87, 108, 67}, {62, 84, 52}, {36, 54, 36}}};
    constexpr std::size_t full = chart_width - 2 * margin;
    constexpr std::size_t left_part = 588;
    constexpr std::size_t right_part = full - left_part - gap;
    constexpr std::size_t right = margin + left_part + gap;
    sheet chart;
    draw_greys(chart, {margin, margin, full, 110});
    constexpr std::size_t top = margin + 110 + gap;
    fill_row(chart, {margin, top, left_part, 80}, list_hues(0.75));
    fill_row(chart, {margin, top + 80, left_part, 80}, list_hues(1.0));
    fill_row(chart, {margin, top + 172, left_part, 92}, skins);
    fill_row(chart, {margin, top + 276, left_part, 94}, foliage);
    draw_sweep(chart, {right, top, right_part, number > 0 ? std::size_t{160} : std::size_t{370}});
    if (number > 0) draw_number(chart, {right, top + 172, right_part, 198}, number);
    return chart.finish();
}

}  // namespace colour
