// What each exported function sends, and what it refuses to send.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <functional>
#include <set>
#include <utility>

#include <lutc/lutc.h>
#include "tests/support/documents.h"
#include "tests/support/readers.h"
#include "tests/support/scripted_service.h"

namespace {

// Holds what every function reads, so that each call succeeds.
constexpr const char* any_reply =
    "{'type':'response','code':0,'presetName':'p','presetIndex':1,'maxPresetsListSize':9,'presetsList':[],"
    "'gradeComboIndex':1,'gradeCombo':[],'modelName':'m','friendlyName':'f','modelSerial':'s',"
    "'colorTransformState':1,'videoConnections':[],'value':'v'}";

const std::string name32(32, 'n'), name33(33, 'n');
const cdl values{{0.1, 0.2, 0.3}, {1.0, 1.1, 1.2}, {2.0, 2.1, 2.2}, 0.5};
#define CDL_FIELDS "'power':[1.0,1.1,1.2],'slope':[2.0,2.1,2.2],'offset':[0.1,0.2,0.3],'saturation':0.5"
unsigned char table[] = {1, 2, 3, 4};
char table_format[] = "f16";
const testPattern square{"square", 3, 0.25, {65535, 0, 1}, {0, 2, 0}}, bars{"Square", -1, 0.25, {1, 1, 1}, {1, 1, 1}};

gradeComponent component(int kind, int type_index) {
    gradeComponent made{};
    made.kind = kind;
    made.typeIndex = type_index;
    return made;
}
gradeComponent cdl_component(int kind, int type_index) {
    gradeComponent made = component(kind, type_index);
    made.cdlValues = const_cast<cdl*>(&values);
    return made;
}
gradeComponent data_component(int kind, int type_index, int size) {
    gradeComponent made = component(kind, type_index);
    made.data = size == 0 ? nullptr : table;
    made.dataSize = size;
    made.dataFormat = table_format;
    return made;
}
gradeComponent pattern_component(int type_index, const testPattern* pattern) {
    gradeComponent made = component(LUTC_KIND_TEST_PATTERN, type_index);
    made.pattern = pattern;
    return made;
}

int live(std::vector<gradeComponent> components) {
    return lutc_send_live(0, 0, false, components.data(), static_cast<int>(components.size()));
}
int store(std::vector<gradeComponent> components) {
    return lutc_send_preset(nullptr, 0, 0, 0, false, 0, components.data(), static_cast<int>(components.size()));
}

int read_preset_of(const char* name, int index) {
    int count = 0, combo = 0;
    return lutc_recv_preset(name, index, &combo, nullptr, &count);
}
int read_selected_of(int channel) {
    char name[32];
    int index = 0;
    return lutc_get_preset(channel, name, &index);
}
int connect_video(int source_type, int source_index, int destination_type, int destination_index) {
    const videoConnection connection{source_type, source_index, destination_type, destination_index};
    return lutc_set_video_connection(&connection);
}

const struct {
    const char* command;
    std::string fields;
    std::function<int()> call;
} sent[] = {
    {"loadPresetsFromMedia", "", [] { return lutc_load_presets_from_media(); }},
    {"savePresetsToMedia", "", [] { return lutc_save_presets_to_media(); }},
    {"deleteAllPresets", "", [] { return lutc_delete_all_presets(); }},
    {"getPresetsList", "", [] { return read_preset_list() ? 0 : -1; }},
    {"deletePreset", "'presetName':''", [] { return lutc_delete_preset("", 5); }},
    {"deletePreset", "'presetName':'" + name32 + "'", [] { return lutc_delete_preset(name32.c_str(), 0); }},
    {"deletePreset", "'presetIndex':1", [] { return lutc_delete_preset(nullptr, 1); }},
    {"deletePreset", "", [] { return lutc_delete_preset(nullptr, 0); }},
    {"renamePreset", "'presetName':'a','newName':'" + name33 + "'",
     [] { return lutc_rename_preset("a", 2, name33.c_str()); }},
    {"renamePreset", "'presetIndex':2,'newName':''", [] { return lutc_rename_preset(nullptr, 2, ""); }},
    {"movePreset", "'presetName':'a','toIndex':-1", [] { return lutc_move_preset("a", 0, -1); }},
    {"movePreset", "'presetIndex':1,'toIndex':2", [] { return lutc_move_preset(nullptr, 1, 2); }},
    {"movePreset", "'toIndex':0", [] { return lutc_move_preset(nullptr, 0, 0); }},
    {"getSelectedPreset", "'channelIndex':2", [] { return read_selected_of(2); }},
    {"getSelectedPreset", "", [] { return read_selected_of(-1); }},
    {"setSelectedPreset", "'channelIndex':1,'presetName':'a'", [] { return lutc_set_preset(1, "a", 4); }},
    {"setSelectedPreset", "'channelIndex':1,'presetIndex':1", [] { return lutc_set_preset(1, nullptr, 1); }},
    {"setSelectedPreset", "'channelIndex':1", [] { return lutc_set_preset(1, nullptr, 0); }},
    {"setSelectedPreset", "'presetName':''", [] { return lutc_set_preset(0, "", 1); }},
    {"getOverridePreset", "", [] { return read_override() ? 0 : -1; }},
    {"setOverridePreset", "'presetName':'a'", [] { return lutc_set_override_preset("a", 1); }},
    {"setOverridePreset", "'presetIndex':1", [] { return lutc_set_override_preset(nullptr, 1); }},
    {"setOverridePreset", "'presetIndex':0", [] { return lutc_set_override_preset(nullptr, 0); }},
    {"setOverridePreset", "", [] { return lutc_set_override_preset(nullptr, -1); }},
    {"sendGradeCombo", "'channelIndex':1,'resetAndApply':true,'gradeComboIndex':2",
     [] { return lutc_send_combination(1, true, 2); }},
    {"sendGradeCombo", "'resetAndApply':false,'gradeComboIndex':-1",
     [] { return lutc_send_combination(0, false, -1); }},
    {"sendLut",
     "'channelIndex':2,'resetAndApply':true,'lutIndex':1,'type':'3dlut','dataFormat':'f16','data':'hex:01020304'",
     [] { return lutc_send_lut(2, 1, true, "3dlut", table_format, table, 4); }},
    {"sendLut", "'resetAndApply':false,'type':'','dataFormat':'','data':'hex:'",
     [] { return lutc_send_lut(-1, 0, false, "", "", nullptr, 0); }},
    {"sendCDL", "'channelIndex':1,'resetAndApply':true,'cdlIndex':2," CDL_FIELDS,
     [] { return lutc_send_cdl(1, 2, true, &values); }},
    {"sendCDL", "'resetAndApply':false," CDL_FIELDS, [] { return lutc_send_cdl(0, -1, false, &values); }},
    {"sendSaturation", "'channelIndex':1,'resetAndApply':true,'saturationIndex':2,'saturation':0.25",
     [] { return lutc_send_saturation(1, 2, true, 0.25); }},
    {"sendSaturation", "'resetAndApply':false,'saturation':1.0", [] { return lutc_send_saturation(-1, 0, false, 1); }},
    {"sendLive", "'channelIndex':1,'gradeComboIndex':2,'resetAndApply':true,'gradeCombo':[]",
     [] { return lutc_send_live(1, 2, true, nullptr, 0); }},
    {"sendLive", "'resetAndApply':false,'gradeCombo':[]", [] { return lutc_send_live(-1, 0, false, nullptr, -1); }},
    {"sendLive",
     "'resetAndApply':false,'gradeCombo':[{'typeIndex':1,'type':'tpg','patternType':'square','videoFormat':3,"
     "'squareSize':0.25,'fgColor':[65535,0,1],'bgColor':[0,2,0]},"
     "{'type':'tpg','patternType':'Square','videoFormat':-1},"
     "{'type':'3dlut','dataFormat':'f16','data':'hex:0102'},{'type':'cdl','dataFormat':'cdl'," CDL_FIELDS "},{}]",
     [] {
         return live({pattern_component(1, &square), pattern_component(0, &bars), data_component(3, -1, 2),
                      cdl_component(0, 0), component(5, 0)});
     }},
    {"sendPreset",
     "'presetName':'a','toIndex':2,'gradeComboIndex':3,'applyPreset':true,'applyChannel':4,'gradeCombo':[]",
     [] { return lutc_send_preset("a", 1, 2, 3, true, 4, nullptr, 0); }},
    {"sendPreset", "'presetIndex':5,'applyPreset':true,'gradeCombo':[]",
     [] { return lutc_send_preset(nullptr, 5, 0, 0, true, 0, nullptr, 0); }},
    {"sendPreset", "'gradeCombo':[]", [] { return lutc_send_preset(nullptr, 0, -1, -1, false, 3, nullptr, -1); }},
    {"sendPreset", "'presetName':'','gradeCombo':[]",
     [] { return lutc_send_preset("", 3, 0, 0, false, 0, nullptr, 0); }},
    {"sendPreset",
     "'gradeCombo':[{'typeIndex':1,'type':'cdl','dataFormat':'cdl'," CDL_FIELDS "},"
     "{'type':'cdl','dataFormat':'cdl','data':'hex:'},{'type':'saturation','dataFormat':'cdl'," CDL_FIELDS "},"
     "{'type':'saturation','dataFormat':'cdl','data':'hex:0102'},"
     "{'typeIndex':2,'type':'1dlut','dataFormat':'f16','data':'hex:01020304'},"
     "{'type':'3dlut','dataFormat':'f16','data':'hex:'},{'typeIndex':7},{},{'typeIndex':9},{},{}]",
     [] {
         return store({cdl_component(0, 1), data_component(0, 0, 0), cdl_component(1, -1), data_component(1, 0, 2),
                       data_component(2, 2, 4), data_component(3, 0, 0), pattern_component(7, nullptr),
                       pattern_component(0, &square), component(9, 9), component(-1, 0), data_component(5, 0, 3)});
     }},
    {"getPreset", "'presetName':'a'", [] { return read_preset_of("a", 1); }},
    {"getPreset", "'presetIndex':1", [] { return read_preset_of(nullptr, 1); }},
    {"getPreset", "", [] { return read_preset_of(nullptr, 0); }},
    {"sendClientInfo", "'clientModel':'m','versionNumber':'v','clientSerial':'s'",
     [] { return lutc_client_info("m", "v", "s"); }},
    {"sendClientInfo", "'clientModel':'','clientSerial':''", [] { return lutc_client_info("", nullptr, ""); }},
    {"sendClientInfo", "'clientModel':'m'", [] { return lutc_client_info("m", nullptr, nullptr); }},
    {"getModelInfo", "", [] { return lutc_model_info(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr); }},
    {"getColorTransformState", "'channelIndex':1", [] { return read_state() ? 0 : -1; }},
    {"getColorTransformState", "",
     [] {
         int state = 0;
         return lutc_get_state(&state, -1);
     }},
    {"setColorTransformState", "'channelIndex':1,'colorTransformState':-5", [] { return lutc_set_state(-5, 1); }},
    {"setColorTransformState", "'colorTransformState':0", [] { return lutc_set_state(0, 0); }},
    {"getVideoConnections", "", [] { return read_video() ? 0 : -1; }},
    {"setVideoConnection", "'sourceType':'input','sourceIndex':1,'destinationType':'channel','destinationIndex':2",
     [] { return connect_video(0, 1, 1, 2); }},
    {"setVideoConnection", "'sourceType':'channel','sourceIndex':-1,'destinationType':'output','destinationIndex':0",
     [] { return connect_video(1, -1, 2, 0); }},
    {"setVideoConnection", "'sourceIndex':0,'destinationIndex':0", [] { return connect_video(2, 0, 0, 0); }},
    {"setVideoConnection", "'sourceIndex':1,'destinationIndex':1", [] { return connect_video(-1, 1, 3, 1); }},
    {"getOption", "'name':''", [] { return lutc_get_option("", nullptr, 0); }},
    {"setOption", "'name':'n','value':'10'", [] { return lutc_set_option("n", "10"); }},
    {"setOption", "'name':'','value':''", [] { return lutc_set_option("", ""); }},
};

std::string command_text(const std::string& command, const std::string& fields) {
    return "{'protocolVersion':'2.0','type':'command','msgID':1,'command':'" + command + "'" +
           (fields.empty() ? "" : "," + fields) + "}";
}

TEST(Commands, areSentFieldByField) {
    for (const auto& row : sent) {
        SCOPED_TRACE(row.command + (" " + row.fields));
        scripted_service service({send(encoded(any_reply)), hang_up()});
        EXPECT_EQ(outcome_of(row.call), 0);
        EXPECT_EQ(decoded(service.command()), command_text(row.command, row.fields));
    }
}

TEST(Commands, failWithACodeOtherThanZero) {
    const auto reply = document_from(any_reply);
    reply->getElementWithKey("code", 0)->setInt32Value(-1);
    std::set<std::string> seen;
    for (const auto& row : sent) {
        if (!seen.insert(row.command).second) continue;
        scripted_service service({send(encoded(*reply)), hang_up()});
        EXPECT_EQ(outcome_of(row.call), EREMOTEIO) << row.command;
    }
    EXPECT_EQ(seen.size(), 26u);
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
        gradeComponent component = data_component(LUTC_KIND_LUT_3D, 1, static_cast<int>(size));
        component.data = &lut[components.size()];
        if (size == lut.size()) component.data = lut.data();
        expected += (expected.empty() ? "" : ",") +
                    ("{'typeIndex':1,'type':'3dlut','dataFormat':'f16','data':'hex:" + to_hex(component.data, size)) +
                    "'}";
        components.push_back(component);
    }
    scripted_service service({send(encoded(any_reply)), hang_up()});
    EXPECT_EQ(live(components), 0);
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
    gradeComponent record = component(77, 77);
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
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, nullptr, "f", table, 1)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, "1dlut", nullptr, table, 1)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, "1dlut", "f", nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_send_lut(1, 1, true, "1dlut", "f", table, -1)));
    EXPECT_TRUE(is_refused(lutc_send_live(1, 1, true, nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_send_preset("a", 1, 1, 1, true, 1, nullptr, 1)));
    EXPECT_TRUE(is_refused(lutc_send_preset(long_name, 1, 1, 1, true, 1, nullptr, 0)));
    for (const int kind : {0, 1, 2, 3}) {
        gradeComponent negative = data_component(kind, 1, -1), null = data_component(kind, 1, 1);
        null.data = nullptr;
        for (const gradeComponent& refused : {negative, null}) {
            EXPECT_TRUE(is_refused(live({cdl_component(0, 1), refused})));
            EXPECT_TRUE(is_refused(store({cdl_component(0, 1), refused})));
        }
    }
    for (const int kind : {2, 3}) {
        gradeComponent refused = data_component(kind, 1, 1);
        refused.dataFormat = nullptr;
        EXPECT_TRUE(is_refused(live({refused})));
        EXPECT_TRUE(is_refused(store({refused})));
    }
    EXPECT_TRUE(is_refused(live({pattern_component(1, nullptr)})));
    EXPECT_TRUE(is_refused(live({pattern_component(1, &unnamed)})));
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
