// Pictures: decoded in memory, and row by row on their way from one step to the next.
#ifndef LUTC_COLOUR_IMAGE_H
#define LUTC_COLOUR_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <variant>
#include <vector>

namespace colour {

// A decoded picture: RGB, rows from the top, as many bits a sample as the file had.
struct image {
    std::size_t width = 0;
    std::size_t height = 0;
    std::variant<std::vector<std::uint8_t>, std::vector<std::uint16_t>> samples;
};
int depth_of(const image& picture);  // 8 or 16

// A picture whose rows are computed when they are read, so that no step needs a copy of the whole. read(y, rgba) fills
// row y: four numbers a pixel, of which the fourth has no meaning; 0..1 are the code values. Rows may be read in any
// order, and by several threads.
struct image_rows {
    std::size_t width = 0;
    std::size_t height = 0;
    std::function<void(std::size_t y, float* rgba)> read;
};

image_rows read_rows(std::shared_ptr<const image> picture);

// Each pixel is the average of the area that it stands for, the height follows from the width (at least 1). The source
// as it is when that isn't wider than width; width is 1 or more.
image_rows scale_down(image_rows source, std::size_t width);

// The samples of a row, limited to 0..1 and rounded to the nearest, halves up. What is no number becomes 0.
void quantise(const float* rgba, std::size_t pixels, std::uint8_t* samples);
void quantise(const float* rgba, std::size_t pixels, std::uint16_t* samples);

}  // namespace colour

#endif
