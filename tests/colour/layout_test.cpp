#include "colour/layout.h"

#include <gtest/gtest.h>

#include "colour/error.h"

namespace {

using namespace colour;

using bytes = std::vector<unsigned char>;

lut_table make_table(const char* name, std::size_t size) {
    lut_table table{find_layout(name)->order != entry_order::curve, size, {}};
    const std::size_t count = 3 * (table.is_cube ? size * size * size : size);
    for (std::size_t i = 0; i < count; ++i) table.values.push_back(static_cast<float>(i) / static_cast<float>(count));
    return table;
}

// Values outside 0..1 are limited and halves rounded up, but not in floating point.
TEST(Layout, StoresEachNumberAsItsNameSays) {
    const struct {
        const char* name;
        bytes first_entry;
    } cases[] = {
        {"float32-le", {0, 0, 0, 0xBF, 0, 0, 0, 0x3F, 0, 0, 0, 0x40}},
        {"float32-be", {0xBF, 0, 0, 0, 0x3F, 0, 0, 0, 0x40, 0, 0, 0}},
        {"uint16-le", {0, 0, 0, 0x80, 0xFF, 0xFF}},
        {"uint16-be", {0, 0, 0x80, 0, 0xFF, 0xFF}},
        {"uint12in16-le", {0, 0, 0, 0x08, 0xFF, 0x0F}},
        {"uint12in16-be", {0, 0, 0x08, 0, 0x0F, 0xFF}},
        {"uint10in16-le", {0, 0, 0, 0x02, 0xFF, 0x03}},
        {"uint10in16-be", {0, 0, 0x02, 0, 0x03, 0xFF}},
    };
    for (const auto& [name, first_entry] : cases) {
        const bytes packed = pack({false, 2, {-0.5F, 0.5F, 2.0F, 0.0F, 0.0F, 0.0F}}, find_layout(name).value());
        EXPECT_EQ(bytes(packed.begin(), packed.begin() + static_cast<long>(first_entry.size())), first_entry) << name;
    }
}

TEST(Layout, OrdersTheEntriesOfACube) {
    lut_table cube = make_table("uint16-le-red-fastest", 3);
    for (std::size_t i = 0; i < cube.values.size(); ++i) cube.values[i] = static_cast<float>(i / 3) / 65535.0F;
    const auto places = [&cube](const char* name) {
        const bytes packed = pack(cube, find_layout(name).value());
        return bytes{packed[6 * 1], packed[6 * 3], packed[6 * 9], packed[6 * 5]};
    };
    EXPECT_EQ(places("uint16-le-red-fastest"), (bytes{1, 3, 9, 5}));
    EXPECT_EQ(places("uint16-le-blue-fastest"), (bytes{9, 3, 1, 21}));
}

TEST(Layout, EveryOneIsReadBackByItsName) {
    EXPECT_EQ(list_layouts().size(), 24u);
    for (const table_layout& layout : list_layouts()) {
        const std::string name = name_of(layout);
        SCOPED_TRACE(name);
        const lut_table table = make_table(name.c_str(), 5);
        const bytes packed = pack(table, find_layout(name).value());
        const lut_table read = unpack(packed, layout);
        EXPECT_EQ(read.is_cube, table.is_cube);
        EXPECT_EQ(read.size, 5u);
        ASSERT_EQ(read.values.size(), table.values.size());
        const float step = layout.samples.largest > 0.0 ? static_cast<float>(0.5001 / layout.samples.largest) : 0.0F;
        for (std::size_t i = 0; i < read.values.size(); ++i) EXPECT_NEAR(read.values[i], table.values[i], step);
        EXPECT_EQ(pack(read, layout), packed);
    }
    EXPECT_FALSE(find_layout("uint16"));
    EXPECT_FALSE(find_layout("uint16-le-red"));
}

TEST(Layout, RefusesBytesThatAreNoTable) {
    const bytes infinity = {0, 0, 0x80, 0x7F};
    bytes infinite(20);
    infinite.insert(infinite.end(), infinity.begin(), infinity.end());
    bytes above(10);
    above.insert(above.end(), {0x00, 0x04});  // 1024
    const struct {
        const char* name;
        bytes content;
        const char* complaint;
    } cases[] = {
        {"uint16-le", bytes(6), "6 bytes are no table of uint16-le with 2 to 65536 entries"},
        {"uint16-le", bytes(13), "13 bytes"},
        {"uint16-le", bytes(65537 * 6), "393222 bytes"},
        {"uint16-le-red-fastest", bytes(6), "2 to 129 points an axis"},
        {"uint16-le-red-fastest", bytes(9 * 6), "54 bytes"},
        {"uint16-le-red-fastest", bytes(8 * 6 + 2), "50 bytes"},
        {"uint16-le-red-fastest", bytes(130 * 130 * 130 * 6), "13182000 bytes"},
        {"float32-le", infinite, "number 5 of the table, counted from 0, is not finite"},
        {"uint10in16-le", above, "number 5 of the table, counted from 0, is above 1023"},
    };
    for (const auto& [name, content, complaint] : cases) {
        try {
            unpack(content, find_layout(name).value());
            ADD_FAILURE() << "accepted: " << complaint;
        } catch (const content_error& error) {
            EXPECT_NE(std::string(error.what()).find(complaint), std::string::npos) << error.what();
        }
    }
    EXPECT_EQ(unpack(bytes(65536 * 6), find_layout("uint16-le").value()).size, 65536u);
    EXPECT_EQ(unpack(bytes(129 * 129 * 129 * 6), find_layout("uint16-le-blue-fastest").value()).size, 129u);
}

}  // namespace
