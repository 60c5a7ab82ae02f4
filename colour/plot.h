// Pictures of what a transform does: looking before sending.
#ifndef LUTC_COLOUR_PLOT_H
#define LUTC_COLOUR_PLOT_H

#include <vector>

#include "colour/transform.h"

namespace colour {

// A PNG or an SVG of what greys of the whole domain become, and, where channels are mixed, slices of the colour cube beside
// it; with title, file, axes and a legend. Throws content_error when a curve is not finite.
std::vector<unsigned char> plot(const colour_transform& transform, bool is_svg);

}  // namespace colour

#endif
