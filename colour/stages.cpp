#include "colour/stages.h"

namespace colour {

namespace OCIO = OCIO_NAMESPACE;

OCIO::TransformRcPtr make_cdl_stage(const cdl_values& values) {
    const OCIO::CDLTransformRcPtr cdl = OCIO::CDLTransform::Create();
    cdl->setStyle(OCIO::CDL_ASC);
    cdl->setSlope(values.slope.data());
    cdl->setOffset(values.offset.data());
    cdl->setPower(values.power.data());
    cdl->setSat(values.saturation);
    return cdl;
}

OCIO::TransformRcPtr make_table_stage(const lut_table& table, bool is_tetrahedral) {
    const unsigned long size = table.size;
    const auto triple = [&table](std::size_t i) { return table.values.data() + 3 * i; };
    if (!table.is_cube) {
        const OCIO::Lut1DTransformRcPtr curve = OCIO::Lut1DTransform::Create(size, false);
        curve->setInterpolation(OCIO::INTERP_LINEAR);
        for (unsigned long i = 0; i < size; ++i) curve->setValue(i, triple(i)[0], triple(i)[1], triple(i)[2]);
        return curve;
    }
    const OCIO::Lut3DTransformRcPtr cube = OCIO::Lut3DTransform::Create(size);
    cube->setInterpolation(is_tetrahedral ? OCIO::INTERP_TETRAHEDRAL : OCIO::INTERP_LINEAR);
    for (unsigned long i = 0; i < size * size * size; ++i) {
        cube->setValue(i % size, i / size % size, i / size / size, triple(i)[0], triple(i)[1], triple(i)[2]);
    }
    return cube;
}

}  // namespace colour
