#include "tests/support/readers.h"

#include <algorithm>
#include <cerrno>
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
    bool is_untouched() const {
        const auto* const p = reinterpret_cast<const unsigned char*>(&value);
        return std::all_of(p, p + sizeof value, [](unsigned char byte) { return byte == pattern; });
    }
};

// The result of an exported function: 0, or -1 and nothing written.
template <class... Outputs>
bool succeeded(int result, const Outputs&... outputs) {
    CHECK(result == 0 || result == -1);
    if (result == -1) CHECK((outputs.is_untouched() && ...));
    if (result == -1) CHECK(errno == EPROTO || errno == EREMOTEIO || errno == ECONNRESET || errno == ENOMEM);
    return result == 0;
}

void free_combo(const gradeCombo& combo) {
    for (char* const slot : combo.slots) {
        if (slot != nullptr) CHECK(std::strlen(slot) < 600000);
        std::free(slot);
    }
}

void check_name(const char (&name)[LUTC_PRESET_NAME_SIZE + 1]) {
    const std::size_t length = strnlen(name, sizeof name);
    CHECK(length < sizeof name);
    for (std::size_t i = length; i < sizeof name; ++i) CHECK(name[i] == 0);
}

template <class Read>
bool read_name(Read read) {
    output<char[LUTC_PRESET_NAME_SIZE + 1]> name;
    output<int> index;
    const bool done = succeeded(read(name.value, &index.value), name, index);
    CHECK(name.value[LUTC_PRESET_NAME_SIZE] == static_cast<char>(output<int>::pattern));
    return done;
}

}  // namespace

bool read_preset_list() {
    output<presetEntry*> presets;
    output<int> count, maximum;
    if (!succeeded(lutc_preset_list(&presets.value, &count.value, &maximum.value), presets, count, maximum))
        return false;
    for (int i = 0; i < count.value; ++i) {
        check_name(presets.value[i].presetName);
        free_combo(presets.value[i].gradeCombo);
    }
    std::free(presets.value);
    return true;
}

bool read_preset() {
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

bool read_model() {
    output<char[LUTC_MODEL_STRING_BUFFER_SIZE]> model, friendly, serial;
    output<gradeCombo*> combos;
    output<gradeChannel*> channels;
    output<int> combo_count, channel_count;
    const int result = lutc_model_info(model.value, friendly.value, serial.value, &combos.value, &combo_count.value,
                                       &channels.value, &channel_count.value);
    if (!succeeded(result, model, friendly, serial, combos, combo_count, channels, channel_count)) return false;
    CHECK(strnlen(model.value, sizeof model.value) < sizeof model.value);
    for (int i = 0; i < combo_count.value; ++i) free_combo(combos.value[i]);
    for (int i = 0; i < channel_count.value; ++i) check_name(channels.value[i].channelName);
    std::free(combos.value);
    std::free(channels.value);
    return true;
}

bool read_video() {
    output<videoConnection[LUTC_MAX_VIDEO_CONNECTIONS + 1]> connections;
    output<int> count;
    if (!succeeded(lutc_get_video_connections(connections.value, &count.value), connections, count)) return false;
    CHECK(count.value >= 0 && count.value <= LUTC_MAX_VIDEO_CONNECTIONS);
    const output<videoConnection> untouched;
    CHECK(std::memcmp(&connections.value[count.value], &untouched.value, sizeof untouched.value) == 0);
    return true;
}

bool read_option() {
    output<char[40]> value;
    const bool done = succeeded(lutc_get_option("name", value.value, 32), value);
    CHECK(value.value[32] == static_cast<char>(output<int>::pattern));
    return done;
}

bool read_selected() {
    return read_name([](char* name, int* index) { return lutc_get_preset(1, name, index); });
}

bool read_override() { return read_name(lutc_get_override_preset); }

bool read_state() {
    output<int> value;
    return succeeded(lutc_get_state(&value.value, 1), value);
}
