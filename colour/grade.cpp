#include "colour/grade.h"

#include <OpenColorIO/OpenColorIO.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "colour/error.h"
#include "colour/layout.h"
#include "colour/stages.h"

namespace colour {

namespace OCIO = OCIO_NAMESPACE;

namespace {

constexpr rgb weights = {0.2126, 0.7152, 0.0722};  // of Rec. 709

// Of a table. Throws content_error when the format's name is none.
table_layout layout_of(const grade_component& component) {
    const bool is_cube = component.type == "3dlut";
    std::string name = component.data_format;
    if (name == "uint16") name = is_cube ? "uint16-le-red-fastest" : "uint16-le";
    const std::optional<table_layout> layout = find_layout(name);
    if (layout && (layout->order != entry_order::curve) == is_cube) return *layout;
    throw content_error("no " + component.type + " has a format of this name");
}

const std::vector<unsigned char>& bytes_of(const grade_component& component) {
    static const std::vector<unsigned char> none;
    return component.data == nullptr ? none : *component.data;
}

OCIO::TransformRcPtr make_limits() {
    const OCIO::RangeTransformRcPtr range = OCIO::RangeTransform::Create();
    range->setMinInValue(0.0);
    range->setMinOutValue(0.0);
    range->setMaxInValue(1.0);
    range->setMaxOutValue(1.0);
    return range;
}

OCIO::TransformRcPtr make_saturation(double saturation) {
    double matrix[16];
    double offset[4];
    OCIO::MatrixTransform::Sat(matrix, offset, saturation, weights.data());
    const OCIO::MatrixTransformRcPtr mix = OCIO::MatrixTransform::Create();
    mix->setMatrix(matrix);
    const OCIO::GroupTransformRcPtr group = OCIO::GroupTransform::Create();
    group->appendTransform(mix);
    group->appendTransform(make_limits());
    return group;
}

OCIO::TransformRcPtr make_transform(const grade_component& component) {
    if (component.type == "cdl") return make_cdl(*component.values);
    if (component.type == "saturation") return make_saturation(component.values->saturation);
    return make_table(read_table(component), OCIO::INTERP_TETRAHEDRAL);
}

bool is_shown(std::size_t place, const grade_view& view) {
    const auto has_place = [place](const std::vector<std::size_t>& list) {
        return std::find(list.begin(), list.end(), place) != list.end();
    };
    return (!view.only || has_place(*view.only)) && !has_place(view.without);
}

OCIO::ConstCPUProcessorRcPtr make_processor(const std::vector<grade_step>& steps, const grade_view& view) {
    const OCIO::GroupTransformRcPtr group = OCIO::GroupTransform::Create();
    if (view.is_legal_range) group->appendTransform(make_legal_range(OCIO::TRANSFORM_DIR_FORWARD));
    for (std::size_t i = 0; i < steps.size(); ++i) {
        if (steps[i].runs && is_shown(i, view)) group->appendTransform(make_transform(*steps[i].component));
    }
    group->appendTransform(make_limits());
    if (view.is_legal_range) group->appendTransform(make_legal_range(OCIO::TRANSFORM_DIR_INVERSE));
    // Not optimised: that replaces what the formulas say by what comes close to it.
    return OCIO::Config::CreateRaw()->getProcessor(group)->getOptimizedCPUProcessor(OCIO::OPTIMIZATION_NONE);
}

grade_step make_step(const grade_component& component, const obstacle_finder& find) {
    const std::string obstacle = find(component);
    return {component.type, component.slot, &component, obstacle.empty(), obstacle};
}

}  // namespace

lut_table read_table(const grade_component& component) { return unpack(bytes_of(component), layout_of(component)); }

std::string find_obstacle(const grade_component& component) {
    if (component.type == "cdl" || component.type == "saturation") {
        if (!component.values) return "its values came as bytes; only numbers run";
        if (component.type == "cdl") return find_cdl_obstacle(*component.values);
        return find_saturation_obstacle(component.values->saturation);
    }
    if (component.type != "1dlut" && component.type != "3dlut") return "components of this type don't run";
    try {
        check_table(bytes_of(component), layout_of(component));
    } catch (const content_error& failure) {
        return failure.what();
    }
    return {};
}

std::vector<grade_step> list_steps(const std::vector<std::string>& combination,
                                   const std::vector<grade_component>& components, const obstacle_finder& find) {
    std::vector<grade_step> steps;
    std::map<std::string, std::int32_t> slots;
    for (const std::string& type : combination) {
        const std::int32_t slot = ++slots[type];
        const auto fits = [&](const grade_component& component) {
            return component.type == type && component.slot == slot;
        };
        const auto found = std::find_if(components.begin(), components.end(), fits);
        steps.push_back(found == components.end() ? grade_step{type, slot, nullptr, false, "nobody has set it"}
                                                  : make_step(*found, find));
    }
    for (const grade_component& component : components) {
        const auto has_component = [&](const grade_step& step) { return step.component == &component; };
        if (std::any_of(steps.begin(), steps.end(), has_component)) continue;
        steps.push_back({component.type, component.slot, &component, false, "the grade combination doesn't name it"});
    }
    return steps;
}

std::vector<grade_step> list_steps(const std::vector<grade_component>& components) {
    std::vector<grade_step> steps;
    for (const grade_component& component : components) steps.push_back(make_step(component, find_obstacle));
    return steps;
}

image_rows grade_rows(image_rows source, const std::vector<grade_step>& steps, const grade_view& view) {
    const auto runs = [](const grade_step& step) { return step.runs; };
    if (std::none_of(steps.begin(), steps.end(), runs)) return source;
    const std::size_t width = source.width;
    const std::size_t height = source.height;
    try {
        return {width, height,
                [source = std::move(source), processor = make_processor(steps, view)](std::size_t y, float* rgba) {
                    source.read(y, rgba);
                    OCIO::PackedImageDesc row(rgba, static_cast<long>(source.width), 1, 4);
                    processor->apply(row);
                }};
    } catch (const OCIO::Exception& failure) {
        throw error(std::string("the grade can't be computed: ") + failure.what());
    }
}

}  // namespace colour
