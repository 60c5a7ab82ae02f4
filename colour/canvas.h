// What diagrams are drawn on (cairo): a PNG or an SVG.
#ifndef LUTC_COLOUR_CANVAS_H
#define LUTC_COLOUR_CANVAS_H

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

struct _cairo;
struct _cairo_surface;

namespace colour {

using ink = std::array<unsigned char, 3>;

struct canvas_words {
    std::string title;
    std::string description;  // in an SVG alone
};

struct text_style {
    double size = 12.0;
    ink colour{};
    double anchor = 0.0;  // the part of the text that stands to the left of its place
    bool is_upright = false;
    bool is_bold = false;
};

// Coordinates are in pixels from the top left corner.
class canvas {
  public:
    canvas(int width, int height, const ink& background, bool is_svg);

    void draw_lines(const std::vector<std::pair<double, double>>& points, double width, const ink& colour);
    void draw_text(double x, double y, const std::string& text, const text_style& style);  // on the base line
    // A square of pixels, each side of them as long; colour_at(column, row).
    void draw_square(int left, int top, int side, const std::function<ink(int column, int row)>& colour_at);

    // The file. Throws error when it couldn't be drawn.
    std::vector<unsigned char> finish(const canvas_words& words);

  private:
    void set_colour(const ink& colour);
    void check() const;

    bool is_svg_;
    std::vector<unsigned char> bytes_;  // outlives the surface, which writes into it
    std::unique_ptr<_cairo_surface, void (*)(_cairo_surface*)> surface_;
    std::unique_ptr<_cairo, void (*)(_cairo*)> context_;
};

// Text that can be drawn: what is no UTF-8, or a control character, becomes a question mark, and what is longer than
// most bytes ends in dots.
std::string make_drawable(const std::string& text, std::size_t most);

}  // namespace colour

#endif
