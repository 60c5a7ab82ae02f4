// What only the pictures of a device show: slots, views, ranges, scaled pictures.
#include "colour/grade.h"

#include <gtest/gtest.h>

#include "colour/pattern.h"

namespace {

using namespace colour;

image_rows make_row(std::vector<std::uint16_t> greys) {
    const auto picture = std::make_shared<image>(image{greys.size(), 1, std::vector<std::uint16_t>{}});
    for (const std::uint16_t grey : greys)
        std::get<1>(picture->samples).insert(std::get<1>(picture->samples).end(), 3, grey);
    return read_rows(picture);
}

// The red of the first row, in 16 bits.
std::vector<std::uint16_t> read_row(const image_rows& rows) {
    std::vector<float> rgba(4 * rows.width);
    std::vector<std::uint16_t> samples(3 * rows.width);
    rows.read(0, rgba.data());
    quantise(rgba.data(), rows.width, samples.data());
    std::vector<std::uint16_t> reds;
    for (std::size_t i = 0; i < rows.width; ++i) reds.push_back(samples[3 * i]);
    return reds;
}

std::vector<grade_component> make_components() {  // slot 1 halves, slot 2 adds a quarter
    cdl_values half;
    half.slope = {0.5, 0.5, 0.5};
    cdl_values more;
    more.offset = {0.25, 0.25, 0.25};
    return {{"cdl", 2, "", more, nullptr}, {"cdl", 1, "", half, nullptr}, {"saturation", 3, "", half, nullptr}};
}

TEST(Grade, StepsFollowTheCombinationSlotBySlot) {
    const std::vector<grade_component> components = make_components();
    const std::vector<grade_step> steps = list_steps({"cdl", "saturation", "cdl"}, components);
    ASSERT_EQ(steps.size(), 4u);
    EXPECT_TRUE(steps[0].component == &components[1] && steps[0].runs);
    EXPECT_TRUE(steps[1].component == nullptr && !steps[1].runs);
    EXPECT_TRUE(steps[2].component == &components[0] && steps[2].runs);
    EXPECT_TRUE(steps[3].component == &components[2] && !steps[3].runs && !steps[3].reason.empty());
}

TEST(Grade, ViewsAndTheLegalRange) {
    const std::vector<grade_component> components = make_components();
    const std::vector<grade_step> steps = list_steps({"cdl", "saturation", "cdl"}, components);
    const image_rows row = make_row({0, 32768, 65535});
    const auto black = static_cast<std::uint16_t>(64 * 65535.0 / 1023 + 0.5);
    const auto white = static_cast<std::uint16_t>(940 * 65535.0 / 1023 + 0.5);
    const struct {
        grade_view view;
        std::vector<std::uint16_t> expected;
    } cases[] = {
        {{{}, {}, false}, {16384, 32768, 49151}},
        {{std::vector<std::size_t>{2}, {}, false}, {16384, 49152, 65535}},
        {{{}, {2}, false}, {0, 16384, 32768}},
        {{std::vector<std::size_t>{0, 2}, {0}, false}, {16384, 49152, 65535}},
        {{std::vector<std::size_t>{}, {}, true}, {black, 32768, white}},
        {{std::vector<std::size_t>{0}, {}, true}, {black, 18434, 34817}},
    };
    for (const auto& [view, expected] : cases) EXPECT_EQ(read_row(grade_rows(row, steps, view)), expected);
    EXPECT_EQ(read_row(grade_rows(row, {steps[1]}, {{}, {}, true})), read_row(row));  // nothing runs
}

TEST(Pattern, IsDrawnFromLeftToRight) {
    const auto draw = [](const char* name, std::size_t width) {
        return read_row(draw_pattern({name, 0, {}, {}}, width, 1));
    };
    EXPECT_EQ(draw("bars", 8), (std::vector<std::uint16_t>{65535, 49151, 0, 0, 49151, 49151, 0, 0}));
    EXPECT_EQ(draw("ramp", 4), (std::vector<std::uint16_t>{0, 21845, 43690, 65535}));
    EXPECT_EQ(draw("zoneplate", 3), (std::vector<std::uint16_t>{49151, 65535, 49151}));
    EXPECT_FALSE(is_pattern("Bars"));
}

TEST(Image, IsScaledDownByAreas) {
    const image_rows row = make_row({0, 300, 600, 900, 1800});
    EXPECT_EQ(read_row(scale_down(row, 5)), (std::vector<std::uint16_t>{0, 300, 600, 900, 1800}));
    EXPECT_EQ(read_row(scale_down(row, 1)), (std::vector<std::uint16_t>{720}));
    EXPECT_EQ(read_row(scale_down(row, 2)), (std::vector<std::uint16_t>{240, 1200}));
    EXPECT_EQ(scale_down({1920, 1080, nullptr}, 480).height, 270u);
    EXPECT_EQ(scale_down({5, 1, nullptr}, 1).height, 1u);
}

}  // namespace
