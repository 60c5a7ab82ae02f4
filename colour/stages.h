// The stages of a transform, as OpenColorIO takes them.
#ifndef LUTC_COLOUR_STAGES_H
#define LUTC_COLOUR_STAGES_H

#include <OpenColorIO/OpenColorIO.h>

#include "colour/cube_file.h"
#include "colour/values.h"

namespace colour {

inline constexpr double legal_black = 64.0 / 1023.0;
inline constexpr double legal_white = 940.0 / 1023.0;

// Limited to 0..1 ahead of the power and at the end, as the ASC defines it.
OCIO_NAMESPACE::TransformRcPtr make_cdl(const cdl_values& values);
OCIO_NAMESPACE::TransformRcPtr make_table(const lut_table& table, OCIO_NAMESPACE::Interpolation of_cubes);
// What stands at minimum becomes 0, and what stands at maximum 1; inverted, the other way round.
OCIO_NAMESPACE::TransformRcPtr make_range(
    const rgb& minimum, const rgb& maximum,
    OCIO_NAMESPACE::TransformDirection direction = OCIO_NAMESPACE::TRANSFORM_DIR_FORWARD);
OCIO_NAMESPACE::TransformRcPtr make_legal_range(OCIO_NAMESPACE::TransformDirection direction);
OCIO_NAMESPACE::TransformRcPtr make_cube_file(const cube_file& file);

}  // namespace colour

#endif
