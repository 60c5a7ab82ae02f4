// What each exported function makes of the replies that it reads.
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <memory>

#include <lutc/lutc.h>
#include "tests/support/documents.h"
#include "tests/support/readers.h"
#include "tests/support/scripted_service.h"

namespace {

using reader = std::function<bool(std::string*)>;

const std::string failed = "failed";
const std::string name40(40, 'n'), name32(32, 'n');

// What the call reads, or that it failed as it does when a reply lacks what it needs.
std::string read(const std::string& reply, const reader& call) {
    scripted_service service({send(reply), hang_up()});
    std::string shown;
    if (call(&shown)) return shown;
    return errno == EPROTO ? failed : failed + " with errno " + std::to_string(errno);
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

const reader whole_model = [](std::string* shown) { return read_model(shown); };
const reader all_components = [](std::string* shown) { return read_preset(shown); };
const reader short_option = [](std::string* shown) { return read_option(shown, 8); };

// A reply that is as it should be, what is read from it, and what else may come of a field that is missing or mistyped:
// the first row whose text the change begins with. Without one, the call fails.
const struct {
    std::string reply;
    reader read;
    std::string expected;
    std::vector<std::pair<std::string, std::string>> tolerated;
} readings[] = {
    {list, read_preset_list, "2/9 a:1 x y . . :-2 . . . .", {}},
    {model,
     whole_model,
     "m,f,,2 x y . . . . . .,1 c 3 0 0 0",
     {{"missing gradeCombos", "m,f,,0,1 c 3 0 0 0"}, {"missing gradeChannels ", "m,f,,2 x y . . . . . .,0"}}},
    {"'presetName':'a','presetIndex':-1", read_selected, "a -1", {}},
    {"'presetName':'" + name32 + "','presetIndex':1", read_override, name32 + " 1", {}},
    {"'gradeComboIndex':2,'gradeCombo':" + component_list,
     all_components,
     "2 5: 21,f,2=0102 32,,0= 13,0.1,0.2,0.3,1,1.1,1.2,2,2.1,2.2,0.8 04,1=03 -5",
     {{"missing gradeCombo ", "2 0:"},
      {"missing gradeCombo.2.power", "2 5: 21,f,2=0102 32,,0= 13,0.1,0.2,0.3,0,0,0,2,2.1,2.2,0.8 04,1=03 -5"},
      {"missing gradeCombo.2.slope", "2 5: 21,f,2=0102 32,,0= 13,0.1,0.2,0.3,1,1.1,1.2,0,0,0,0.8 04,1=03 -5"},
      {"missing gradeCombo.2.offset", "2 5: 21,f,2=0102 32,,0= 13,0,0,0,1,1.1,1.2,2,2.1,2.2,0.8 04,1=03 -5"}}},
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
    {"'value':'abc'", short_option, "abc", {}},
};

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
    const std::string texts = "'modelName':'m','friendlyName':'f','modelSerial':'s',";
    const reader one_text = [](std::string* shown) { return read_model(shown, false, false, false); };
    const reader channels_alone = [](std::string* shown) { return read_model(shown, false, false, true); };
    const reader no_option = [](std::string* shown) { return read_option(shown, 0); };
    const auto components_for = [](int capacity, bool want_combination = true) {
        return [=](std::string* shown) { return read_preset(shown, capacity, want_combination); };
    };
    const struct {
        std::string reply;
        reader read;
        std::string expected;
    } rows[] = {
        // lists
        {"'maxPresetsListSize':0,'presetsList':[]", read_preset_list, "0/0"},
        {"'maxPresetsListSize':1,'presetsList':[{'presetName':'" + name40 +
             "','gradeComboIndex':1,'gradeCombo':['1','2','3','4','5']}]",
         read_preset_list, "1/1 " + name32 + ":1 1 2 3 4"},
        {texts + "'gradeCombos':[['1','2','3','4','5']],'gradeChannels':[{'channelName':'" + name40 +
             "','supportedGradeComboIndices':[1,2,3,4,5]}]",
         whole_model, "m,f,s,1 1 2 3 4,1 " + name32 + " 1 2 3 4"},
        {"'maxPresetsListSize':1,'presetsList':[{'presetName':'','gradeComboIndex':1,'gradeCombo':['1','2','3','4',5]}"
         "]",
         read_preset_list, failed},
        {texts + "'gradeCombos':[],'gradeChannels':[{'channelName':'','supportedGradeComboIndices':[1,2,3,4,'5']}]",
         whole_model, failed},
        {texts + "'gradeCombos':[],'gradeChannels':[]", whole_model, "m,f,s,0,0"},
        {"'friendlyName':'f','gradeCombos':1,'gradeChannels':[1]", one_text, "-,f,-,-,-"},
        {"'friendlyName':'f','gradeChannels':[]", channels_alone, "-,f,-,-,0"},
        // names; the 33rd byte stays
        {"'presetName':'" + name40 + "','presetIndex':1", read_selected, name32 + " 1"},
        {"'presetName':'','presetIndex':1", read_override, " 1"},
        // components
        {"'gradeComboIndex':2,'gradeCombo':" + component_list, components_for(2), "2 2: 21,f,2=0102 32,,0="},
        {"'gradeComboIndex':2,'gradeCombo':" + component_list, components_for(0), "2 0:"},
        {"'gradeComboIndex':2,'gradeCombo':" + component_list, components_for(-3), "2 0:"},
        {"'gradeComboIndex':2,'gradeCombo':[]", components_for(5), "2 0:"},
        {"'gradeCombo':[{'type':'Cdl','typeIndex':-1,'saturation':1.0}]", components_for(5, false), "- 1: --1"},
        {"'gradeCombo':[{'type':'cdl\\u0000','typeIndex':1,'saturation':1.0}]", components_for(5, false), "- 1: -1"},
        {"'gradeCombo':[{'type':'saturation','typeIndex':1,'saturation':0.5,'power':[0.1],'slope':[],"
         "'offset':[0.1,0.2,0.3,0.4],'data':'hex:01'}]",
         components_for(5, false), "- 1: 11,0.1,0.2,0.3,0.1,0,0,0,0,0,0.5"},
        // state
        {"'colorTransformState':true", read_state, "1"},
        {"'colorTransformState':1.0", read_state, failed},
        // video
        {"'videoConnections':[" + ten + "]", read_video,
         "8: 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2"},
        {"'videoConnections':[" + nine + "]", read_video, "7: 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2 0.1>-.2"},
        {"'videoConnections':{'0':" + connection + "}", read_video, "0:"},
        {"'videoConnections':['hex:" + to_hex(encoded(connection)) + "']", read_video, "0:"},
        {"'videoConnections':[[],{},{'sourceIndex':-1,'sourceType':'Input','destinationIndex':2,"
         "'destinationType':'output\\u0000x'}]",
         read_video, "1: -.-1>-.2"},
        // options
        {"'value':'12345678'", short_option, "12345678"},
        {"'value':'123456789'", short_option, "12345678"},
        {"'value':'ab\\u0000cd'", short_option, "ab"},
        {"'value':'abc'", no_option, ""},
        {"'value':1", no_option, failed},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read(encoded(response(row.reply)), row.read), row.expected) << row.reply;
    }
    // A text that says it has no byte, not even the one that ends it, is empty.
    std::string reply = encoded("{'presetName':'','type':'response','code':0,'presetIndex':7}");
    reply.replace(16, 5, 4, '\0');
    --reply[0];
    EXPECT_EQ(read(reply, read_selected), " 7");
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
    EXPECT_EQ(read(encoded(*reply), short_option), failed);
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

}  // namespace
