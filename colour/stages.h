// The stages that OpenColorIO computes, made of this room's values.
#ifndef LUTC_COLOUR_STAGES_H
#define LUTC_COLOUR_STAGES_H

#include <OpenColorIO/OpenColorIO.h>

#include "colour/reader.h"
#include "colour/transform.h"

namespace colour {

// By the ASC's formula, limited to 0..1. OpenColorIO throws for values that the ASC doesn't allow.
OCIO_NAMESPACE::TransformRcPtr make_cdl_stage(const cdl_values& values);
// A curve is read linearly.
OCIO_NAMESPACE::TransformRcPtr make_table_stage(const lut_table& table, bool is_tetrahedral);

}  // namespace colour

#endif
