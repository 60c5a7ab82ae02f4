#include "colour/picture.h"

#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "colour/error.h"

namespace colour {
namespace {

// Seven rows of five pixels, the left one in the highest bit.
constexpr char glyphs[] = "0123456789.-";
constexpr unsigned char rows[][7] = {
    {14, 17, 19, 21, 25, 17, 14}, {4, 12, 4, 4, 4, 4, 14},    {14, 17, 1, 2, 4, 8, 31},   {31, 2, 4, 2, 1, 17, 14},
    {2, 6, 10, 18, 31, 2, 2},     {31, 16, 30, 1, 1, 17, 14}, {6, 8, 16, 30, 17, 17, 14}, {31, 1, 2, 4, 8, 8, 8},
    {14, 17, 17, 14, 17, 17, 14}, {14, 17, 17, 15, 1, 2, 12}, {0, 0, 0, 0, 0, 12, 12},    {0, 0, 0, 31, 0, 0, 0}};
constexpr int advance = 6;

std::string write_number(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", number);
    return text;
}

}  // namespace

picture::picture(int width, int height, pixel background)
    : width_(width), height_(height), pixels_(3 * static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
    fill(0, 0, width, height, background);
}

void picture::fill(int x, int y, int width, int height, pixel value) {
    for (int row = std::max(y, 0); row < std::min(y + height, height_); ++row) {
        for (int column = std::max(x, 0); column < std::min(x + width, width_); ++column) {
            std::copy(value.begin(), value.end(), at(column, row));
        }
    }
}

void picture::draw_line(double x0, double y0, double x1, double y1, double thickness, pixel value) {
    const double reach = thickness / 2.0 + 1.0;
    const auto first = [reach](double a, double b) { return std::max(0, static_cast<int>(std::min(a, b) - reach)); };
    const auto last = [reach](double a, double b, int size) {
        return std::min(static_cast<int>(std::max(a, b) + reach), size - 1);
    };
    const double dx = x1 - x0;
    const double dy = y1 - y0;
    const double square = dx * dx + dy * dy;
    for (int y = first(y0, y1); y <= last(y0, y1, height_); ++y) {
        for (int x = first(x0, x1); x <= last(x0, x1, width_); ++x) {
            const double along = square == 0.0 ? 0.0 : std::clamp(((x - x0) * dx + (y - y0) * dy) / square, 0.0, 1.0);
            const double distance = std::hypot(x - x0 - along * dx, y - y0 - along * dy);
            const double cover = std::clamp(thickness / 2.0 + 0.5 - distance, 0.0, 1.0);
            for (std::size_t i = 0; i < 3; ++i) {
                const auto level = static_cast<unsigned char>(std::lround(cover * value[i]));
                at(x, y)[i] = std::max(at(x, y)[i], level);
            }
        }
    }
}

void picture::draw_number(int x, int y, double number, pixel value) {
    for (const char c : write_number(number)) {
        const char* const glyph = std::strchr(glyphs, c);
        for (int row = 0; glyph != nullptr && row < 7; ++row) {
            for (int column = 0; column < 5; ++column) {
                if ((rows[glyph - glyphs][row] >> (4 - column) & 1) != 0) fill(x + column, y + row, 1, 1, value);
            }
        }
        x += advance;
    }
}

std::vector<unsigned char> picture::encode_png() const {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width_);
    image.height = static_cast<png_uint_32>(height_);
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> bytes(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = bytes.size();
    if (png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels_.data(), 0, nullptr) == 0) {
        throw error(std::string("the picture can't be encoded: ") + image.message);
    }
    bytes.resize(size);
    return bytes;
}

int width_of_number(double number) { return static_cast<int>(write_number(number).size()) * advance - 1; }

}  // namespace colour
