// A small picture to draw diagrams in, encoded as PNG.
#ifndef LUTC_COLOUR_PICTURE_H
#define LUTC_COLOUR_PICTURE_H

#include <array>
#include <cstddef>
#include <vector>

namespace colour {

using pixel = std::array<unsigned char, 3>;

// Coordinates are in pixels from the top left corner; what lies outside isn't drawn.
class picture {
  public:
    picture(int width, int height, pixel background);

    void fill(int x, int y, int width, int height, pixel value);
    // Colours add up where lines cross: red, green and blue on one another are white.
    void draw_line(double x0, double y0, double x1, double y1, double thickness, pixel value);
    // Digits, '.' and '-', 5 by 7 pixels each, from the top left corner.
    void draw_number(int x, int y, double number, pixel value);

    std::vector<unsigned char> encode_png() const;

  private:
    unsigned char* at(int x, int y) {
        return pixels_.data() + 3 * (static_cast<std::size_t>(y) * width_u() + static_cast<std::size_t>(x));
    }
    std::size_t width_u() const { return static_cast<std::size_t>(width_); }

    int width_;
    int height_;
    std::vector<unsigned char> pixels_;
};

// How wide draw_number() draws.
int width_of_number(double number);

}  // namespace colour

#endif
