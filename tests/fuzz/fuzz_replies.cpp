// A whole reply through each function that reads one. The first byte: the low bits choose the function; with the top bit
// set, what follows are the results of a reply whose frame and envelope are right.
#include <cstring>
#include <iterator>

#include "interface/lutc.h"
#include "tests/fuzz/target.h"
#include "tests/support/prepared_service.h"

namespace {

void freeCombo(const gradeCombo& combo) {
    for (char* const slot : combo.slots) {
        if (slot != nullptr) CHECK(std::strlen(slot) < 600000);
        std::free(slot);
    }
}

void checkName(const char (&name)[LUTC_PRESET_NAME_SIZE + 1]) {
    const std::size_t length = strnlen(name, sizeof name);
    CHECK(length < sizeof name);
    for (std::size_t i = length; i < sizeof name; ++i) CHECK(name[i] == 0);
}

void presetList() {
    output<presetEntry*> presets;
    output<int> count, maximum;
    if (!succeeded(lutc_preset_list(&presets.value, &count.value, &maximum.value), presets, count, maximum)) return;
    for (int i = 0; i < count.value; ++i) {
        checkName(presets.value[i].presetName);
        freeCombo(presets.value[i].gradeCombo);
    }
    std::free(presets.value);
}

void receivePreset() {
    constexpr int capacity = 4;
    output<gradeComponent[capacity]> components;
    output<int> combination;
    int count = capacity;
    const int result = lutc_recv_preset("preset", 0, &combination.value, components.value, &count);
    if (!succeeded(result, components, combination)) {
        CHECK(count == capacity);
        return;
    }
    CHECK(count >= 0 && count <= capacity);
    const output<gradeComponent> untouched;
    for (int i = 0; i < count; ++i) {
        const gradeComponent& component = components.value[i];
        if (component.kind == untouched.value.kind) continue;
        if (component.kind == LUTC_KIND_SATURATION) {
            std::free(component.cdlValues);
            continue;
        }
        if (component.kind >= LUTC_KIND_LUT_1D) {
            CHECK(std::strlen(component.dataFormat) < 4000000);
            std::free(component.dataFormat);
        }
        CHECK((component.data != nullptr) == (component.dataSize > 0));
        volatile unsigned char last = component.dataSize > 0 ? component.data[component.dataSize - 1] : 0;
        static_cast<void>(last);
        std::free(component.data);
    }
}

void modelInfo() {
    output<char[LUTC_MODEL_STRING_BUFFER_SIZE]> model, friendly, serial;
    output<gradeCombo*> combos;
    output<gradeChannel*> channels;
    output<int> comboCount, channelCount;
    const int result = lutc_model_info(model.value, friendly.value, serial.value, &combos.value, &comboCount.value,
                                       &channels.value, &channelCount.value);
    if (!succeeded(result, model, friendly, serial, combos, comboCount, channels, channelCount)) return;
    CHECK(strnlen(model.value, sizeof model.value) < sizeof model.value);
    for (int i = 0; i < comboCount.value; ++i) freeCombo(combos.value[i]);
    for (int i = 0; i < channelCount.value; ++i) checkName(channels.value[i].channelName);
    std::free(combos.value);
    std::free(channels.value);
}

void videoConnections() {
    output<videoConnection[LUTC_MAX_VIDEO_CONNECTIONS + 1]> connections;
    output<int> count;
    if (!succeeded(lutc_get_video_connections(connections.value, &count.value), connections, count)) return;
    CHECK(count.value >= 0 && count.value <= LUTC_MAX_VIDEO_CONNECTIONS);
    const output<videoConnection> untouched;
    CHECK(std::memcmp(&connections.value[count.value], &untouched.value, sizeof untouched.value) == 0);
}

void option() {
    output<char[40]> value;
    if (succeeded(lutc_get_option("name", value.value, 32), value))
        CHECK(value.value[32] == static_cast<char>(output<int>::pattern));
}

void preset() {
    output<char[LUTC_PRESET_NAME_SIZE + 1]> name;
    output<int> index;
    if (!succeeded(lutc_get_preset(1, name.value, &index.value), name, index)) return;
    CHECK(name.value[LUTC_PRESET_NAME_SIZE] == static_cast<char>(output<int>::pattern));
}

void state() {
    output<int> value;
    succeeded(lutc_get_state(&value.value, 1), value);
}

constexpr void (*readers[])() = {presetList, receivePreset, modelInfo, videoConnections, option, preset, state};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0 || size > 60000) return 0;
    const std::uint8_t choice = data[0];
    preparedReply.assign(data + 1, data + size);
    if ((choice & 0x80) != 0) preparedReply = successWith(data + 1, size - 1);
    readers[(choice & 0x7F) % std::size(readers)]();
    CHECK(!isConnected());
    return 0;
}
