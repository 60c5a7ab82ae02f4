#include "colour/stages.h"

namespace colour {

namespace OCIO = OCIO_NAMESPACE;

OCIO::TransformRcPtr make_cdl(const cdl_values& values) {
    const OCIO::CDLTransformRcPtr cdl = OCIO::CDLTransform::Create();
    cdl->setStyle(OCIO::CDL_ASC);
    cdl->setSlope(values.slope.data());
    cdl->setOffset(values.offset.data());
    cdl->setPower(values.power.data());
    cdl->setSat(values.saturation);
    return cdl;
}

OCIO::TransformRcPtr make_table(const lut_table& table, OCIO::Interpolation of_cubes) {
    const unsigned long size = table.size;
    const auto triple = [&table](std::size_t i) { return table.values.data() + 3 * i; };
    if (!table.is_cube) {
        const OCIO::Lut1DTransformRcPtr curve = OCIO::Lut1DTransform::Create(size, false);
        curve->setInterpolation(OCIO::INTERP_LINEAR);
        for (unsigned long i = 0; i < size; ++i) curve->setValue(i, triple(i)[0], triple(i)[1], triple(i)[2]);
        return curve;
    }
    const OCIO::Lut3DTransformRcPtr cube = OCIO::Lut3DTransform::Create(size);
    cube->setInterpolation(of_cubes);
    for (unsigned long i = 0; i < size * size * size; ++i) {
        cube->setValue(i % size, i / size % size, i / size / size, triple(i)[0], triple(i)[1], triple(i)[2]);
    }
    return cube;
}

OCIO::TransformRcPtr make_range(const rgb& minimum, const rgb& maximum, OCIO::TransformDirection direction) {
    double matrix[16] = {};
    double offset[4] = {};
    matrix[15] = 1.0;
    for (std::size_t i = 0; i < 3; ++i) {
        matrix[5 * i] = 1.0 / (maximum[i] - minimum[i]);
        offset[i] = -minimum[i] * matrix[5 * i];
    }
    const OCIO::MatrixTransformRcPtr range = OCIO::MatrixTransform::Create();
    range->setMatrix(matrix);
    range->setOffset(offset);
    range->setDirection(direction);
    return range;
}

OCIO::TransformRcPtr make_legal_range(OCIO::TransformDirection direction) {
    return make_range({legal_black, legal_black, legal_black}, {legal_white, legal_white, legal_white}, direction);
}

OCIO::TransformRcPtr make_cube_file(const cube_file& file) {
    const OCIO::GroupTransformRcPtr group = OCIO::GroupTransform::Create();
    if (file.takes_video_range) group->appendTransform(make_legal_range(OCIO::TRANSFORM_DIR_FORWARD));
    for (const ranged_table* part : {&file.curve, &file.cube}) {
        if (part->table.size == 0) continue;
        group->appendTransform(make_range(part->minimum, part->maximum));
        group->appendTransform(make_table(part->table, OCIO::INTERP_LINEAR));
    }
    if (file.gives_video_range) group->appendTransform(make_legal_range(OCIO::TRANSFORM_DIR_INVERSE));
    return group;
}

}  // namespace colour
