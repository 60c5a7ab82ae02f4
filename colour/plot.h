// Pictures of what a transform does: looking before sending.
#ifndef LUTC_COLOUR_PLOT_H
#define LUTC_COLOUR_PLOT_H

#include <vector>

#include "colour/transform.h"

namespace colour {

// A PNG of what greys from 0 to 1 become, and with slices of the colour cube beside it. Throws content_error when a
// curve is not finite.
std::vector<unsigned char> plot(const colour_transform& transform, bool with_slices);

}  // namespace colour

#endif
