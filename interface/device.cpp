#include <optional>

#include <lutc/lutc.h>
#include "bson/wire_format.h"
#include "interface/record_list.h"
#include "interface/request_channel.h"

using namespace lutc;

namespace {

// A wanted string of the model; an unwanted one is not looked at.
bool read_wanted_text(const bsonDocument& reply, const char* key, const char* wanted, std::string_view& text) {
    return wanted == nullptr || read_text(reply, key, text);
}

void hand_over_text(char* destination, std::string_view text) {
    if (destination == nullptr) return;
    text = up_to_zero(text);
    copy_text(destination, text.size() + 1, text);
}

bool read_channel(const bsonElement* element, gradeChannel& channel) {
    const bsonDocument* const fields = get_document(element, bson_type::document);
    std::string_view name;
    if (fields == nullptr || !read_text(*fields, "channelName", name)) return false;
    copy_text(channel.channelName, LUTC_PRESET_NAME_SIZE, name);

    const bsonDocument* const indices =
        get_document(find_element(*fields, "supportedGradeComboIndices"), bson_type::array);
    if (indices == nullptr) return false;
    std::size_t slot = 0;
    for (const bsonElement* const index : indices->elementList) {
        if (index->valueType != bson_type::int32) return false;
        if (slot < LUTC_GRADE_COMBO_SLOTS) channel.supportedGradeComboIndices[slot++] = index->getInt32Value();
    }
    return true;
}

// A wanted list of the model, one record for each element; a missing list is empty. False when it is anything else.
template <class Record, class ReadRecord>
bool read_wanted_list(const bsonDocument& reply, const char* key, bool wanted, ReadRecord read_record,
                      std::optional<record_list<Record>>& records) {
    if (!wanted) return true;
    const bsonElement* const element = find_element(reply, key);
    if (element == nullptr) {
        records.emplace(0);
        return true;
    }
    const bsonDocument* const list = get_document(element, bson_type::array);
    if (list == nullptr) return false;
    records.emplace(list->elementList.size());
    for (std::size_t i = 0; i < list->elementList.size(); ++i) {
        if (!read_record(list->elementList[i], (*records)[i])) return false;
    }
    return true;
}

template <class Record>
void hand_over_list(std::optional<record_list<Record>>& records, Record** destination, int* count) {
    if (!records) return;
    *count = records->count();
    *destination = records->release();
}

}  // namespace

int lutc_client_info(const char* clientModel, const char* versionNumber, const char* clientSerial) noexcept {
    if (clientModel == nullptr) return -1;
    return call("sendClientInfo", [&](bsonDocument& command) {
        add_element(command, "clientModel", clientModel);
        if (versionNumber != nullptr) add_element(command, "versionNumber", versionNumber);
        if (clientSerial != nullptr) add_element(command, "clientSerial", clientSerial);
    });
}

int lutc_model_info(char* modelName, char* friendlyName, char* modelSerial, gradeCombo** gradeCombos,
                    int* gradeComboCount, gradeChannel** gradeChannels, int* gradeChannelCount) noexcept {
    if (gradeCombos != nullptr && gradeComboCount == nullptr) return -1;
    if (gradeChannels != nullptr && gradeChannelCount == nullptr) return -1;
    return call("getModelInfo", small_reply, nothing_to_append, [&](const bsonDocument& reply) {
        std::string_view model;
        std::string_view friendly;
        std::string_view serial;
        std::optional<record_list<gradeCombo>> combos;
        std::optional<record_list<gradeChannel>> channels;
        if (!read_wanted_text(reply, "modelName", modelName, model) ||
            !read_wanted_text(reply, "friendlyName", friendlyName, friendly) ||
            !read_wanted_text(reply, "modelSerial", modelSerial, serial) ||
            !read_wanted_list(reply, "gradeCombos", gradeCombos != nullptr, read_combo, combos) ||
            !read_wanted_list(reply, "gradeChannels", gradeChannels != nullptr, read_channel, channels)) {
            return false;
        }
        hand_over_text(modelName, model);
        hand_over_text(friendlyName, friendly);
        hand_over_text(modelSerial, serial);
        hand_over_list(combos, gradeCombos, gradeComboCount);
        hand_over_list(channels, gradeChannels, gradeChannelCount);
        return true;
    });
}

int lutc_get_state(int* colorTransformState, int channelIndex) noexcept {
    if (colorTransformState == nullptr) return -1;
    return call(
        "getColorTransformState", small_reply,
        [&](bsonDocument& command) { add_index(command, "channelIndex", channelIndex); },
        [&](const bsonDocument& reply) {
            const bsonElement* const state = find_element(reply, "colorTransformState");
            if (state == nullptr || (state->valueType != bson_type::int32 && state->valueType != bson_type::boolean))
                return false;
            *colorTransformState = state->getInt32Value();
            return true;
        });
}

int lutc_set_state(int colorTransformState, int channelIndex) noexcept {
    return call("setColorTransformState", [&](bsonDocument& command) {
        add_index(command, "channelIndex", channelIndex);
        add_element(command, "colorTransformState", colorTransformState);
    });
}

int lutc_get_option(const char* name, char* value, uint32_t valueSize) noexcept {
    if (name == nullptr || (value == nullptr && valueSize != 0)) return -1;
    return call(
        "getOption", small_reply, [&](bsonDocument& command) { add_element(command, "name", name); },
        [&](const bsonDocument& reply) {
            std::string_view text;
            if (!read_text(reply, "value", text)) return false;
            copy_text(value, valueSize, text);
            return true;
        });
}

int lutc_set_option(const char* name, const char* value) noexcept {
    if (name == nullptr || value == nullptr) return -1;
    return call("setOption", [&](bsonDocument& command) {
        add_element(command, "name", name);
        add_element(command, "value", value);
    });
}
