#include "cli/colour_lut.h"

#include <OpenColorIO/OpenColorIO.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "cli/colour_reader.h"
#include "cli/output.h"

namespace lutc_cli {

namespace OCIO = OCIO_NAMESPACE;

namespace {

// Points of the grid on which a packed table is compared; prime, so that few of them fall on a table's own.
constexpr std::size_t cube_probes = 97;
constexpr std::size_t curve_probes = 65521;

std::string named(OCIO::TransformType type) {
    switch (type) {
        case OCIO::TRANSFORM_TYPE_CDL:
            return "CDL";
        case OCIO::TRANSFORM_TYPE_EXPONENT:
        case OCIO::TRANSFORM_TYPE_EXPONENT_WITH_LINEAR:
            return "exponent";
        case OCIO::TRANSFORM_TYPE_LOG:
        case OCIO::TRANSFORM_TYPE_LOG_AFFINE:
        case OCIO::TRANSFORM_TYPE_LOG_CAMERA:
            return "log";
        case OCIO::TRANSFORM_TYPE_MATRIX:
            return "matrix";
        case OCIO::TRANSFORM_TYPE_RANGE:
            return "range";
        default:
            return "other";
    }
}

std::string in_words(const OCIO::Transform& transform) {
    std::string words = named(transform.getTransformType());
    if (const auto* curve = dynamic_cast<const OCIO::Lut1DTransform*>(&transform)) {
        words = "1D LUT of " + std::to_string(curve->getLength()) + " entries";
        if (curve->getInputHalfDomain()) words += " over half floats";
    }
    if (const auto* cube = dynamic_cast<const OCIO::Lut3DTransform*>(&transform)) {
        words = "3D LUT of " + std::to_string(cube->getGridSize()) + " points an axis";
    }
    return words + (transform.getDirection() == OCIO::TRANSFORM_DIR_INVERSE ? ", inverted" : "");
}

// The factors and offsets of a matrix that leaves the channels apart.
struct Scale {
    Rgb factor;
    Rgb offset;
};

std::optional<Scale> scale_of(const OCIO::Transform& transform) {
    const auto* matrix = dynamic_cast<const OCIO::MatrixTransform*>(&transform);
    if (matrix == nullptr || matrix->getDirection() != OCIO::TRANSFORM_DIR_FORWARD) return {};
    double m[16];
    double offset[4];
    matrix->getMatrix(m);
    matrix->getOffset(offset);
    for (std::size_t i = 0; i < 16; ++i) {
        if (i % 5 != 0 && m[i] != 0.0) return {};
    }
    return Scale{{m[0], m[5], m[10]}, {offset[0], offset[1], offset[2]}};
}

// Whether a stage leaves every picture as it is. (A range counts only where its limits can't be reached.)
bool does_nothing(const OCIO::Transform& transform, bool inputs_within_0_1) {
    if (const std::optional<Scale> scale = scale_of(transform)) {
        return scale->factor == Rgb{1.0, 1.0, 1.0} && scale->offset == Rgb{0.0, 0.0, 0.0};
    }
    const auto* range = dynamic_cast<const OCIO::RangeTransform*>(&transform);
    if (range == nullptr || !inputs_within_0_1) return false;
    const bool low =
        !range->hasMinInValue() || (range->getMinInValue() <= 0.0 && range->getMinInValue() == range->getMinOutValue());
    const bool high =
        !range->hasMaxInValue() || (range->getMaxInValue() >= 1.0 && range->getMaxInValue() == range->getMaxOutValue());
    return low && high;
}

bool is_plain_table(const OCIO::Transform& transform) {
    if (transform.getDirection() != OCIO::TRANSFORM_DIR_FORWARD) return false;
    if (dynamic_cast<const OCIO::Lut3DTransform*>(&transform) != nullptr) return true;
    const auto* curve = dynamic_cast<const OCIO::Lut1DTransform*>(&transform);
    return curve != nullptr && !curve->getInputHalfDomain() && curve->getHueAdjust() == OCIO::HUE_NONE;
}

LutTable table_of(const OCIO::Transform& transform) {
    LutTable table;
    const auto keep = [&table](float r, float g, float b) { table.values.insert(table.values.end(), {r, g, b}); };
    float r = 0.0F;
    float g = 0.0F;
    float b = 0.0F;
    if (const auto* curve = dynamic_cast<const OCIO::Lut1DTransform*>(&transform)) {
        table.size = curve->getLength();
        for (unsigned long i = 0; i < curve->getLength(); ++i) {
            curve->getValue(i, r, g, b);
            keep(r, g, b);
        }
        return table;
    }
    const auto& cube = dynamic_cast<const OCIO::Lut3DTransform&>(transform);
    const unsigned long size = cube.getGridSize();
    table.cube = true;
    table.size = size;
    for (unsigned long i = 0; i < size * size * size; ++i) {
        cube.getValue(i % size, i / size % size, i / size / size, r, g, b);
        keep(r, g, b);
    }
    return table;
}

OCIO::TransformRcPtr transform_of(const LutTable& table, OCIO::Interpolation interpolation) {
    const unsigned long size = table.size;
    const auto triple = [&table](std::size_t i) { return table.values.data() + 3 * i; };
    if (!table.cube) {
        const OCIO::Lut1DTransformRcPtr curve = OCIO::Lut1DTransform::Create(size, false);
        for (unsigned long i = 0; i < size; ++i) curve->setValue(i, triple(i)[0], triple(i)[1], triple(i)[2]);
        return curve;
    }
    const OCIO::Lut3DTransformRcPtr cube = OCIO::Lut3DTransform::Create(size);
    cube->setInterpolation(interpolation);
    for (unsigned long i = 0; i < size * size * size; ++i) {
        cube->setValue(i % size, i / size % size, i / size / size, triple(i)[0], triple(i)[1], triple(i)[2]);
    }
    return cube;
}

void apply_to(const OCIO::CPUProcessor& processor, std::vector<float>& triples) {
    if (triples.empty()) return;
    OCIO::PackedImageDesc image(triples.data(), static_cast<long>(triples.size() / 3), 1, 3);
    processor.apply(image);
}

// The inputs i / (size - 1): of each channel, or of the cube that the three span.
std::vector<float> inputs(bool cube, std::size_t size) {
    const auto level = [size](std::size_t i) {
        return static_cast<float>(static_cast<double>(i) / static_cast<double>(size - 1));
    };
    std::vector<float> triples;
    const std::size_t count = cube ? size * size * size : size;
    triples.reserve(3 * count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::array<std::size_t, 3> at =
            cube ? std::array<std::size_t, 3>{i % size, i / size % size, i / size / size}
                 : std::array<std::size_t, 3>{i, i, i};
        for (const std::size_t index : at) triples.push_back(level(index));
    }
    return triples;
}

}  // namespace

struct ColourTransform::Parts {
    explicit Parts(const OCIO::TransformRcPtr& transform) {
        const OCIO::ConstProcessorRcPtr processor = OCIO::Config::CreateRaw()->getProcessor(transform);
        group = processor->createGroupTransform();
        mixes = processor->hasChannelCrosstalk();
        cpu = processor->getOptimizedCPUProcessor(OCIO::OPTIMIZATION_NONE);
        for (int i = 0; i < group->getNumTransforms(); ++i) {
            const OCIO::ConstTransformRcPtr stage = group->getTransform(i);
            if (!does_nothing(*stage, stages.empty())) stages.push_back(stage);
        }
    }

    OCIO::GroupTransformRcPtr group;
    OCIO::ConstCPUProcessorRcPtr cpu;
    std::vector<OCIO::ConstTransformRcPtr> stages;  // those that do something
    bool mixes = false;
};

ColourTransform ColourTransform::from_file(const std::string& path) {
    std::shared_ptr<const Parts> parts;
    read_colour_file(path, [&] {
        const OCIO::FileTransformRcPtr file = OCIO::FileTransform::Create();
        file->setSrc(path.c_str());
        file->setInterpolation(OCIO::INTERP_DEFAULT);
        parts = std::make_shared<const Parts>(file);
    });
    return ColourTransform(std::move(parts));
}

ColourTransform ColourTransform::from_cdl(const cdl& values) {
    std::shared_ptr<const Parts> parts;
    guard_reader("CDL", [&] {
        const OCIO::CDLTransformRcPtr transform = OCIO::CDLTransform::Create();
        transform->setStyle(OCIO::CDL_ASC);
        transform->setSlope(values.slope);
        transform->setOffset(values.offset);
        transform->setPower(values.power);
        transform->setSat(values.saturation);
        parts = std::make_shared<const Parts>(transform);
    });
    return ColourTransform(std::move(parts));
}

bool ColourTransform::mixes_channels() const { return parts_->mixes; }

std::vector<std::string> ColourTransform::stages() const {
    std::vector<std::string> words;
    for (const auto& stage : parts_->stages) words.push_back(in_words(*stage));
    return words;
}

bool ColourTransform::has_shaper() const {
    bool curve_seen = false;
    for (const auto& stage : parts_->stages) {
        const OCIO::TransformType type = stage->getTransformType();
        if (type == OCIO::TRANSFORM_TYPE_LUT3D) return curve_seen;
        curve_seen = curve_seen || (type != OCIO::TRANSFORM_TYPE_MATRIX && type != OCIO::TRANSFORM_TYPE_RANGE);
    }
    return false;
}

Rgb ColourTransform::domain_minimum() const {
    const std::optional<Scale> scale = parts_->stages.empty() ? std::nullopt : scale_of(*parts_->stages.front());
    Rgb minimum{};
    for (std::size_t i = 0; scale && i < 3; ++i) minimum[i] = 0.0 - scale->offset[i] / scale->factor[i];
    return minimum;
}

Rgb ColourTransform::domain_maximum() const {
    const std::optional<Scale> scale = parts_->stages.empty() ? std::nullopt : scale_of(*parts_->stages.front());
    Rgb maximum{1.0, 1.0, 1.0};
    for (std::size_t i = 0; scale && i < 3; ++i) maximum[i] = (1.0 - scale->offset[i]) / scale->factor[i];
    return maximum;
}

std::size_t ColourTransform::file_size() const {
    std::size_t largest = 0;
    for (const auto& stage : parts_->stages) {
        const auto* curve = dynamic_cast<const OCIO::Lut1DTransform*>(stage.get());
        const auto* cube = dynamic_cast<const OCIO::Lut3DTransform*>(stage.get());
        if (mixes_channels() && cube != nullptr) largest = std::max(largest, std::size_t{cube->getGridSize()});
        if (!mixes_channels() && curve != nullptr && !curve->getInputHalfDomain()) {
            largest = std::max(largest, std::size_t{curve->getLength()});
        }
    }
    return largest;
}

bool ColourTransform::is_one_table() const {
    return parts_->stages.size() == 1 && is_plain_table(*parts_->stages.front());
}

LutTable ColourTransform::table() const { return table_of(*parts_->stages.front()); }

LutTable ColourTransform::sampled(std::size_t size) const {
    LutTable table{mixes_channels(), size, inputs(mixes_channels(), size)};
    apply(table.values);
    return table;
}

double ColourTransform::largest_error(const LutTable& table, bool clipped) const {
    OCIO::Interpolation interpolation = OCIO::INTERP_DEFAULT;
    for (const auto& stage : parts_->stages) {
        const auto* cube = dynamic_cast<const OCIO::Lut3DTransform*>(stage.get());
        if (cube != nullptr) interpolation = cube->getInterpolation();
    }
    const Parts packed_parts(transform_of(table, interpolation));
    std::vector<float> expected = inputs(false, curve_probes);
    if (table.cube) {
        const std::vector<float> grid = inputs(true, cube_probes);
        expected.insert(expected.end(), grid.begin(), grid.end());
    }
    std::vector<float> actual = expected;
    apply(expected);
    apply_to(*packed_parts.cpu, actual);
    double largest = 0.0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const float wanted = clipped ? std::clamp(expected[i], 0.0F, 1.0F) : expected[i];
        const float got = clipped ? std::clamp(actual[i], 0.0F, 1.0F) : actual[i];
        largest = std::max(largest, std::fabs(double{wanted} - double{got}));
    }
    return largest;
}

void ColourTransform::apply(std::vector<float>& triples) const { apply_to(*parts_->cpu, triples); }

}  // namespace lutc_cli
