// A small picture to draw diagrams in, written as PNG.
#ifndef LUTC_CLI_PICTURE_H
#define LUTC_CLI_PICTURE_H

#include <array>
#include <string>
#include <vector>

namespace lutc_cli {

using Colour = std::array<unsigned char, 3>;

// Coordinates are in pixels from the top left corner; what lies outside isn't drawn.
class Picture {
  public:
    Picture(int width, int height, Colour background);

    void fill(int x, int y, int width, int height, Colour colour);
    // Colours add up where lines cross: red, green and blue on one another are white.
    void line(double x0, double y0, double x1, double y1, double thickness, Colour colour);
    // Digits, '.' and '-', 5 by 7 pixels each, from the top left corner.
    void number(int x, int y, double value, Colour colour);

    // Throws Failure, EXIT_REFUSED, when the file can't be written.
    void write_png(const std::string& path) const;

  private:
    unsigned char* at(int x, int y) {
        return pixels_.data() + 3 * (static_cast<std::size_t>(y) * width_u() + static_cast<std::size_t>(x));
    }
    std::size_t width_u() const { return static_cast<std::size_t>(width_); }

    int width_;
    int height_;
    std::vector<unsigned char> pixels_;
};

// How wide number() draws.
int width_of_number(double value);

}  // namespace lutc_cli

#endif
