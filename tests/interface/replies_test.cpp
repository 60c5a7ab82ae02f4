// What each exported function makes of the replies that it reads.
#include <gtest/gtest.h>

#include <cerrno>
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
    if (errno != EPROTO) return failed + " with errno " + std::to_string(errno);
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
template <std::size_t Size>
std::string name_in(const char (&field)[Size]) {
    const std::string name = field;
    for (std::size_t i = name.size(); i < Size; ++i) {
        if (field[i] != 0) return name + ", not zero-filled";
    }
    return name;
}

std::string read_list() {
    presetEntry marked{}, *presets = &marked;
    int count = 7, most = 7;
    const int result = lutc_preset_list(&presets, &count, &most);
    std::string text = std::to_string(count) + "/" + std::to_string(most);
    if (presets == &marked) return outcome(result, text + " none", "7/7 none");
    for (int i = 0; i < count; ++i) {
        text += " " + name_in(presets[i].presetName) + ":" + std::to_string(presets[i].gradeComboIndex) + " " +
                take(presets[i].gradeCombo);
    }
    free(presets);
    return outcome(result, text, "");
}

std::string read_model(bool want_text, bool want_combos, bool want_channels) {
    char text[3][1024] = {"-", "-", "-"};
    gradeCombo marked_combo{}, *combos = &marked_combo;
    gradeChannel marked_channel{}, *channels = &marked_channel;
    int combo_count = 7, channel_count = 7;
    const int result = lutc_model_info(want_text ? text[0] : nullptr, text[1], want_text ? text[2] : nullptr,
                                       want_combos ? &combos : nullptr, &combo_count,
                                       want_channels ? &channels : nullptr, &channel_count);
    std::string all = std::string(text[0]) + "," + text[1] + "," + text[2] + " " + std::to_string(combo_count) + ": ";
    if (combos != &marked_combo) {
        for (int i = 0; i < combo_count; ++i) all += take(combos[i]);
        free(combos);
    }
    all += std::to_string(channel_count) + ":";
    if (channels != &marked_channel) {
        for (int i = 0; i < channel_count; ++i) {
            all += " " + name_in(channels[i].channelName);
            for (const int index : channels[i].supportedGradeComboIndices) all += " " + std::to_string(index);
        }
        free(channels);
    }
    return outcome(result, all, "-,-,- 7: 7:");
}

std::string read_name(const std::function<int(char*, int*)>& call) {
    char name[33];
    memset(name, '#', sizeof name);
    int index = 77;
    const int result = call(name, &index);
    std::string text(name, sizeof name);
    while (!text.empty() && text.back() == '\0') text.pop_back();
    for (char& c : text) c = c == '\0' ? '0' : c;
    return outcome(result, text + " " + std::to_string(index), std::string(33, '#') + " 77");
}
std::string read_selected() {
    return read_name([](char* name, int* index) { return lutc_get_preset(1, name, index); });
}
std::string read_override() { return read_name(lutc_get_override_preset); }

// Prints the fields that were written, "-" for the others.
std::string read_components(int capacity, bool want_combo) {
    unsigned char marked_data = 0;
    char marked_format = 0;
    cdl marked_values{};
    std::vector<gradeComponent> records(5);
    for (auto& one : records) {
        one = {77, &marked_data, 77, 77, &marked_format, &marked_values, nullptr};
    }
    int combo = 77, count = capacity;
    const int result = lutc_recv_preset("p", 0, want_combo ? &combo : nullptr, records.data(), &count);
    const auto number = [](int value) { return value == 77 ? "-" : std::to_string(value); };
    std::string text = number(combo) + " " + std::to_string(count) + ":";
    for (auto& one : records) {
        text += " " + number(one.kind) + number(one.typeIndex);
        if (one.dataFormat != &marked_format) text += "," + take(one.dataFormat);
        if (one.data != &marked_data) text += "," + number(one.dataSize) + "=" + (one.data ? "" : "null");
        if (one.data != &marked_data && one.data) {
            text += to_hex(one.data, static_cast<std::size_t>(one.dataSize));
            free(one.data);
        }
        if (one.cdlValues == &marked_values) continue;
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

std::string read_state() {
    int state = 77;
    const int result = lutc_get_state(&state, 0);
    return outcome(result, std::to_string(state), "77");
}

std::string read_video() {
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

std::string read_option(std::uint32_t size) {
    char value[16];
    memset(value, '#', sizeof value);
    const int result = lutc_get_option("n", size == 0 ? nullptr : value, size);
    std::string text(value, sizeof value);
    for (char& c : text) c = c == '\0' ? '0' : c;
    return outcome(result, text, std::string(16, '#'));
}

const std::string component_list =
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

const auto whole_model = [] { return read_model(true, true, true); };
const auto all_components = [] { return read_components(5, true); };
constexpr const char* components12345 = "2 5: 21,f,2=0102 32,,0=null 13,1,2,3,10,11,12,20,21,22,8 04,1=03 -5";

// A reply that is as it should be, what is read from it, and what else may come of a field that is missing or mistyped:
// the first row whose text the change begins with. Without one, the call fails.
const struct {
    std::string reply;
    std::function<std::string()> read;
    std::string expected;
    std::vector<std::pair<std::string, std::string>> tolerated;
} readings[] = {
    {list, read_list, "2/9 a:1 'x' 'y' . .  :-2 . . . . ", {}},
    {model,
     whole_model,
     "m,f, 2: 'x' 'y' . . . . . . 1: c 3 0 0 0",
     {{"missing gradeCombos", "m,f, 0: 1: c 3 0 0 0"}, {"missing gradeChannels ", "m,f, 2: 'x' 'y' . . . . . . 0:"}}},
    {"'presetName':'a','presetIndex':-1", read_selected, "a" + std::string(31, '0') + "# -1", {}},
    {"'presetName':'" + name32 + "','presetIndex':1", read_override, name32 + "# 1", {}},
    {"'gradeComboIndex':2,'gradeCombo':" + component_list,
     all_components,
     components12345,
     {{"missing gradeCombo ", "2 0: -- -- -- -- --"},
      {"missing gradeCombo.2.power", "2 5: 21,f,2=0102 32,,0=null 13,1,2,3,0,0,0,20,21,22,8 04,1=03 -5"},
      {"missing gradeCombo.2.slope", "2 5: 21,f,2=0102 32,,0=null 13,1,2,3,10,11,12,0,0,0,8 04,1=03 -5"},
      {"missing gradeCombo.2.offset", "2 5: 21,f,2=0102 32,,0=null 13,0,0,0,10,11,12,20,21,22,8 04,1=03 -5"}}},
    {"'colorTransformState':-5", read_state, "-5", {}},
    {video,
     read_video,
     "2: 0.1>1.2 1.3>2.4",
     {{"missing videoConnections ", "0:"},
      {"mistyped videoConnections ", "0:"},
      {"missing videoConnections.0.", "1: 1.3>2.4"},
      {"mistyped videoConnections.0", "1: 1.3>2.4"},
      {"missing videoConnections.1.", "1: 0.1>1.2"},
      {"mistyped videoConnections.1", "1: 0.1>1.2"}}},
    {"'value':'abc'", [] { return read_option(8); }, "abc00000########", {}},
};

std::string read(const std::string& reply, const std::function<std::string()>& call) {
    scripted_service service({send(reply), hang_up()});
    return call();
}
std::string response(const std::string& fields) {
    return "{'type':'response','code':0" + (fields.empty() ? "" : "," + fields) + "}";
}

// Changes the k-th element, counted through all levels, and names it; "" when there are fewer. An array's element isn't
// taken away, which would only make the array another one.
std::string change(bsonDocument& document, int& k, bool remove, const std::string& path = "", bool in_array = false) {
    for (bsonElement* element : document.elementList) {
        const std::string here = path + element->key;
        if (k-- == 0) {
            if (remove && !in_array) {
                document.deleteElementWithKey(element->key, 0);
            } else if (element->valueType == 0x10 || element->valueType == 0x01) {
                element->setStringValue("1");
            } else {
                element->setInt32Value(1);
            }
            return (remove && !in_array ? "missing " : "mistyped ") + here + " ";
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
                const auto reply = document_from(response(reading.reply));
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
        {"'maxPresetsListSize':0,'presetsList':[]", read_list, "0/0"},
        {"'maxPresetsListSize':1,'presetsList':[{'presetName':'" + name40 +
             "','gradeComboIndex':1,'gradeCombo':['1','2','3','4','5']}]",
         read_list, "1/1 " + name32 + ":1 '1' '2' '3' '4' "},
        {"'modelName':'m','friendlyName':'f','modelSerial':'s','gradeCombos':[['1','2','3','4','5']],"
         "'gradeChannels':[{'channelName':'" +
             name40 + "','supportedGradeComboIndices':[1,2,3,4,5]}]",
         whole_model, "m,f,s 1: '1' '2' '3' '4' 1: " + name32 + " 1 2 3 4"},
        {"'maxPresetsListSize':1,'presetsList':[{'presetName':'','gradeComboIndex':1,'gradeCombo':['1','2','3','4',5]}"
         "]",
         read_list, failed},
        {"'modelName':'m','friendlyName':'f','modelSerial':'s','gradeCombos':[],"
         "'gradeChannels':[{'channelName':'','supportedGradeComboIndices':[1,2,3,4,'5']}]",
         whole_model, failed},
        {"'modelName':'m','friendlyName':'f','modelSerial':'s','gradeCombos':[],'gradeChannels':[]", whole_model,
         "m,f,s 0: 0:"},
        {"'friendlyName':'f','gradeCombos':1,'gradeChannels':[1]", [] { return read_model(false, false, false); },
         "-,f,- 7: 7:"},
        {"'friendlyName':'f','gradeChannels':[]", [] { return read_model(false, false, true); }, "-,f,- 7: 0:"},
        // names; the 33rd byte stays
        {"'presetName':'" + name40 + "','presetIndex':1", read_selected, name32 + "# 1"},
        {"'presetName':'','presetIndex':1", read_override, std::string(32, '0') + "# 1"},
        // components
        {"'gradeComboIndex':2,'gradeCombo':" + component_list, [] { return read_components(2, true); },
         "2 2: 21,f,2=0102 32,,0=null -- -- --"},
        {"'gradeComboIndex':2,'gradeCombo':" + component_list, [] { return read_components(0, true); },
         "2 0: -- -- -- -- --"},
        {"'gradeComboIndex':2,'gradeCombo':" + component_list, [] { return read_components(-3, true); },
         "2 0: -- -- -- -- --"},
        {"'gradeComboIndex':2,'gradeCombo':[]", all_components, "2 0: -- -- -- -- --"},
        {"'gradeCombo':[{'type':'Cdl','typeIndex':-1,'saturation':1.0}]", [] { return read_components(5, false); },
         "- 1: --1 -- -- -- --"},
        {"'gradeCombo':[{'type':'saturation','typeIndex':1,'saturation':0.5,'power':[0.1],'slope':[],"
         "'offset':[0.1,0.2,0.3,0.4],'data':'hex:01'}]",
         [] { return read_components(5, false); }, "- 1: 11,1,2,3,1,0,0,0,0,0,5 -- -- -- --"},
        // state
        {"'colorTransformState':true", read_state, "1"},
        {"'colorTransformState':1.0", read_state, failed},
        // video
        {"'videoConnections':[" + ten + "]", read_video,
         "8: 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2"},
        {"'videoConnections':[" + nine + "]", read_video,
         "7: 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2 0.1>77.2"},
        {"'videoConnections':{'0':" + connection + "}", read_video, "0:"},
        {"'videoConnections':[[],{},{'sourceIndex':-1,'sourceType':'Input','destinationIndex':2,'destinationType':''}]",
         read_video, "1: 77.-1>77.2"},
        // options
        {"'value':'12345678'", [] { return read_option(8); }, "12345678########"},
        {"'value':'123456789'", [] { return read_option(8); }, "12345678########"},
        {"'value':'abc'", [] { return read_option(0); }, "################"},
        {"'value':1", [] { return read_option(0); }, failed},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read(encoded(response(row.reply)), row.read), row.expected) << row.reply;
    }
}

// Every int32 becomes an int64 that is greater by so much, every array an embedded document.
void widen(bsonDocument& document, std::int64_t more) {
    for (bsonElement* element : document.elementList) {
        if (element->valueType == 0x10) element->setInt64Value(element->getInt32Value() + more);
        if (!element->documentValue) continue;
        widen(*element->documentValue, more);
        element->valueType = 0x03;
    }
}

// Video connections alone are taken in their own types.
TEST(Replies, numbersAndListsMayComeInAnotherTypeThatHoldsThem) {
    for (const auto& reading : readings) {
        for (const std::int64_t more : {std::int64_t{0}, std::int64_t{1} << 32}) {
            const auto reply = document_from("{" + reading.reply + "}");
            widen(*reply, more);
            reply->addStringElement("type", "response");
            reply->addInt32Element("code", 0);
            const bool has_numbers =
                reading.reply.find("Ind") != std::string::npos || reading.reply.find("State") != std::string::npos;
            const std::string expected = has_numbers && more != 0 ? failed : reading.expected;
            EXPECT_EQ(read(encoded(*reply), reading.read), reading.reply == video ? "0:" : expected);
        }
    }
    const auto reply = document_from("{'type':'response','value':'abc'}");
    reply->elementList.push_back(new bsonElement("code", std::int64_t{0}));
    EXPECT_EQ(read(encoded(*reply), [] { return read_option(8); }), failed);
}

// A type byte that no element has ends the decoding of its document; what was wanted from it is missing then.
TEST(Replies, documentsWithUnknownTypesFailTheCallsThatReadThem) {
    for (const int level : {0, 1, 2}) {  // the list, a component, a triple
        const auto reply = document_from(response("'gradeComboIndex':2,'gradeCombo':" + component_list));
        bsonDocument* document = reply->getElementWithKey("gradeCombo", 0)->documentValue;
        if (level >= 1) document = document->elementList[2]->documentValue;
        if (level == 2) document = document->getElementWithKey("slope", 0)->documentValue;
        const std::string index = std::to_string(document->elementList.size());
        document->elementList.push_back(new bsonElement(0x13, index, nullptr, 0, false, 0));
        EXPECT_EQ(read(encoded(*reply), all_components), failed) << level;
    }
}

TEST(Replies, textIsHandedOverUpToItsZeroByte) {
    const std::string text("ab\0cd", 5);
    auto reply = document_from(response("'value':''"));
    reply->getElementWithKey("value", 0)->setStringValue(text);
    EXPECT_EQ(read(encoded(*reply), [] { return read_option(8); }), "ab000000########");
    reply = document_from(response(list));
    bsonDocument* const preset =
        reply->getElementWithKey("presetsList", 0)->documentValue->elementList[0]->documentValue;
    preset->getElementWithKey("presetName", 0)->setStringValue(text);
    preset->getElementWithKey("gradeCombo", 0)->documentValue->elementList[0]->setStringValue(text);
    EXPECT_EQ(read(encoded(*reply), read_list), "2/9 ab:1 'ab' 'y' . .  :-2 . . . . ");
}

TEST(Replies, comparedTextCountsToItsLastByte) {
    const std::string zero("\0x", 2);
    auto reply = document_from(response(video));
    const auto connection = reply->getElementWithKey("videoConnections", 0)->documentValue->elementList[0];
    connection->documentValue->getElementWithKey("sourceType", 0)->setStringValue("input" + zero);
    EXPECT_EQ(read(encoded(*reply), read_video), "2: 77.1>1.2 1.3>2.4");

    reply = document_from(response("'gradeComboIndex':2,'gradeCombo':[{'type':'cdl','typeIndex':1}]"));
    const auto component = reply->getElementWithKey("gradeCombo", 0)->documentValue->elementList[0];
    component->documentValue->getElementWithKey("type", 0)->setStringValue("cdl" + zero);
    EXPECT_EQ(read(encoded(*reply), all_components), "2 1: -1 -- -- -- --");
}

}  // namespace
