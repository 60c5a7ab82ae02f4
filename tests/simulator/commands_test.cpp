#include <gtest/gtest.h>

#include "tests/simulator/exchange.h"

namespace {

const std::string cdl = "'power':[1.0,1.1,1.2],'slope':[2.0,2.1,2.2],'offset':[0.1,0.2,0.3],'saturation':0.5";
const std::string components = "'gradeCombo':[{'typeIndex':1,'type':'cdl','dataFormat':'cdl'," + cdl +
                               "},{'typeIndex':0,'type':'3dlut','dataFormat':'uint16','data':'hex:00FF10'},"
                               "{'typeIndex':2,'type':'saturation','dataFormat':'cdl','data':'hex:'}]";

class Device : public testing::Test {
  protected:
    std::string call(const std::string& name, const std::string& fields = "{}") {
        return exchange(service_, name, fields);
    }
    void upload(const std::string& name, const std::string& more = "") {
        ASSERT_EQ("{}", call("sendPreset", "{'presetName':'" + name + "'" + more + ",'gradeCombo':[]}"));
    }
    // The names in list order.
    std::string names() const {
        std::string all;
        for (std::int32_t i = 1; i <= device_.presets().size(); ++i) all += device_.presets().at(i).name + " ";
        return all;
    }
    // Each set of fields is refused with a message that holds the text.
    void expect_refused(const std::string& name, const std::vector<std::pair<std::string, std::string>>& cases) {
        for (const auto& [given, message] : cases) {
            const std::string reply = call(name, "{" + given + "}");
            EXPECT_NE('{', reply[0]) << name << " " << given;
            EXPECT_NE(std::string::npos, reply.find(message)) << name << " " << given << "\n" << reply;
        }
    }

    simulator::service service_;
    const simulator::device_state& device_ = service_.device();
};

TEST_F(Device, RefusesWhatIsNoCommand) {
    EXPECT_EQ("1: the command is not a valid BSON document", reply_text(reply_bytes(service_, "nonsense")));
    for (const auto& [command, message] : std::vector<std::pair<std::string, std::string>>{
             {"{'protocolVersion':'3.0'}", "3: \"protocolVersion\" is \"3.0\", not \"2.0\""},
             {"{'protocolVersion':'2.0','type':'response'}", "3: \"type\" is \"response\", not \"command\""},
             {"{'protocolVersion':'2.0','type':'command'}", "3: \"msgID\" is missing"}})
        EXPECT_EQ(message, reply_text(reply_bytes(service_, encoded(command))));
}

TEST_F(Device, KnowsItsClients) {
    ASSERT_EQ("{}", call("sendClientInfo", "{'clientModel':'panel'}"));
    ASSERT_EQ("{}", call("sendClientInfo", "{'clientModel':'panel','versionNumber':'2'}"));
    ASSERT_EQ(1u, device_.clients().size());
    EXPECT_EQ("2", device_.clients()[0].version);
    for (int i = 0; i < 100; ++i) call("sendClientInfo", "{'clientModel':'" + std::to_string(i) + "'}");
    EXPECT_EQ(64u, device_.clients().size());
    expect_refused("sendClientInfo", {{"", "\"clientModel\" is missing"},
                                      {"'clientModel':''", "empty"},
                                      {"'clientModel':'a','clientSerial':1", "\"clientSerial\" is not a string"}});
}

TEST_F(Device, GivesPresetsBackByteForByte) {
    ASSERT_EQ("{}", call("sendPreset", "{'presetName':'Film','gradeComboIndex':4," + components + "}"));
    EXPECT_EQ("{'gradeComboIndex':4," + components + "}", call("getPreset", "{'presetName':'Film'}"));
    EXPECT_EQ(
        "{'maxPresetsListSize':100,'presetsList':[{'presetName':'Film','gradeComboIndex':4,"
        "'gradeCombo':['cdl','saturation','1dlut','3dlut']}]}",
        call("getPresetsList"));
    // Sent again by its index, it keeps name and combination.
    ASSERT_EQ("{}", call("sendPreset", "{'presetIndex':1,'gradeCombo':[]}"));
    EXPECT_EQ("{'gradeComboIndex':4,'gradeCombo':[]}", call("getPreset", "{'presetName':'Film'}"));
}

TEST_F(Device, TakesWhatAFaithfulClientMaySend) {
    ASSERT_EQ("{}", call("sendPreset",
                         "{'presetName':'','gradeCombo':[{'typeIndex':9},{},{'type':'tpg','typeIndex':1},"
                         "{'type':'1dlut','dataFormat':'f','data':'hex:00'}]}"));
    ASSERT_EQ("{}", call("renamePreset", "{'presetName':'','newName':'" + std::string(256, 'n') + "'}"));
    ASSERT_EQ("{}", call("setSelectedPreset", "{'presetIndex':1}"));
    EXPECT_EQ(1u, device_.live(1).components.size());
    EXPECT_EQ("{}", call("sendLive", "{'resetAndApply':true,'gradeCombo':[{'typeIndex':1},{}]}"));
    EXPECT_EQ(
        "{'gradeComboIndex':1,'gradeCombo':[{'typeIndex':9,'type':'unknown'},{'typeIndex':0,'type':'unknown'},"
        "{'typeIndex':1,'type':'tpg'},{'typeIndex':0,'type':'1dlut','dataFormat':'f','data':'hex:00'}]}",
        call("getPreset", "{'presetIndex':1}"));
    EXPECT_NE(std::string::npos, call("getPresetsList").find(std::string(256, 'n')));
}

TEST_F(Device, RefusesPresetsThatBreakARule) {
    upload("Film");
    const std::string name = "'presetName':'A',";
    const auto component = [&](const std::string& fields) { return name + "'gradeCombo':[{" + fields + "}]"; };
    const std::string empty = "{'type':'cdl','dataFormat':'c','data':'hex:'},";
    expect_refused(
        "sendPreset",
        {{"'gradeCombo':[]", "\"presetName\" and \"presetIndex\" are missing"},
         {"'presetName':'" + std::string(33, 'n') + "','gradeCombo':[]", "33 bytes"},
         {"'presetIndex':2,'gradeCombo':[]", "\"presetIndex\" is 2"},
         {name + "'gradeCombo':[1]", "\"gradeCombo[0]\" is not an embedded document"},
         {name + "'gradeComboIndex':5,'gradeCombo':[]", "\"gradeComboIndex\" is 5"},
         {name + "'toIndex':3,'gradeCombo':[]", "\"toIndex\" is 3"},
         {name + "'applyPreset':true,'applyChannel':3,'gradeCombo':[]", "\"applyChannel\" is 3"},
         {name + "'gradeComboIndex':2,'applyPreset':true,'gradeCombo':[]",
          "channel 2 doesn't support grade combination 2"},
         {component("'dataFormat':'f'"), "\"gradeCombo[0].type\" is missing"},
         {component("'type':'CDL'"), "no such component type"},
         {component("'type':'3dlut','dataFormat':'f','data':'text'"), "\"gradeCombo[0].data\" is not binary"},
         {component("'typeIndex':5,'type':'3dlut','dataFormat':'f','data':'hex:00'"), "count from 1 to 4"},
         {component("'type':'cdl','dataFormat':'cdl','data':'hex:00'," + cdl), "send one of them"},
         {component("'type':'cdl','dataFormat':'cdl','saturation':1.0,'power':[1.0,1.0]"),
          "\"gradeCombo[0].power\" is not an array of three doubles"},
         {name + "'gradeCombo':[{'typeIndex':1,'type':'cdl','dataFormat':'c','data':'hex:'},"
                 "{'typeIndex':1,'type':'cdl','dataFormat':'c','data':'hex:'}]",
          "two components are for slot 1"},
         {name + "'gradeCombo':[" + empty + empty + empty + empty + "{'type':'cdl','dataFormat':'c','data':'hex:'}]",
          "more components of type \"cdl\" than slots (4)"}});
    EXPECT_EQ("Film ", names());
    upload(std::string(32, 'n'));
    while (device_.presets().size() < 100) upload(std::to_string(device_.presets().size()), ",'toIndex':1");
    expect_refused("sendPreset", {{name + "'gradeCombo':[]", "the library is full: it holds at most 100 presets"}});
    EXPECT_EQ("{}", call("sendPreset", "{'presetName':'99','gradeCombo':[]}")) << "replacing needs no room";
}

TEST_F(Device, TakesNoPresetThatCouldNotBeReadBack) {
    const auto send = [&](std::size_t size) {
        return call("sendPreset", "{'presetName':'big','gradeCombo':[{'type':'3dlut','dataFormat':'f','data':'hex:" +
                                      std::string(2 * size, '5') + "'}]}");
    };
    const auto reply_size = [&] {
        return reply_bytes(service_, command_bytes("getPreset", "{'presetIndex':1}")).size();
    };
    ASSERT_EQ("{}", send(0));
    const std::size_t most = 2097152 - reply_size();
    EXPECT_EQ("5: the preset needs 2097153 bytes or more to be read back; at most 2097152 are possible",
              send(most + 1));
    ASSERT_EQ("{}", send(most));
    EXPECT_EQ(2097152u, reply_size());
}

TEST_F(Device, MovesRenamesAndDeletes) {
    for (const char* name : {"A", "B", "C", "D"}) upload(name);
    ASSERT_EQ("{}", call("movePreset", "{'presetName':'A','toIndex':3}"));
    EXPECT_EQ("B C A D ", names());
    ASSERT_EQ("{}", call("movePreset", "{'presetIndex':4,'toIndex':1}"));
    EXPECT_EQ("D B C A ", names());
    ASSERT_EQ("{}", call("renamePreset", "{'presetIndex':2,'newName':'E'}"));
    ASSERT_EQ("{}", call("deletePreset", "{'presetName':'C'}"));
    EXPECT_EQ("D E A ", names());
    upload("A", ",'toIndex':1");
    EXPECT_EQ("A D E ", names());
    expect_refused("movePreset", {{"'presetIndex':1,'toIndex':0", "\"toIndex\" is 0"},
                                  {"'presetIndex':1,'toIndex':4", "count from 1 to 3"},
                                  {"'presetIndex':1", "\"toIndex\" is missing"},
                                  {"'toIndex':1", "are missing"}});
    expect_refused("renamePreset", {{"'presetIndex':1,'newName':'D'", "another preset is named \"D\""},
                                    {"'presetIndex':1,'newName':'" + std::string(257, 'n') + "'", "257 bytes"},
                                    {"'presetName':'Z','newName':'Y'", "no preset is named \"Z\""}});
    expect_refused("deletePreset", {{"", "are missing"}, {"'presetIndex':0", "\"presetIndex\" is 0"}});
    EXPECT_EQ("A D E ", names());
    ASSERT_EQ("{}", call("deleteAllPresets"));
    EXPECT_EQ("{'maxPresetsListSize':100,'presetsList':[]}", call("getPresetsList"));
}

TEST_F(Device, SelectionsAndOverrideFollowTheirPreset) {
    for (const char* name : {"A", "B", "C"}) upload(name);
    EXPECT_EQ("4: there is no override preset", call("getOverridePreset"));
    call("setSelectedPreset", "{'presetName':'B'}");  // on every channel
    call("setSelectedPreset", "{'channelIndex':1,'presetName':'A','presetIndex':9}");
    call("setOverridePreset", "{'presetIndex':1}");
    call("movePreset", "{'presetName':'A','toIndex':3}");
    call("renamePreset", "{'presetName':'A','newName':'D'}");
    call("deletePreset", "{'presetName':'C'}");
    EXPECT_EQ("{'presetName':'D','presetIndex':2}", call("getSelectedPreset"));
    EXPECT_EQ("{'presetName':'D','presetIndex':2}", call("getOverridePreset"));
    EXPECT_EQ("{'presetName':'B','presetIndex':1}", call("getSelectedPreset", "{'channelIndex':2}"));
    call("deletePreset", "{'presetName':'D'}");
    EXPECT_EQ("4: no preset is selected on channel 1", call("getSelectedPreset"));
    EXPECT_EQ("4: there is no override preset", call("getOverridePreset"));
    call("setOverridePreset", "{'presetIndex':1}");
    ASSERT_EQ("{}", call("setOverridePreset", "{'presetIndex':0}"));
    EXPECT_EQ("4: there is no override preset", call("getOverridePreset"));
}

TEST_F(Device, ApplyingAPresetReplacesTheLiveGrade) {
    call("sendSaturation", "{'resetAndApply':false,'saturationIndex':3,'saturation':0.5}");
    ASSERT_EQ("{}", call("sendPreset", "{'presetName':'A','applyPreset':true,'applyChannel':1," + components + "}"));
    EXPECT_EQ(3u, device_.live(1).components.size());
    EXPECT_EQ(1u, device_.live(1).components.count({"3dlut", 1})) << "without a slot it takes the first free one";
    EXPECT_EQ("{'presetName':'A','presetIndex':1}", call("getSelectedPreset"));
    EXPECT_EQ(1u, device_.live(2).components.size());
}

TEST_F(Device, GradesChannelsLive) {
    ASSERT_EQ("{}", call("sendGradeCombo", "{'channelIndex':2,'resetAndApply':false,'gradeComboIndex':3}"));
    ASSERT_EQ("{}", call("sendCDL", "{'resetAndApply':false,'cdlIndex':2," + cdl + "}"));  // on every channel
    ASSERT_EQ("{}", call("sendLut",
                         "{'channelIndex':2,'resetAndApply':false,'type':'1dlut','dataFormat':'f','data':'hex:01'}"));
    EXPECT_EQ(1, device_.live(1).grade_combo_index);
    EXPECT_EQ(3, device_.live(2).grade_combo_index);
    EXPECT_EQ(2.1, device_.live(1).components.at({"cdl", 2}).values->slope[1]);
    EXPECT_EQ(1u, device_.live(2).components.at({"1dlut", 1}).data->size());
    const auto live = [](const std::string& red, const std::string& more = "") {
        return "{'channelIndex':2,'resetAndApply':true" + more +
               ",'gradeCombo':[{'type':'tpg','patternType':'square','videoFormat':3,'squareSize':0.25,"
               "'fgColor':[" +
               red +
               ",1,2],'bgColor':[3,4,65535]},"
               "{'type':'1dlut','dataFormat':'f','data':'hex:0102','saturation':0.5}]}";
    };
    EXPECT_EQ("3: \"gradeCombo[0].fgColor\" holds 65536, not 0 to 65535", call("sendLive", live("65536")));
    EXPECT_EQ("3: \"gradeCombo[0].fgColor\" holds -1, not 0 to 65535", call("sendLive", live("-1")));
    EXPECT_EQ("5: channel 2 doesn't support grade combination 4", call("sendLive", live("0", ",'gradeComboIndex':4")));
    EXPECT_EQ(2u, device_.live(2).components.size());
    ASSERT_EQ("{}", call("sendLive", live("0")));
    ASSERT_EQ(2u, device_.live(2).components.size()) << "a reset removes what was there";
    EXPECT_EQ(2u, device_.live(2).components.at({"1dlut", 1}).data->size()) << "a LUT has no CDL values";
    EXPECT_EQ(3, device_.live(2).grade_combo_index) << "and keeps the combination";
    expect_refused("sendCDL", {{"'resetAndApply':true,'cdlIndex':5," + cdl, "\"cdlIndex\" is 5"},
                               {"'channelIndex':3,'resetAndApply':true," + cdl, "\"channelIndex\" is 3"}});
}

TEST_F(Device, RoutesOneSourceToADestination) {
    const auto connect = [&](const std::string& source, const std::string& destination) {
        return call("setVideoConnection", "{'sourceType':'" + source + "','sourceIndex':2,'destinationType':'" +
                                              destination + "','destinationIndex':1}");
    };
    const std::string before = call("getVideoConnections");
    EXPECT_EQ("5: a channel can't be the source of a channel", connect("channel", "channel"));
    expect_refused("setVideoConnection",
                   {{"'sourceType':'output','sourceIndex':1,'destinationType':'output','destinationIndex':1",
                     "only an input or a channel"},
                    {"'sourceType':'input','sourceIndex':3,'destinationType':'output','destinationIndex':1",
                     "\"sourceIndex\" is 3"}});
    EXPECT_EQ(before, call("getVideoConnections"));
    ASSERT_EQ("{}", connect("input", "channel"));
    ASSERT_EQ("{}", connect("input", "output"));
    ASSERT_EQ("{}", connect("channel", "output"));
    EXPECT_EQ(
        "{'videoConnections':["
        "{'sourceIndex':2,'sourceType':'input','destinationIndex':1,'destinationType':'channel'},"
        "{'sourceIndex':2,'sourceType':'input','destinationIndex':2,'destinationType':'channel'},"
        "{'sourceIndex':2,'sourceType':'channel','destinationIndex':1,'destinationType':'output'},"
        "{'sourceIndex':2,'sourceType':'channel','destinationIndex':2,'destinationType':'output'}]}",
        call("getVideoConnections"));
}

TEST_F(Device, ChecksItsOptions) {
    ASSERT_EQ("{}", call("setOption", "{'name':'videoFormat','value':'2160p50'}"));
    EXPECT_EQ("{'value':'2160p50'}", call("getOption", "{'name':'videoFormat'}"));
    ASSERT_EQ("{}", call("setOption", "{'name':'note','value':''}"));
    expect_refused("setOption", {{"'name':'videoFormat','value':'8k'", "only one of 720p50, "},
                                 {"'name':'serialNumber','value':'1'", "can only be read"},
                                 {"'name':'note','value':'" + std::string(257, 'x') + "'", "257 bytes"},
                                 {"'name':'note','value':10", "\"value\" is not a string"},
                                 {"'name':'','value':'1'", "no option is named \"\""}});
}

}  // namespace
