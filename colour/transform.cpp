#include "colour/transform.h"

#include <OpenColorIO/OpenColorIO.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <utility>

#include "colour/error.h"
#include "colour/reader.h"
#include "colour/stages.h"
#include "colour/text_file.h"

namespace colour {

namespace OCIO = OCIO_NAMESPACE;

namespace {

// Points of the grid on which a packed table is compared; prime, so that few of them fall on a table's own.
constexpr std::size_t cube_probes = 97;
constexpr std::size_t curve_probes = 65521;

const char* kind_of(OCIO::TransformType type) {
    static const std::map<OCIO::TransformType, const char*> kinds = {
        {OCIO::TRANSFORM_TYPE_CDL, "CDL"},
        {OCIO::TRANSFORM_TYPE_EXPONENT, "exponent"},
        {OCIO::TRANSFORM_TYPE_EXPONENT_WITH_LINEAR, "exponent"},
        {OCIO::TRANSFORM_TYPE_LOG, "log"},
        {OCIO::TRANSFORM_TYPE_LOG_AFFINE, "log"},
        {OCIO::TRANSFORM_TYPE_LOG_CAMERA, "log"},
        {OCIO::TRANSFORM_TYPE_MATRIX, "matrix"},
        {OCIO::TRANSFORM_TYPE_RANGE, "range"}};
    const auto kind = kinds.find(type);
    return kind == kinds.end() ? "other" : kind->second;
}

const OCIO::Lut1DTransform* as_curve(const OCIO::Transform& stage) {
    return dynamic_cast<const OCIO::Lut1DTransform*>(&stage);
}

const OCIO::Lut3DTransform* as_cube(const OCIO::Transform& stage) {
    return dynamic_cast<const OCIO::Lut3DTransform*>(&stage);
}

std::string describe(const OCIO::Transform& stage) {
    std::string words = kind_of(stage.getTransformType());
    if (const auto* curve = as_curve(stage)) {
        words = "1D LUT of " + std::to_string(curve->getLength()) + " entries";
        if (curve->getInputHalfDomain()) words += " over half floats";
    }
    if (const auto* cube = as_cube(stage)) {
        words = "3D LUT of " + std::to_string(cube->getGridSize()) + " points an axis";
    }
    return words + (stage.getDirection() == OCIO::TRANSFORM_DIR_INVERSE ? ", inverted" : "");
}

// The factors and offsets of a matrix that leaves the channels apart.
struct scale {
    rgb factor;
    rgb offset;
};

std::optional<scale> scale_of(const OCIO::Transform& stage) {
    const auto* matrix = dynamic_cast<const OCIO::MatrixTransform*>(&stage);
    if (matrix == nullptr || matrix->getDirection() != OCIO::TRANSFORM_DIR_FORWARD) return {};
    double m[16];
    double offset[4];
    matrix->getMatrix(m);
    matrix->getOffset(offset);
    for (std::size_t i = 0; i < 16; ++i) {
        if (i % 5 != 0 && m[i] != 0.0) return {};
    }
    return scale{{m[0], m[5], m[10]}, {offset[0], offset[1], offset[2]}};
}

// Whether a stage leaves every picture as it is. (A range counts only where its limits can't be reached.)
bool does_nothing(const OCIO::Transform& stage, bool inputs_within_0_1) {
    if (const std::optional<scale> found = scale_of(stage)) {
        return found->factor == rgb{1.0, 1.0, 1.0} && found->offset == rgb{0.0, 0.0, 0.0};
    }
    const auto* range = dynamic_cast<const OCIO::RangeTransform*>(&stage);
    if (range == nullptr || !inputs_within_0_1) return false;
    const bool low =
        !range->hasMinInValue() || (range->getMinInValue() <= 0.0 && range->getMinInValue() == range->getMinOutValue());
    const bool high =
        !range->hasMaxInValue() || (range->getMaxInValue() >= 1.0 && range->getMaxInValue() == range->getMaxOutValue());
    return low && high;
}

std::string describe(const cdl_values& values) {
    const auto write = [](double number) {
        char text[32];
        std::snprintf(text, sizeof text, " %.4g", number);
        return std::string(text);
    };
    std::string words;
    for (const auto& [name, triple] :
         {std::pair("CDL of slope", values.slope), {", offset", values.offset}, {", power", values.power}}) {
        words += name + write(triple[0]) + write(triple[1]) + write(triple[2]);
    }
    return words + ", saturation" + write(values.saturation);
}

// The table that a stage is, if it is nothing more.
std::optional<lut_table> read_table(const OCIO::Transform& stage) {
    if (stage.getDirection() != OCIO::TRANSFORM_DIR_FORWARD) return {};
    lut_table table;
    float r = 0.0F;
    float g = 0.0F;
    float b = 0.0F;
    const auto* curve = as_curve(stage);
    if (curve != nullptr && !curve->getInputHalfDomain() && curve->getHueAdjust() == OCIO::HUE_NONE) {
        table.size = curve->getLength();
        for (unsigned long i = 0; i < curve->getLength(); ++i) {
            curve->getValue(i, r, g, b);
            table.values.insert(table.values.end(), {r, g, b});
        }
        return table;
    }
    const auto* cube = as_cube(stage);
    if (cube == nullptr) return {};
    const unsigned long size = cube->getGridSize();
    table.is_cube = true;
    table.size = size;
    for (unsigned long i = 0; i < size * size * size; ++i) {
        cube->getValue(i % size, i / size % size, i / size / size, r, g, b);
        table.values.insert(table.values.end(), {r, g, b});
    }
    return table;
}

// The levels i / (size - 1) along an axis.
float level(std::size_t i, std::size_t size) {
    return static_cast<float>(static_cast<double>(i) / static_cast<double>(size - 1));
}

std::vector<float> list_curve_inputs(std::size_t size) {
    std::vector<float> triples;
    triples.reserve(3 * size);
    for (std::size_t i = 0; i < size; ++i) triples.insert(triples.end(), 3, level(i, size));
    return triples;
}

// The points of a cube in planes of the same blue, from the first as many as are asked for.
std::vector<float> list_cube_inputs(std::size_t size, std::size_t first_plane, std::size_t planes) {
    std::vector<float> triples;
    triples.reserve(3 * size * size * planes);
    for (std::size_t i = 0; i < size * size * planes; ++i) {
        const std::size_t blue = first_plane + i / size / size;
        triples.insert(triples.end(), {level(i % size, size), level(i / size % size, size), level(blue, size)});
    }
    return triples;
}

// What the stages, which all do something, say of the whole.
void describe_stages(colour_transform& transform, const std::vector<OCIO::ConstTransformRcPtr>& stages) {
    bool curve_seen = false;
    bool cube_seen = false;
    for (const auto& stage : stages) {
        transform.stages.push_back(describe(*stage));
        const OCIO::TransformType type = stage->getTransformType();
        const auto* curve = as_curve(*stage);
        const auto* cube = as_cube(*stage);
        std::size_t size = 0;
        if (transform.mixes_channels && cube != nullptr) size = cube->getGridSize();
        if (!transform.mixes_channels && curve != nullptr && !curve->getInputHalfDomain()) size = curve->getLength();
        transform.file_size = std::max(transform.file_size, size);
        if (cube != nullptr) {
            transform.has_shaper = transform.has_shaper || (curve_seen && !cube_seen);
            cube_seen = true;
            transform.is_tetrahedral =
                cube->getInterpolation() == OCIO::INTERP_TETRAHEDRAL || cube->getInterpolation() == OCIO::INTERP_BEST;
        }
        curve_seen = curve_seen || (type != OCIO::TRANSFORM_TYPE_MATRIX && type != OCIO::TRANSFORM_TYPE_RANGE);
    }
    const std::optional<scale> domain = stages.empty() ? std::nullopt : scale_of(*stages.front());
    for (std::size_t i = 0; domain && i < 3; ++i) {
        transform.domain_minimum[i] = 0.0 - domain->offset[i] / domain->factor[i];
        transform.domain_maximum[i] = (1.0 - domain->offset[i]) / domain->factor[i];
    }
    if (stages.size() == 1) transform.content = read_table(*stages.front());
}

// A path is a path, $ and % included: no variable stands for a part of it.
OCIO::ConstProcessorRcPtr make_processor(const OCIO::TransformRcPtr& source) {
    const OCIO::ConstConfigRcPtr config = OCIO::Config::CreateRaw();
    const OCIO::ContextRcPtr context = config->getCurrentContext()->createEditableCopy();
    context->setEnvironmentMode(OCIO::ENV_ENVIRONMENT_LOAD_PREDEFINED);
    context->clearStringVars();
    return config->getProcessor(context, source, OCIO::TRANSFORM_DIR_FORWARD);
}

colour_transform make_transform(const std::string& name, const OCIO::TransformRcPtr& source) {
    const OCIO::ConstProcessorRcPtr processor = make_processor(source);
    const OCIO::ConstCPUProcessorRcPtr cpu = processor->getOptimizedCPUProcessor(OCIO::OPTIMIZATION_NONE);
    colour_transform transform;
    transform.name = name;
    transform.mixes_channels = processor->hasChannelCrosstalk();
    transform.apply = [cpu](std::vector<float>& triples) {
        if (triples.empty()) return;
        OCIO::PackedImageDesc image(triples.data(), static_cast<long>(triples.size() / 3), 1, 3);
        cpu->apply(image);
    };
    const OCIO::GroupTransformRcPtr group = processor->createGroupTransform();
    std::vector<OCIO::ConstTransformRcPtr> stages;
    for (int i = 0; i < group->getNumTransforms(); ++i) {
        const OCIO::ConstTransformRcPtr stage = group->getTransform(i);
        if (!does_nothing(*stage, stages.empty())) stages.push_back(stage);
    }
    describe_stages(transform, stages);
    return transform;
}

}  // namespace

colour_transform read_lut_file(const std::string& path) {
    colour_transform transform;
    if (is_cdl_file(path)) {
        transform = make_cdl_transform(read_cdl_file(path, ""));
        transform.name = path;
        return transform;
    }
    const std::optional<cube_file> cube = read_colour_file(path, [&](const std::string& readable) {
        const OCIO::FileTransformRcPtr file = OCIO::FileTransform::Create();
        file->setSrc(readable.c_str());
        file->setInterpolation(OCIO::INTERP_DEFAULT);
        transform = make_transform(path, file);
    });
    if (cube) {
        guard_reader(path, path, [&] { transform = make_transform(path, make_cube_file(*cube)); });
        transform.title = cube->title;
    }
    return transform;
}

colour_transform make_cdl_transform(const cdl_values& values) {
    colour_transform transform;
    guard_reader("CDL", "CDL", [&] { transform = make_transform("CDL", make_cdl(values)); });
    transform.stages = {describe(values)};
    return transform;
}

colour_transform make_table_transform(const lut_table& table, bool is_tetrahedral) {
    return make_transform("table", make_table(table, is_tetrahedral ? OCIO::INTERP_TETRAHEDRAL : OCIO::INTERP_LINEAR));
}

lut_table make_table(const colour_transform& transform, std::size_t size) {
    lut_table table{transform.mixes_channels, size, {}};
    if (transform.content && size == transform.file_size) {
        table = *transform.content;
    } else {
        table.values = table.is_cube ? list_cube_inputs(size, 0, size) : list_curve_inputs(size);
        transform.apply(table.values);
    }
    const auto is_finite = [](float value) { return std::isfinite(value); };
    const auto bad = std::find_if_not(table.values.begin(), table.values.end(), is_finite);
    if (bad == table.values.end()) return table;
    throw content_error(transform.name + ": entry " + std::to_string((bad - table.values.begin()) / 3) +
                        " of the table, counted from 0, is not finite");
}

double find_largest_error(const colour_transform& transform, const lut_table& table, bool clipped) {
    const colour_transform packed = make_table_transform(table, transform.is_tetrahedral);
    double largest = 0.0;
    const auto compare = [&](std::vector<float> expected) {
        std::vector<float> actual = expected;
        transform.apply(expected);
        packed.apply(actual);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            const float wanted = clipped ? std::clamp(expected[i], 0.0F, 1.0F) : expected[i];
            const float got = clipped ? std::clamp(actual[i], 0.0F, 1.0F) : actual[i];
            largest = std::max(largest, std::fabs(double{wanted} - double{got}));
        }
    };
    compare(list_curve_inputs(curve_probes));
    // The whole grid at once would take 80 MB.
    for (std::size_t plane = 0; table.is_cube && plane < cube_probes; ++plane) {
        compare(list_cube_inputs(cube_probes, plane, 1));
    }
    return largest;
}

}  // namespace colour
