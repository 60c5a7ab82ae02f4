#include "tests/support/readers.h"

#include <algorithm>
#include <cstring>

#include <lutc/lutc.h>
#include "tests/support/check.h"

namespace {

// Memory of a caller's, with contents to recognise.
template <class T>
struct output {
    static constexpr unsigned char pattern = 0xA5;
    T value;

    output() { std::memset(static_cast<void*>(&value), pattern, sizeof value); }
    bool isUntouched() const {
        const auto* const p = reinterpret_cast<const unsigned char*>(&value);
        return std::all_of(p, p + sizeof value, [](unsigned char byte) { return byte == pattern; });
    }
};

// The result of an exported function: 0, or -1 and nothing written.
template <class... Outputs>
bool succeeded(int result, const Outputs&... outputs) {
    CHECK(result == 0 || result == -1);
    if (result == -1) CHECK((outputs.isUntouched() && ...));
    return result == 0;
}

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

template <class Read>
bool readName(Read read) {
    output<char[LUTC_PRESET_NAME_SIZE + 1]> name;
    output<int> index;
    const bool done = succeeded(read(name.value, &index.value), name, index);
    CHECK(name.value[LUTC_PRESET_NAME_SIZE] == static_cast<char>(output<int>::pattern));
    return done;
}

}  // namespace

bool readPresetList() {
    output<presetEntry*> presets;
    output<int> count, maximum;
    if (!succeeded(lutc_preset_list(&presets.value, &count.value, &maximum.value), presets, count, maximum))
        return false;
    for (int i = 0; i < count.value; ++i) {
        checkName(presets.value[i].presetName);
        freeCombo(presets.value[i].gradeCombo);
    }
    std::free(presets.value);
    return true;
}

bool readPreset() {
    constexpr int capacity = 4;
    output<gradeComponent[capacity]> components;
    output<int> combination;
    int count = capacity;
    const int result = lutc_recv_preset("preset", 0, &combination.value, components.value, &count);
    if (!succeeded(result, components, combination)) {
        CHECK(count == capacity);
        return false;
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
    return true;
}

bool readModel() {
    output<char[LUTC_MODEL_STRING_BUFFER_SIZE]> model, friendly, serial;
    output<gradeCombo*> combos;
    output<gradeChannel*> channels;
    output<int> comboCount, channelCount;
    const int result = lutc_model_info(model.value, friendly.value, serial.value, &combos.value, &comboCount.value,
                                       &channels.value, &channelCount.value);
    if (!succeeded(result, model, friendly, serial, combos, comboCount, channels, channelCount)) return false;
    CHECK(strnlen(model.value, sizeof model.value) < sizeof model.value);
    for (int i = 0; i < comboCount.value; ++i) freeCombo(combos.value[i]);
    for (int i = 0; i < channelCount.value; ++i) checkName(channels.value[i].channelName);
    std::free(combos.value);
    std::free(channels.value);
    return true;
}

bool readVideo() {
    output<videoConnection[LUTC_MAX_VIDEO_CONNECTIONS + 1]> connections;
    output<int> count;
    if (!succeeded(lutc_get_video_connections(connections.value, &count.value), connections, count)) return false;
    CHECK(count.value >= 0 && count.value <= LUTC_MAX_VIDEO_CONNECTIONS);
    const output<videoConnection> untouched;
    CHECK(std::memcmp(&connections.value[count.value], &untouched.value, sizeof untouched.value) == 0);
    return true;
}

bool readOption() {
    output<char[40]> value;
    const bool done = succeeded(lutc_get_option("name", value.value, 32), value);
    CHECK(value.value[32] == static_cast<char>(output<int>::pattern));
    return done;
}

bool readSelected() {
    return readName([](char* name, int* index) { return lutc_get_preset(1, name, index); });
}

bool readOverride() { return readName(lutc_get_override_preset); }

bool readState() {
    output<int> value;
    return succeeded(lutc_get_state(&value.value, 1), value);
}
