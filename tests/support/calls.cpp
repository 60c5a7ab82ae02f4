#include "tests/support/calls.h"

#include "tests/support/readers.h"

#define CDL_FIELDS "'power':[1.0,1.1,1.2],'slope':[2.0,2.1,2.2],'offset':[0.1,0.2,0.3],'saturation':0.5"

const char* const any_reply =
    "{'type':'response','code':0,'presetName':'a text on a heap','presetIndex':1,'maxPresetsListSize':9,"
    "'presetsList':[{'presetName':'a','gradeComboIndex':1,'gradeCombo':['a text on a heap']},"
    "{'presetName':'b','gradeComboIndex':1,'gradeCombo':['cdl']}],'gradeComboIndex':1,"
    "'gradeCombo':[{'type':'cdl','typeIndex':1,'saturation':0.9},"
    "{'type':'3dlut','typeIndex':1,'dataFormat':'f16','data':'hex:01'},"
    "{'type':'cdl','typeIndex':1,'data':'hex:03'}],"
    "'modelName':'a text on a heap','friendlyName':'a text on a heap','modelSerial':'a text on a "
    "heap','gradeCombos':[['a text on a heap']],"
    "'gradeChannels':[{'channelName':'A','supportedGradeComboIndices':[1]},"
    "{'channelName':'B','supportedGradeComboIndices':[]}],'colorTransformState':1,"
    "'videoConnections':[{'sourceIndex':1,'destinationIndex':1,'sourceType':'input','destinationType':'input'}],"
    "'value':'a text on a heap'}";

const std::string name32(32, 'n'), name33(33, 'n');
const cdl some_values{{0.1, 0.2, 0.3}, {1.0, 1.1, 1.2}, {2.0, 2.1, 2.2}, 0.5};
unsigned char some_table[4] = {1, 2, 3, 4};
char some_format[] = "f16";

namespace {

const testPattern square{"square", 3, 0.25, {65535, 0, 1}, {0, 2, 0}}, bars{"Square", -1, 0.25, {1, 1, 1}, {1, 1, 1}};

int result_of(bool succeeded) { return succeeded ? 0 : -1; }

int read_preset_at(int index) {
    int count = 0;
    return lutc_recv_preset(nullptr, index, nullptr, nullptr, &count);
}
int read_selected_anywhere() {
    char name[LUTC_PRESET_NAME_SIZE];
    int index = 0;
    return lutc_get_preset(-1, name, &index);
}
int connect_video(int source_type, int source_index, int destination_type, int destination_index) {
    const videoConnection connection{source_type, source_index, destination_type, destination_index};
    return lutc_set_video_connection(&connection);
}

}  // namespace

const std::vector<exported_call> exported_calls = {
    {"loadPresetsFromMedia", "", [] { return lutc_load_presets_from_media(); }},
    {"savePresetsToMedia", "", [] { return lutc_save_presets_to_media(); }},
    {"deleteAllPresets", "", [] { return lutc_delete_all_presets(); }},
    {"getPresetsList", "", [] { return result_of(read_preset_list()); }},
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
    {"getSelectedPreset", "'channelIndex':1", [] { return result_of(read_selected()); }},
    {"getSelectedPreset", "", read_selected_anywhere},
    {"setSelectedPreset", "'channelIndex':1,'presetName':'a'", [] { return lutc_set_preset(1, "a", 4); }},
    {"setSelectedPreset", "'channelIndex':1,'presetIndex':1", [] { return lutc_set_preset(1, nullptr, 1); }},
    {"setSelectedPreset", "'channelIndex':1", [] { return lutc_set_preset(1, nullptr, 0); }},
    {"setSelectedPreset", "'presetName':''", [] { return lutc_set_preset(0, "", 1); }},
    {"getOverridePreset", "", [] { return result_of(read_override()); }},
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
     [] { return lutc_send_lut(2, 1, true, "3dlut", some_format, some_table, 4); }},
    {"sendLut", "'resetAndApply':false,'type':'','dataFormat':'','data':'hex:'",
     [] { return lutc_send_lut(-1, 0, false, "", "", nullptr, 0); }},
    {"sendCDL", "'channelIndex':1,'resetAndApply':true,'cdlIndex':2," CDL_FIELDS,
     [] { return lutc_send_cdl(1, 2, true, &some_values); }},
    {"sendCDL", "'resetAndApply':false," CDL_FIELDS, [] { return lutc_send_cdl(0, -1, false, &some_values); }},
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
         return send_live({make_pattern(1, &square), make_pattern(0, &bars), make_data(3, -1, 2), make_cdl(0, 0),
                           make_component(5, 0)});
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
         return send_preset({make_cdl(0, 1), make_data(0, 0, 0), make_cdl(1, -1), make_data(1, 0, 2),
                             make_data(2, 2, 4), make_data(3, 0, 0), make_pattern(7, nullptr), make_pattern(0, &square),
                             make_component(9, 9), make_component(-1, 0), make_data(5, 0, 3)});
     }},
    {"getPreset", "'presetName':'preset'", [] { return result_of(read_preset()); }},
    {"getPreset", "'presetIndex':1", [] { return read_preset_at(1); }},
    {"getPreset", "", [] { return read_preset_at(0); }},
    {"sendClientInfo", "'clientModel':'m','versionNumber':'v','clientSerial':'s'",
     [] { return lutc_client_info("m", "v", "s"); }},
    {"sendClientInfo", "'clientModel':'','clientSerial':''", [] { return lutc_client_info("", nullptr, ""); }},
    {"sendClientInfo", "'clientModel':'m'", [] { return lutc_client_info("m", nullptr, nullptr); }},
    {"getModelInfo", "", [] { return result_of(read_model()); }},
    {"getModelInfo", "", [] { return lutc_model_info(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr); }},
    {"getColorTransformState", "'channelIndex':1", [] { return result_of(read_state()); }},
    {"getColorTransformState", "",
     [] {
         int state = 0;
         return lutc_get_state(&state, -1);
     }},
    {"setColorTransformState", "'channelIndex':1,'colorTransformState':-5", [] { return lutc_set_state(-5, 1); }},
    {"setColorTransformState", "'colorTransformState':0", [] { return lutc_set_state(0, 0); }},
    {"getVideoConnections", "", [] { return result_of(read_video()); }},
    {"setVideoConnection", "'sourceType':'input','sourceIndex':1,'destinationType':'channel','destinationIndex':2",
     [] { return connect_video(0, 1, 1, 2); }},
    {"setVideoConnection", "'sourceType':'channel','sourceIndex':-1,'destinationType':'output','destinationIndex':0",
     [] { return connect_video(1, -1, 2, 0); }},
    {"setVideoConnection", "'sourceIndex':0,'destinationIndex':0", [] { return connect_video(2, 0, 0, 0); }},
    {"setVideoConnection", "'sourceIndex':1,'destinationIndex':1", [] { return connect_video(-1, 1, 3, 1); }},
    {"getOption", "'name':'name'", [] { return result_of(read_option()); }},
    {"getOption", "'name':''", [] { return lutc_get_option("", nullptr, 0); }},
    {"setOption", "'name':'n','value':'10'", [] { return lutc_set_option("n", "10"); }},
    {"setOption", "'name':'','value':''", [] { return lutc_set_option("", ""); }},
};
