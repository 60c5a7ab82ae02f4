// The picture of an input that was given none.
#ifndef LUTC_COLOUR_CHART_H
#define LUTC_COLOUR_CHART_H

#include "colour/image.h"

namespace colour {

// 960x540, 8 bits: a grey ramp and steps, primaries and secondaries at 75 and 100 %, skin and foliage patches, a sweep
// of saturation, and the number, unless that is 0.
image draw_chart(int number);

}  // namespace colour

#endif
