// What each exported function sends, and what it refuses to send.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

#include <lutc/lutc.h>
#include "tests/support/calls.h"
#include "tests/support/documents.h"
#include "tests/support/scripted_service.h"

namespace {

std::string command_text(const std::string& command, const std::string& fields) {
    return "{'protocolVersion':'2.0','type':'command','msgID':1,'command':'" + command + "'" +
           (fields.empty() ? "" : "," + fields) + "}";
}

TEST(Commands, areSentFieldByField) {
    std::set<std::string> commands;
    for (const exported_call& row : exported_calls) {
        commands.insert(row.command);
        SCOPED_TRACE(row.command + (" " + row.fields));
        scripted_service service({send(encoded(any_reply)), hang_up()});
        EXPECT_EQ(outcome_of(row.run), 0);
        EXPECT_EQ(decoded(service.command()), command_text(row.command, row.fields));
    }
    EXPECT_EQ(commands.size(), 26u);
}

// Around the size from which payloads are sent from where they lie, more of them than fit one write, and a large one.
TEST(Commands, mayBeLarge) {
    std::vector<std::size_t> sizes{4095, 4096, 65 * 65 * 65 * 3 * sizeof(float)};
    sizes.resize(100, 5000);
    std::vector<unsigned char> lut(sizes[2]);
    for (std::size_t i = 0; i < lut.size(); ++i) lut[i] = static_cast<unsigned char>(i * 7);
    std::vector<gradeComponent> components;
    std::string expected;
    for (const std::size_t size : sizes) {
        gradeComponent component = make_data(LUTC_KIND_LUT_3D, 1, static_cast<int>(size));
        component.data = &lut[components.size()];
        if (size == lut.size()) component.data = lut.data();
        expected += (expected.empty() ? "" : ",") +
                    ("{'typeIndex':1,'type':'3dlut','dataFormat':'f16','data':'hex:" + to_hex(component.data, size)) +
                    "'}";
        components.push_back(component);
    }
    scripted_service service({send(encoded(any_reply)), hang_up()});
    EXPECT_EQ(lutc_send_live(0, 0, false, components.data(), static_cast<int>(components.size())), 0);
    EXPECT_TRUE(decoded(service.command()) ==
                command_text("sendLive", "'resetAndApply':false,'gradeCombo':[" + expected + "]"));
}

// No service is there, so that a connect fails the test.
TEST(Commands, thatCantBeMadeAreRefusedBeforeAnyConnection) {
    const char* const long_name = name33.c_str();
    char text[32] = "unchanged";
    int number = 7, *const none = nullptr;
    presetEntry* presets = nullptr;
    gradeCombo* combos = nullptr;
    gradeChannel* channels = nullptr;
    gradeComponent record = make_component(77, 77);
    videoConnection connections[8];
    const testPattern unnamed{};

    const auto is_refused = [](int result) { return result == -1 && std::exchange(errno, 0) == EINVAL; };
    EXPECT_TRUE(is_refused(lutc_preset_list(nullptr, &number, &number)));
    EXPECT_TRUE(is_refused(lutc_preset_list(&presets, none, &number)));
    EXPECT_TRUE(is_refused(lutc_preset_list(&presets, &number, none)));
    EXPECT_TRUE(is_refused(lutc_delete_preset(long_name, 1)));
    EXPECT_TRUE(is_refused(lutc_rename_preset(long_name, 1, "a")));
    EXPECT_TRUE(is_refused(lutc_rename_preset("a", 1, nullptr)));
    EXPECT_TRUE(is_refused(lutc_move_preset(long_name, 1, 1)));
    EXPECT_TRUE(is_refused(lutc_get_preset(1, nullptr, &number)));
    EXPECT_TRUE(is_refused(lutc_get_preset(1, text, none)));
    EXPECT_TRUE(is_refused(lutc_set_preset(0, long_name, 1)));
    EXPECT_TRUE(is_refused(lutc_get_override_preset(nullptr, &number)));
    EXPECT_TRUE(is_refused(lutc_get_override_preset(text, none)));
    EXPECT_TRUE(is_refused(lutc_set_override_preset(long_name, 1)));
    EXPECT_TRUE(is_refused(lutc_send_cdl(1, 1, true, nullptr)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, nullptr, "f", some_table, 1)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, "1dlut", nullptr, some_table, 1)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, "1dlut", "f", nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, "1dlut", "f", some_table, -1)));
    EXPECT_TRUE(is_refused(lutc_send_live(1, 1, true, nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_send_preset("a", 1, 1, 1, true, 1, nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_send_preset(long_name, 1, 1, 1, true, 1, nullptr, 0)));
    for (const int kind : {0, 1, 2, 3}) {
        gradeComponent negative = make_data(kind, 1, -1), null = make_data(kind, 1, 1), formless = null;
        null.data = nullptr;
        formless.dataFormat = nullptr;
        for (const gradeComponent& refused : {negative, null, kind < LUTC_KIND_LUT_1D ? null : formless}) {
            EXPECT_TRUE(is_refused(send_live({make_cdl(0, 1), refused})));
            EXPECT_TRUE(is_refused(send_preset({make_cdl(0, 1), refused})));
        }
    }
    EXPECT_TRUE(is_refused(send_live({make_pattern(1, nullptr)})));
    EXPECT_TRUE(is_refused(send_live({make_pattern(1, &unnamed)})));
    EXPECT_TRUE(is_refused(lutc_recv_preset(long_name, 1, &number, &record, &number)));
    EXPECT_TRUE(is_refused(lutc_recv_preset("a", 1, &number, &record, none)));
    EXPECT_TRUE(is_refused(lutc_recv_preset("a", 1, none, nullptr, &number)));
    EXPECT_TRUE(is_refused(lutc_client_info(nullptr, "v", "s")));
    EXPECT_TRUE(is_refused(lutc_model_info(text, text, text, &combos, none, &channels, &number)));
    EXPECT_TRUE(is_refused(lutc_model_info(text, text, text, &combos, &number, &channels, none)));
    EXPECT_TRUE(is_refused(lutc_get_state(none, 1)));
    EXPECT_TRUE(is_refused(lutc_get_video_connections(nullptr, &number)));
    EXPECT_TRUE(is_refused(lutc_get_video_connections(connections, none)));
    EXPECT_TRUE(is_refused(lutc_set_video_connection(nullptr)));
    EXPECT_TRUE(is_refused(lutc_get_option(nullptr, text, 32)));
    EXPECT_TRUE(is_refused(lutc_get_option("n", nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_set_option(nullptr, "v")));
    EXPECT_TRUE(is_refused(lutc_set_option("n", nullptr)));
    EXPECT_STREQ(text, "unchanged");
    EXPECT_EQ(number, 7);
    EXPECT_TRUE(!presets && !combos && !channels && record.kind == 77);
}

}  // namespace
