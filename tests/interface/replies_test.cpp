// What each exported function makes of the replies that it reads.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>

#include <lutc/lutc.h>
#include "tests/support/documents.h"
#include "tests/support/scripted_service.h"

namespace {

const std::string failed = "failed";
const std::string name40(40, 'n'), name32(32, 'n');

// Prints an outcome: the outputs after success; after a failure that they are untouched.
std::string outcome(int result, const std::string& outputs, const std::string& untouched) {
    if (result == 0) return outputs;
    return outputs == untouched ? failed : failed + ", but wrote " + outputs;
}

std::string take(char* text) {  // prints and frees
    const std::string copy = text ? text : "";
    free(text);
    return copy;
}

std::string take(gradeCombo& combo) {
    std::string text;
    for (char* slot : combo.slots) text += (slot ? "'" + take(slot) + "'" : std::string(".")) + " ";
    return text;
}

// The name and that the field is zero-filled behind it.
template <std::size_t size>
std::string nameIn(const char (&field)[size]) {
    const std::string name = field;
    for (std::size_t i = name.size(); i < size; ++i) {
        if (field[i] != 0) return name + ", not zero-filled";
    }
    return name;
}

std::string readList() {
    presetEntry marked{}, *presets = &marked;
    int count = 7, most = 7;
    const int result = lutc_preset_list(&presets, &count, &most);
    std::string text = std::to_string(count) + "/" + std::to_string(most);
    if (presets == &marked) return outcome(result, text + " none", "7/7 none");
    for (int i = 0; i < count; ++i) {
        text += " " + nameIn(presets[i].presetName) + ":" + std::to_string(presets[i].gradeComboIndex) + " " +
                take(presets[i].gradeCombo);
    }
    free(presets);
    return outcome(result, text, "");
}

std::string readModel(bool wantText, bool wantCombos, bool wantChannels) {
    char text[3][1024] = {"-", "-", "-"};
    gradeCombo markedCombo{}, *combos = &markedCombo;
    gradeChannel markedChannel{}, *channels = &markedChannel;
    int comboCount = 7, channelCount = 7;
    const int result =
        lutc_model_info(wantText ? text[0] : nullptr, text[1], wantText ? text[2] : nullptr,
                        wantCombos ? &combos : nullptr, &comboCount, wantChannels ? &channels : nullptr, &channelCount);
    std::string all = std::string(text[0]) + "," + text[1] + "," + text[2] + " " + std::to_string(comboCount) + ": ";
    if (combos != &markedCombo) {
        for (int i = 0; i < comboCount; ++i) all += take(combos[i]);
        free(combos);
    }
    all += std::to_string(channelCount) + ":";
    if (channels != &markedChannel) {
        for (int i = 0; i < channelCount; ++i) {
            all += " " + nameIn(channels[i].channelName);
            for (const int index : channels[i].supportedGradeComboIndices) all += " " + std::to_string(index);
        }
        free(channels);
    }
    return outcome(result, all, "-,-,- 7: 7:");
}

std::string readName(const std::function<int(char*, int*)>& call) {
    char name[33];
    memset(name, '#', sizeof name);
    int index = 77;
    const int result = call(name, &index);
    std::string text(name, sizeof name);
    while (!text.empty() && text.back() == '\0') text.pop_back();
    for (char& c : text) c = c == '\0' ? '0' : c;
    return outcome(result, text + " " + std::to_string(index), std::string(33, '#') + " 77");
}
std::string readSelected() {
    return readName([](char* name, int* index) { return lutc_get_preset(1, name, index); });
}
std::string readOverride() { return readName(lutc_get_override_preset); }

// Prints the fields that were written, "-" for the others.
std::string readComponents(int capacity, bool wantCombo) {
    unsigned char markedData = 0;
    char markedFormat = 0;
    cdl markedValues{};
    std::vector<gradeComponent> records(5);
    for (auto& one : records) {
        one = {77, &markedData, 77, 77, &markedFormat, &markedValues, nullptr};
    }
    int combo = 77, count = capacity;
    const int result = lutc_recv_preset("p", 0, wantCombo ? &combo : nullptr, records.data(), &count);
    const auto number = [](int value) { return value == 77 ? "-" : std::to_string(value); };
    std::string text = number(combo) + " " + std::to_string(count) + ":";
    for (auto& one : records) {
        text += " " + number(one.kind) + number(one.typeIndex);
        if (one.dataFormat != &markedFormat) text += "," + take(one.dataFormat);
        if (one.data != &markedData) text += "," + number(one.dataSize) + "=" + (one.data ? "" : "null");
        if (one.data != &markedData && one.data) {
            text += toHex(one.data, static_cast<std::size_t>(one.dataSize));
            free(one.data);
        }
        if (one.cdlValues == &markedValues) continue;
        for (const double value :
             {one.cdlValues->offset[0], one.cdlValues->offset[1], one.cdlValues->offset[2], one.cdlValues->power[0],
              one.cdlValues->power[1], one.cdlValues->power[2], one.cdlValues->slope[0], one.cdlValues->slope[1],
              one.cdlValues->slope[2], one.cdlValues->saturation}) {
            text += "," + std::to_string(static_cast<int>(value * 10 + 0.5));  // tenths
        }
        free(one.cdlValues);
    }
    return outcome(result, text, "- " + std::to_string(capacity) + ": -- -- -- -- --");
}

std::string readState() {
    int state = 77;
    const int result = lutc_get_state(&state, 0);
    return outcome(result, std::to_string(state), "77");
}

std::string readVideo() {
    videoConnection records[8];
    for (auto& record : records) record = {77, 77, 77, 77};
    int count = 77;
    const int result = lutc_get_video_connections(records, &count);
    std::string text = std::to_string(count) + ":";
    for (int i = 0; i < 8; ++i) {
        const auto& one = records[i];
        if (one.sourceIndex == 77) continue;
        text += " " + std::to_string(one.sourceType) + "." + std::to_string(one.sourceIndex) + ">" +
                std::to_string(one.destinationType) + "." + std::to_string(one.destinationIndex);
    }
    return outcome(result, text, "77:");
}

std::string readOption(std::uint32_t size) {
    char value[16];
    memset(value, '#', sizeof value);
    const int result = lutc_get_option("n", size == 0 ? nullptr : value, size);
    std::string text(value, sizeof value);
    for (char& c : text) c = c == '\0' ? '0' : c;
    return outcome(result, text, std::string(16, '#'));
}

const std::string componentList =
    "[{'type':'1dlut','typeIndex':1,'dataFormat':'f','data':'hex:0102'},"
    "{'type':'3dlut','typeIndex':2,'dataFormat':'','data':'hex:'},"
    "{'type':'cdl','typeIndex':3,'power':[1.0,1.1,1.2],'slope':[2.0,2.1,2.2],'offset':[0.1,0.2,0.3],'saturation':0.8},"
    "{'type':'saturation','typeIndex':4,'data':'hex:03'},{'type':'tpg','typeIndex':5}]";
const std::string list =
    "'maxPresetsListSize':9,'presetsList':[{'presetName':'a','gradeComboIndex':1,"
    "'gradeCombo':['x','y']},{'presetName':'','gradeComboIndex':-2,'gradeCombo':[]}]";
const std::string model =
    "'modelName':'m','friendlyName':'f','modelSerial':'','gradeCombos':[['x','y'],[]],"
    "'gradeChannels':[{'channelName':'c','supportedGradeComboIndices':[3]}]";
const std::string video =
    "'videoConnections':[{'sourceIndex':1,'sourceType':'input','destinationIndex':2,'destinationType':'channel'},"
    "{'destinationType':'output','destinationIndex':4,'sourceType':'channel','sourceIndex':3}]";

const auto wholeModel = [] { return readModel(true, true, true); };
const auto allComponents = [] { return readComponents(5, true); };
constexpr const char* components12345 = "2 5: 21,f,2=0102 32,,0=null 13,1,2,3,10,11,12,20,21,22,8 04,1=03 -5";

// A reply that is as it should be, what is read from it, and what else may come of a field that is missing or mistyped:
// the first row whose text the change begins with. Without one, the call fails.
const struct {
    std::string reply;
    std::function<std::string()> read;
    std::string expected;
    std::vector<std::pair<std::string, std::string>> tolerated;
} readings[] = {
    {list, readList, "2/9 a:1 'x' 'y' . .  :-2 . . . . ", {}},
    {model,
     wholeModel,
     "m,f, 2: 'x' 'y' . . . . . . 1: c 3 0 0 0",
     {{"missing gradeCombos", "m,f, 0: 1: c 3 0 0 0"}, {"missing gradeChannels ", "m,f, 2: 'x' 'y' . . . . . . 0:"}}},
    {"'presetName':'a','presetIndex':-1", readSelected, "a" + std::string(31, '0') + "# -1", {}},
    {"'presetName':'" + name32 + "','presetIndex':1", readOverride, name32 + "# 1", {}},
    {"'gradeComboIndex':2,'gradeCombo':" + componentList,
     allComponents,
     components12345,
     {{"missing gradeCombo ", "2 0: -- -- -- -- --"},
      {"missing gradeCombo.2.power", "2 5: 21,f,2=0102 32,,0=null 13,1,2,3,0,0,0,20,21,22,8 04,1=03 -5"},
      {"missing gradeCombo.2.slope", "2 5: 21,f,2=0102 32,,0=null 13,1,2,3,10,11,12,0,0,0,8 04,1=03 -5"},
      {"missing gradeCombo.2.offset", "2 5: 21,f,2=0102 32,,0=null 13,0,0,0,10,11,12,20,21,22,8 04,1=03 -5"}}},
    {"'colorTransformState':-5", readState, "-5", {}},
    {video,
     readVideo,
     "2: 0.1>1.2 1.3>2.4",
     {{"missing videoConnections ", "0:"},
      {"mistyped videoConnections ", "0:"},
      {"missing videoConnections.0.", "1: 1.3>2.4"},
      {"mistyped videoConnections.0", "1: 1.3>2.4"},
      {"missing videoConnections.1.", "1: 0.1>1.2"},
      {"mistyped videoConnections.1", "1: 0.1>1.2"}}},
    {"'value':'abc'", [] { return readOption(8); }, "abc00000########", {}},
};

std::string read(const std::string& reply, const std::function<std::string()>& call) {
    ScriptedService service({send(reply), hangUp()});
    return call();
}
std::string response(const std::string& fields) {
    return "{'type':'response','code':0" + (fields.empty() ? "" : "," + fields) + "}";
}

// Changes the k-th element, counted through all levels, and names it; "" when there are fewer. An array's element isn't
// taken away, which would only make the array another one.
std::string change(bsonDocument& document, int& k, bool remove, const std::string& path = "", bool inArray = false) {
    for (bsonElement* element : document.elementList) {
        const std::string here = path + element->key;
        if (k-- == 0) {
            if (remove && !inArray) {
                document.deleteElementWithKey(element->key, 0);
            } else if (element->valueType == 0x10 || element->valueType == 0x01) {
                element->setStringValue("1");
            } else {
                element->setInt32Value(1);
            }
            return (remove && !inArray ? "missing " : "mistyped ") + here + " ";
        }
        if (!element->documentValue) continue;
        const auto changed = change(*element->documentValue, k, remove, here + ".", element->valueType == 0x04);
        if (!changed.empty()) return changed;
    }
    return "";
}

TEST(Replies, fieldsThatAreMissingOrMistyped) {
    for (const auto& reading : readings) {
        EXPECT_EQ(read(encoded(response(reading.reply)), reading.read), reading.expected);
        for (int k = 0;; ++k) {
            std::string changed;
            for (const bool remove : {true, false}) {
                const auto reply = documentFrom(response(reading.reply));
                int left = k;
                changed = change(*reply, left, remove);
                std::string expected = failed;
                for (auto row = reading.tolerated.rbegin(); row != reading.tolerated.rend(); ++row) {
                    if (changed.rfind(row->first, 0) == 0) expected = row->second;
                }
                if (changed.empty()) break;
                const std::string got = read(encoded(*reply), reading.read);
                EXPECT_EQ(got, expected) << changed;
            }
            if (changed.empty()) break;
        }
    }
}

TEST(Replies, limitsAndOddities) {
    const std::string connection = "{'sourceIndex':1,'sourceType':'input','destinationIndex':2,'destinationType':''}";
    std::string ten = connection;
    for (int i = 1; i < 10; ++i) ten += "," + connection;
    const std::string nine =
        "{'sourceIndex':1,'sourceType':'input','destinationIndex':2}," + ten.substr(0, 8 * (connection.size() + 1) - 1);
    const struct {
        std::string reply;
        std::function<std::string()> read;
        std::string expected;
    } rows[] = {
        // lists
        {"'maxPresetsListSize':0,'presetsList':[]", readList, "0/0"},
        {"'maxPresetsListSize':1,'presetsList':[{'presetName':'" + name40 +
             "','gradeComboIndex':1,'gradeCombo':['1','2','3','4','5']}]",
         readList, "1/1 " + name32 + ":1 '1' '2' '3' '4' "},
        {"'modelName':'m','friendlyName':'f','modelSerial':'s','gradeCombos':[['1','2','3','4','5']],"
         "'gradeChannels':[{'channelName':'" +
             name40 + "','supportedGradeComboIndices':[1,2,3,4,5]}]",
         wholeModel, "m,f,s 1: '1' '2' '3' '4' 1: " + name32 + " 1 2 3 4"},
        {"'maxPresetsListSize':1,'presetsList':[{'presetName':'','gradeComboIndex':1,'gradeCombo':['1','2','3','4',5]}"
         "]",
         readList, failed},
        {"'modelName':'m','friendlyName':'f','modelSerial':'s','gradeCombos':[],"
         "'gradeChannels':[{'channelName':'','supportedGradeComboIndices':[1,2,3,4,'5']}]",
         wholeModel, failed},
        {"'modelName':'m','friendlyName':'f','modelSerial':'s','gradeCombos':[],'gradeChannels':[]", wholeModel,
         "m,f,s 0: 0:"},
        {"'friendlyName':'f','gradeCombos':1,'gradeChannels':[1]", [] { return readModel(false, false, false); },
         "-,f,- 7: 7:"},
        {"'friendlyName':'f','gradeChannels':[]", [] { return readModel(false, false, true); }, "-,f,- 7: 0:"},
        // names; the 33rd byte stays
        {"'presetName':'" + name40 + "','presetIndex':1", readSelected, name32 + "# 1"},
        {"'presetName':'','presetIndex':1", readOverride, std::string(32, '0') + "# 1"},
        // components
        {"'gradeComboIndex':2,'gradeCombo':" + componentList, [] { return readComponents(2, true); },
         "2 2: 21,f,2=0102 32,,0=null -- -- --"},
        {"'gradeComboIndex':2,'gradeCombo':" + componentList, [] { return readComponents(0, true); },
         "2 0: -- -- -- -- --"},
        {"'gradeComboIndex':2,'gradeCombo':" + componentList, [] { return readComponents(-3, true); },
         "2 0: -- -- -- -- --"},
        {"'gradeComboIndex':2,'gradeCombo':[]", allComponents, "2 0: -- -- -- -- --"},
        {"'gradeCombo':[{'type':'Cdl','typeIndex':-1,'saturation':1.0}]", [] { return readComponents(5, false); },
         "- 1: --1 -- -- -- --"},
        {"'gradeCombo':[{'type':'saturation','typeIndex':1,'saturation':0.5,'power':[0.1],'slope':[],"
         "'offset':[0.1,0.2,0.3,0.4],'data':'hex:01'}]",
         [] { return readComponents(5, false); }, "- 1: 11,1,2,3,1,0,0,0,0,0,5 -- -- -- --"},
        // state
        {"'colorTransformState':true", readState, "1"},
        {"'colorTransformState':1.0", readState, failed},
        // video
        {"'videoConnections':[" + ten + "]", readVideo,
         "8: 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2"},
        {"'videoConnections':[" + nine + "]", readVideo,
         "7: 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2"},
        {"'videoConnections':{'0':" + connection + "}", readVideo, "0:"},
        {"'videoConnections':[[],{},{'sourceIndex':-1,'sourceType':'Input','destinationIndex':2,'destinationType':''}]",
         readVideo, "1: 77.-1>77.2"},
        // options
        {"'value':'12345678'", [] { return readOption(8); }, "12345678########"},
        {"'value':'123456789'", [] { return readOption(8); }, "12345678########"},
        {"'value':'abc'", [] { return readOption(0); }, "################"},
        {"'value':1", [] { return readOption(0); }, failed},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read(encoded(response(row.reply)), row.read), row.expected) << row.reply;
    }
}

// A type byte that no element has ends the decoding of its document; what was wanted from it is missing then.
TEST(Replies, documentsWithUnknownTypesFailTheCallsThatReadThem) {
    for (const int level : {0, 1, 2}) {  // the list, a component, a triple
        const auto reply = documentFrom(response("'gradeComboIndex':2,'gradeCombo':" + componentList));
        bsonDocument* document = reply->getElementWithKey("gradeCombo", 0)->documentValue;
        if (level >= 1) document = document->elementList[2]->documentValue;
        if (level == 2) document = document->getElementWithKey("slope", 0)->documentValue;
        const std::string index = std::to_string(document->elementList.size());
        document->elementList.push_back(new bsonElement(0x13, index, nullptr, 0, false, 0));
        EXPECT_EQ(read(encoded(*reply), allComponents), failed) << level;
    }
}

TEST(Replies, textIsHandedOverUpToItsZeroByte) {
    const std::string text("ab\0cd", 5);
    auto reply = documentFrom(response("'value':''"));
    reply->getElementWithKey("value", 0)->setStringValue(text);
    EXPECT_EQ(read(encoded(*reply), [] { return readOption(8); }), "ab000000########");
    reply = documentFrom(response(list));
    bsonDocument* const preset =
        reply->getElementWithKey("presetsList", 0)->documentValue->elementList[0]->documentValue;
    preset->getElementWithKey("presetName", 0)->setStringValue(text);
    preset->getElementWithKey("gradeCombo", 0)->documentValue->elementList[0]->setStringValue(text);
    EXPECT_EQ(read(encoded(*reply), readList), "2/9 ab:1 'ab' 'y' . .  :-2 . . . . ");
}

TEST(Replies, comparedTextCountsToItsLastByte) {
    const std::string zero("\0x", 2);
    auto reply = documentFrom(response(video));
    const auto connection = reply->getElementWithKey("videoConnections", 0)->documentValue->elementList[0];
    connection->documentValue->getElementWithKey("sourceType", 0)->setStringValue("input" + zero);
    EXPECT_EQ(read(encoded(*reply), readVideo), "2: 77.1>1.2 1.3>2.4");

    reply = documentFrom(response("'gradeComboIndex':2,'gradeCombo':[{'type':'cdl','typeIndex':1}]"));
    const auto component = reply->getElementWithKey("gradeCombo", 0)->documentValue->elementList[0];
    component->documentValue->getElementWithKey("type", 0)->setStringValue("cdl" + zero);
    EXPECT_EQ(read(encoded(*reply), allComponents), "2 1: -1 -- -- -- --");
}

}  // namespace
