#include "colour/image.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace colour {
namespace {

template <class Sample>
void read_row(const std::vector<Sample>& samples, std::size_t width, std::size_t y, float* rgba) {
    const Sample* const row = samples.data() + 3 * width * y;
    for (std::size_t x = 0; x < width; ++x) {
        for (std::size_t i = 0; i < 3; ++i) {
            rgba[4 * x + i] = static_cast<float>(row[3 * x + i]) / float{std::numeric_limits<Sample>::max()};
        }
        rgba[4 * x + 3] = 1.0F;
    }
}

// The part of a line of `length` pixels that pixel `place` of `parts` stands for.
struct span {
    span(std::size_t place, std::size_t parts, std::size_t length)
        : begin(static_cast<double>(place * length) / static_cast<double>(parts)),
          end(static_cast<double>((place + 1) * length) / static_cast<double>(parts)),
          first((place * length) / parts),
          last(((place + 1) * length - 1) / parts) {}

    double share_of(std::size_t pixel) const {
        const double covered =
            std::min(end, static_cast<double>(pixel + 1)) - std::max(begin, static_cast<double>(pixel));
        return covered / (end - begin);
    }

    double begin;
    double end;
    std::size_t first;  // the first and the last pixel that it touches
    std::size_t last;
};

void average_row(const image_rows& source, const span& rows, std::size_t width, float* rgba) {
    std::vector<float> line(4 * source.width);
    std::vector<double> sums(4 * source.width);
    for (std::size_t y = rows.first; y <= rows.last; ++y) {
        source.read(y, line.data());
        const double share = rows.share_of(y);
        for (std::size_t i = 0; i < line.size(); ++i) sums[i] += share * double{line[i]};
    }
    for (std::size_t x = 0; x < width; ++x) {
        const span columns(x, width, source.width);
        double pixel[4] = {};
        for (std::size_t column = columns.first; column <= columns.last; ++column) {
            const double share = columns.share_of(column);
            for (std::size_t i = 0; i < 4; ++i) pixel[i] += share * sums[4 * column + i];
        }
        for (std::size_t i = 0; i < 4; ++i) rgba[4 * x + i] = static_cast<float>(pixel[i]);
    }
}

template <class Sample>
void quantise_row(const float* rgba, std::size_t pixels, Sample* samples) {
    const float largest = std::numeric_limits<Sample>::max();
    for (std::size_t i = 0; i < 3 * pixels; ++i) {
        const float value = rgba[i / 3 * 4 + i % 3];
        samples[i] = static_cast<Sample>((value > 0.0F ? std::min(value, 1.0F) : 0.0F) * largest + 0.5F);
    }
}

}  // namespace

int depth_of(const image& picture) { return picture.samples.index() == 0 ? 8 : 16; }

image_rows read_rows(std::shared_ptr<const image> picture) {
    const std::size_t width = picture->width;
    const std::size_t height = picture->height;
    return {width, height, [picture = std::move(picture)](std::size_t y, float* rgba) {
                std::visit([&](const auto& samples) { read_row(samples, picture->width, y, rgba); }, picture->samples);
            }};
}

image_rows scale_down(image_rows source, std::size_t width) {
    if (width >= source.width) return source;
    const std::size_t height =
        std::max<std::size_t>(1, (2 * source.height * width + source.width) / (2 * source.width));
    return {width, height, [source = std::move(source), width, height](std::size_t y, float* rgba) {
                average_row(source, span(y, height, source.height), width, rgba);
            }};
}

void quantise(const float* rgba, std::size_t pixels, std::uint8_t* samples) { quantise_row(rgba, pixels, samples); }
void quantise(const float* rgba, std::size_t pixels, std::uint16_t* samples) { quantise_row(rgba, pixels, samples); }

}  // namespace colour
