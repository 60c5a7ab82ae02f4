#include <lutc/lutc.h>
#include "interface/call.h"
#include "interface/record_list.h"

using namespace lutc_calls;

namespace {

// A wanted string of the model; an unwanted one is not looked at.
bool read_wanted_text(const document_view& reply, const char* key, const char* wanted, std::string_view& text) {
    return wanted == nullptr || read_text(reply.find(key), text);
}

void hand_over_text(char* destination, std::string_view text) {
    if (destination == nullptr) return;
    text = up_to_zero(text);
    copy_text(destination, text.size() + 1, text);
}

bool read_channel(const element_view& element, gradeChannel& channel) {
    element_view name, indices;
    std::string_view text;
    const bool whole =
        document_view::find_all(element, {{"channelName", name}, {"supportedGradeComboIndices", indices}});
    if (!whole || !read_text(name, text)) return false;
    copy_text(channel.channelName, LUTC_PRESET_NAME_SIZE, text);
    std::size_t slot = 0;
    return read_each(indices, [&](const element_view& each) {
        int index;
        if (!read_number(each, index)) return false;
        if (slot < LUTC_GRADE_COMBO_SLOTS) channel.supportedGradeComboIndices[slot++] = index;
        return true;
    });
}

// A wanted list of the model; one that is missing is empty.
template <class Record, class ReadRecord>
bool read_wanted_list(const document_view& reply, const char* key, Record** wanted, ReadRecord read_record,
                      record_list<Record>& records) {
    if (wanted == nullptr) return true;
    const element_view list = reply.find(key);
    return !list || records.read(list, read_record);
}

}  // namespace

int lutc_client_info(const char* clientModel, const char* versionNumber, const char* clientSerial) noexcept {
    if (clientModel == nullptr) return refuse();
    return call("sendClientInfo", [&](bsonDocument& command) {
        add_element(command, "clientModel", clientModel);
        if (versionNumber != nullptr) add_element(command, "versionNumber", versionNumber);
        if (clientSerial != nullptr) add_element(command, "clientSerial", clientSerial);
    });
}

int lutc_model_info(char* modelName, char* friendlyName, char* modelSerial, gradeCombo** gradeCombos,
                    int* gradeComboCount, gradeChannel** gradeChannels, int* gradeChannelCount) noexcept {
    if (gradeCombos != nullptr && gradeComboCount == nullptr) return refuse();
    if (gradeChannels != nullptr && gradeChannelCount == nullptr) return refuse();
    return call("getModelInfo", small_reply, nothing_to_append, [&](const document_view& reply) {
        std::string_view model;
        std::string_view friendly;
        std::string_view serial;
        record_list<gradeCombo> combos;
        record_list<gradeChannel> channels;
        if (!read_wanted_text(reply, "modelName", modelName, model) ||
            !read_wanted_text(reply, "friendlyName", friendlyName, friendly) ||
            !read_wanted_text(reply, "modelSerial", modelSerial, serial) ||
            !read_wanted_list(reply, "gradeCombos", gradeCombos, read_combo, combos) ||
            !read_wanted_list(reply, "gradeChannels", gradeChannels, read_channel, channels)) {
            return false;
        }
        hand_over_text(modelName, model);
        hand_over_text(friendlyName, friendly);
        hand_over_text(modelSerial, serial);
        if (gradeCombos != nullptr) combos.hand_over(gradeCombos, gradeComboCount);
        if (gradeChannels != nullptr) channels.hand_over(gradeChannels, gradeChannelCount);
        return true;
    });
}

int lutc_get_state(int* colorTransformState, int channelIndex) noexcept {
    if (colorTransformState == nullptr) return refuse();
    return call(
        "getColorTransformState", small_reply,
        [&](bsonDocument& command) { add_index(command, "channelIndex", channelIndex); },
        [&](const document_view& reply) {
            return read_number(reply.find("colorTransformState"), *colorTransformState);
        });
}

int lutc_set_state(int colorTransformState, int channelIndex) noexcept {
    return call("setColorTransformState", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_element(command, "colorTransformState", colorTransformState);
    });
}

int lutc_get_option(const char* name, char* value, uint32_t valueSize) noexcept {
    if (name == nullptr || (value == nullptr && valueSize != 0)) return refuse();
    return call(
        "getOption", small_reply, [&](bsonDocument& command) { add_element(command, "name", name); },
        [&](const document_view& reply) {
            std::string_view text;
            if (!read_text(reply.find("value"), text)) return false;
            copy_text(value, valueSize, text);
            return true;
        });
}

int lutc_set_option(const char* name, const char* value) noexcept {
    if (name == nullptr || value == nullptr) return refuse();
    return call("setOption", [&](bsonDocument& command) {
        add_element(command, "name", name);
        add_element(command, "value", value);
    });
}
