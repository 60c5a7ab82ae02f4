#include "tests/support/readers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <string_view>

#include <lutc/lutc.h>
#include "tests/support/check.h"

namespace {

// Memory of a caller's, with contents to recognise.
template <class T>
struct output {
    T value;

    output() { std::memset(static_cast<void*>(&value), 0xA5, sizeof value); }
    bool is_untouched() const { return is_untouched_from(0); }
    bool is_untouched_from(std::size_t start) const {
        const auto* const p = reinterpret_cast<const unsigned char*>(&value);
        return std::all_of(p + start, p + sizeof value, [](unsigned char byte) { return byte == 0xA5; });
    }
};
const output<int> untouched;

// The result of an exported function: 0, or -1 and nothing written.
template <class... Outputs>
bool succeeded(int result, const Outputs&... outputs) {
    CHECK(result == 0 || result == -1);
    if (result == -1) CHECK((outputs.is_untouched() && ...));
    if (result == -1) CHECK(errno == EPROTO || errno == EREMOTEIO || errno == ECONNRESET || errno == ENOMEM);
    return result == 0;
}

template <class... Parts>
void show(std::string* shown, const Parts&... parts) {
    if (shown == nullptr) return;
    std::ostringstream text;
    (text << ... << parts);
    *shown += text.str();
}

void show_number(std::string* shown, int number) {
    if (number == untouched.value) return show(shown, "-");
    show(shown, number);
}

// A text in a field of that size, which is zero-filled.
void show_field(std::string* shown, const char* field, std::size_t size) {
    const std::size_t length = strnlen(field, size);
    CHECK(std::all_of(field + length, field + size, [](char byte) { return byte == '\0'; }));
    show(shown, std::string_view(field, length));
}

void take(std::string* shown, const gradeCombo& combo) {
    for (char* const slot : combo.slots) {
        if (slot != nullptr) CHECK(std::strlen(slot) < 600000);
        show(shown, " ", slot != nullptr ? slot : ".");
        std::free(slot);
    }
}

void take(std::string* shown, const gradeComponent& component) {
    const output<gradeComponent> before;
    show(shown, " ");
    show_number(shown, component.kind);
    show_number(shown, component.typeIndex);
    if (component.dataFormat != before.value.dataFormat) {
        CHECK(std::strlen(component.dataFormat) < 4000000);
        show(shown, ",", component.dataFormat);
        std::free(component.dataFormat);
    }
    if (component.data != before.value.data) {
        CHECK((component.data != nullptr) == (component.dataSize > 0));
        show(shown, ",", component.dataSize, "=");
        for (int i = 0; i < component.dataSize; ++i) {
            const volatile int byte = component.data[i];  // is read also when it isn't shown
            show(shown, std::hex, std::setfill('0'), std::setw(2), int{byte});
        }
        std::free(component.data);
    }
    if (component.cdlValues != before.value.cdlValues) {
        const auto* const values = reinterpret_cast<const double*>(component.cdlValues);
        for (int i = 0; i < 10; ++i) show(shown, ",", values[i]);
        std::free(component.cdlValues);
    }
    CHECK(component.pattern == before.value.pattern);
}

template <class Read>
bool read_name(std::string* shown, Read read) {
    output<char[LUTC_PRESET_NAME_SIZE + 1]> name;
    output<int> index;
    const bool done = succeeded(read(name.value, &index.value), name, index);
    CHECK(name.is_untouched_from(LUTC_PRESET_NAME_SIZE));
    if (!done) return false;
    show_field(shown, name.value, LUTC_PRESET_NAME_SIZE);
    show(shown, " ", index.value);
    return true;
}

}  // namespace

bool read_preset_list(std::string* shown) {
    output<presetEntry*> presets;
    output<int> count, maximum;
    if (!succeeded(lutc_preset_list(&presets.value, &count.value, &maximum.value), presets, count, maximum))
        return false;
    show(shown, count.value, "/", maximum.value);
    for (int i = 0; i < count.value; ++i) {
        const presetEntry& preset = presets.value[i];
        show(shown, " ");
        show_field(shown, preset.presetName, sizeof preset.presetName);
        show(shown, ":", preset.gradeComboIndex);
        take(shown, preset.gradeCombo);
    }
    std::free(presets.value);
    return true;
}

bool read_preset(std::string* shown, int capacity, bool want_combination) {
    output<gradeComponent[5]> components;
    output<int> combination;
    int count = capacity;
    const int result = lutc_recv_preset("preset", 0, want_combination ? &combination.value : nullptr,
                                        capacity > 0 ? components.value : nullptr, &count);
    if (!succeeded(result, components, combination)) {
        CHECK(count == capacity);
        return false;
    }
    CHECK(count >= 0 && count <= std::max(capacity, 0));
    CHECK(components.is_untouched_from(static_cast<std::size_t>(count) * sizeof(gradeComponent)));
    show_number(shown, combination.value);
    show(shown, " ", count, ":");
    for (int i = 0; i < count; ++i) take(shown, components.value[i]);
    return true;
}

bool read_model(std::string* shown, bool want_texts, bool want_combos, bool want_channels) {
    output<char[LUTC_MODEL_STRING_BUFFER_SIZE]> texts[3];
    output<gradeCombo*> combos;
    output<gradeChannel*> channels;
    output<int> combo_count, channel_count;
    const int result =
        lutc_model_info(want_texts ? texts[0].value : nullptr, texts[1].value, want_texts ? texts[2].value : nullptr,
                        want_combos ? &combos.value : nullptr, &combo_count.value,
                        want_channels ? &channels.value : nullptr, &channel_count.value);
    if (!succeeded(result, texts[0], texts[1], texts[2], combos, combo_count, channels, channel_count)) return false;
    for (const auto& text : texts) {
        CHECK(text.is_untouched() || strnlen(text.value, sizeof text.value) < sizeof text.value);
        show(shown, text.is_untouched() ? "-" : text.value, ",");
    }
    show_number(shown, combo_count.value);
    for (int i = 0; want_combos && i < combo_count.value; ++i) take(shown, combos.value[i]);
    show(shown, ",");
    show_number(shown, channel_count.value);
    for (int i = 0; want_channels && i < channel_count.value; ++i) {
        const gradeChannel& channel = channels.value[i];
        show(shown, " ");
        show_field(shown, channel.channelName, sizeof channel.channelName);
        for (const int index : channel.supportedGradeComboIndices) show(shown, " ", index);
    }
    if (want_combos) std::free(combos.value);
    if (want_channels) std::free(channels.value);
    return true;
}

bool read_video(std::string* shown) {
    output<videoConnection[LUTC_MAX_VIDEO_CONNECTIONS + 1]> connections;
    output<int> count;
    if (!succeeded(lutc_get_video_connections(connections.value, &count.value), connections, count)) return false;
    CHECK(count.value >= 0 && count.value <= LUTC_MAX_VIDEO_CONNECTIONS);
    CHECK(connections.is_untouched_from(static_cast<std::size_t>(count.value) * sizeof(videoConnection)));
    show(shown, count.value, ":");
    for (int i = 0; i < count.value; ++i) {
        const videoConnection& connection = connections.value[i];
        show(shown, " ");
        show_number(shown, connection.sourceType);
        show(shown, ".", connection.sourceIndex, ">");
        show_number(shown, connection.destinationType);
        show(shown, ".", connection.destinationIndex);
    }
    return true;
}

bool read_option(std::string* shown, std::uint32_t size) {
    output<char[40]> value;
    const bool done = succeeded(lutc_get_option("name", size == 0 ? nullptr : value.value, size), value);
    CHECK(value.is_untouched_from(size));
    if (done) show_field(shown, value.value, size);
    return done;
}

bool read_selected(std::string* shown) {
    return read_name(shown, [](char* name, int* index) { return lutc_get_preset(1, name, index); });
}

bool read_override(std::string* shown) { return read_name(shown, lutc_get_override_preset); }

bool read_state(std::string* shown) {
    output<int> value;
    const bool done = succeeded(lutc_get_state(&value.value, 1), value);
    if (done) show(shown, value.value);
    return done;
}
