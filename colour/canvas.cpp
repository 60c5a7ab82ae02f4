#include "colour/canvas.h"

#include <cairo-svg.h>
#include <cairo.h>

#include <cmath>
#include <cstdint>
#include <new>

#include "colour/error.h"

namespace colour {
namespace {

cairo_status_t append(void* to, const unsigned char* data, unsigned int size) {
    auto& bytes = *static_cast<std::vector<unsigned char>*>(to);
    try {
        bytes.insert(bytes.end(), data, data + size);
        return CAIRO_STATUS_SUCCESS;
    } catch (const std::bad_alloc&) {
        return CAIRO_STATUS_NO_MEMORY;
    }
}

void check_status(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS) {
        throw error(std::string("the picture can't be drawn: ") + cairo_status_to_string(status));
    }
}

std::string escape(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    }
    return escaped;
}

// The bytes of the UTF-8 character that begins there, 0 for none. (Overlong ones and surrogates fail in cairo, which
// says so.)
std::size_t size_of_character(const std::string& text, std::size_t at) {
    const auto first = static_cast<unsigned char>(text[at]);
    if (first < 0x80) return first < 0x20 || first == 0x7F ? 0 : 1;
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || at + size > text.size()) return 0;
    for (std::size_t i = 1; i < size; ++i) {
        if ((static_cast<unsigned char>(text[at + i]) & 0xC0) != 0x80) return 0;
    }
    return size;
}

}  // namespace

canvas::canvas(int width, int height, const ink& background, bool is_svg)
    : is_svg_(is_svg), surface_(nullptr, cairo_surface_destroy), context_(nullptr, cairo_destroy) {
    surface_.reset(is_svg ? cairo_svg_surface_create_for_stream(append, &bytes_, width, height)
                          : cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height));
    if (is_svg) cairo_svg_surface_set_document_unit(surface_.get(), CAIRO_SVG_UNIT_PX);  // as large as the PNG
    context_.reset(cairo_create(surface_.get()));
    cairo_select_font_face(context_.get(), "sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_line_join(context_.get(), CAIRO_LINE_JOIN_ROUND);
    set_colour(background);
    cairo_paint(context_.get());
}

void canvas::set_colour(const ink& colour) {
    cairo_set_source_rgb(context_.get(), colour[0] / 255.0, colour[1] / 255.0, colour[2] / 255.0);
}

void canvas::draw_lines(const std::vector<std::pair<double, double>>& points, double width, const ink& colour) {
    set_colour(colour);
    cairo_set_line_width(context_.get(), width);
    cairo_new_path(context_.get());  // text leaves a point behind
    for (const auto& [x, y] : points) cairo_line_to(context_.get(), x, y);
    cairo_stroke(context_.get());
}

void canvas::draw_text(double x, double y, const std::string& text, const text_style& style) {
    cairo_t* const to = context_.get();
    cairo_save(to);
    cairo_select_font_face(to, "sans", CAIRO_FONT_SLANT_NORMAL,
                           style.is_bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(to, style.size);
    cairo_text_extents_t extents;
    cairo_text_extents(to, text.c_str(), &extents);
    cairo_translate(to, x, y);
    if (style.is_upright) cairo_rotate(to, -M_PI / 2.0);
    cairo_move_to(to, -style.anchor * extents.x_advance, 0.0);
    set_colour(style.colour);
    cairo_show_text(to, text.c_str());
    cairo_restore(to);
}

void canvas::draw_square(int left, int top, int side, const std::function<ink(int column, int row)>& colour_at) {
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> square(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, side, side), cairo_surface_destroy);
    check_status(cairo_surface_status(square.get()));
    unsigned char* const pixels = cairo_image_surface_get_data(square.get());
    const int stride = cairo_image_surface_get_stride(square.get());
    for (int i = 0; i < side * side; ++i) {
        const ink colour = colour_at(i % side, i / side);
        auto* const row = reinterpret_cast<std::uint32_t*>(pixels + i / side * stride);
        row[i % side] = static_cast<std::uint32_t>(colour[0] << 16 | colour[1] << 8 | colour[2]);
    }
    cairo_surface_mark_dirty(square.get());
    cairo_set_source_surface(context_.get(), square.get(), left, top);
    cairo_pattern_set_filter(cairo_get_source(context_.get()), CAIRO_FILTER_NEAREST);
    cairo_rectangle(context_.get(), left, top, side, side);
    cairo_fill(context_.get());
}

std::vector<unsigned char> canvas::finish(const canvas_words& words) {
    check_status(cairo_status(context_.get()));
    if (!is_svg_) {
        check_status(cairo_surface_write_to_png_stream(surface_.get(), append, &bytes_));
        return std::move(bytes_);
    }
    cairo_surface_finish(surface_.get());
    check_status(cairo_surface_status(surface_.get()));
    std::string text(bytes_.begin(), bytes_.end());
    const std::size_t root = text.find('>', text.find("<svg"));
    if (root != std::string::npos) {
        text.insert(root + 1,
                    "\n<title>" + escape(words.title) + "</title>\n<desc>" + escape(words.description) + "</desc>");
    }
    return {text.begin(), text.end()};
}

std::string make_drawable(const std::string& text, std::size_t most) {
    std::string drawable;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t size = size_of_character(text, at);
        if (drawable.size() + size > most) return drawable + "...";
        drawable += size == 0 ? "?" : text.substr(at, size);
        at += size == 0 ? 1 : size;
    }
    return drawable;
}

}  // namespace colour
