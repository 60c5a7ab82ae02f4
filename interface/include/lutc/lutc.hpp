// lutc for C++17: the functions of lutc.h with values in and values out.
//
// Conventions
//
//  1. Each function has the name of its C function without the prefix, takes its arguments in the same order, and does
//     the same: one command, one answer. What lutc.h says of time, threads, indices and the process holds here too.
//     What is rarely given stands last, in an options struct with defaults.
//  2. Failures throw lutc::error, a std::system_error with the errno value that lutc.h documents. Each function has an
//     overload with a last parameter std::error_code& that throws nothing but std::bad_alloc: after a failure it holds
//     the reason, which reason(code.value()) says in words, and the result is empty; after a success it is
//     clear.
//  3. Everything is owned: nothing here has to be freed, and nothing is kept of what a function is given.
//  4. Texts are std::string; a null pointer is no text. A zero byte inside one is refused (EINVAL), never cut.
//  5. There is no state, so there is nothing to create: free functions and values, which compare with == and !=.
#ifndef LUTC_INTERFACE_LUTC_HPP
#define LUTC_INTERFACE_LUTC_HPP

#include <lutc/lutc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <lutc/records.hpp>
#include <lutc/values.hpp>
#include <optional>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

namespace lutc {

// Where a failure goes: into the std::error_code that the caller gives as last argument, or else out as lutc::error.
class outcome {
  public:
    outcome() = default;
    outcome(std::error_code& code) noexcept : code_(&code) {}

    // Whether the C function succeeded. Called with its result alone, so that nothing stands between it and errno.
    bool succeeded(const char* call, int result) const { return settle(call, result == 0 ? 0 : errno); }

    // Whether the C function can be given these.
    template <class... Arguments>
    bool takes(const char* call, const Arguments&... arguments) const {
        return (detail::is_whole(arguments) && ...) || settle(call, EINVAL);
    }

  private:
    bool settle(const char* call, int error_number) const {
        const std::error_code code(error_number, std::generic_category());
        if (code_ != nullptr) {
            *code_ = code;
        } else if (code) {
            throw error(code, call);
        }
        return error_number == 0;
    }

    std::error_code* code_ = nullptr;
};

namespace detail {

template <class Read>
preset_choice read_choice(const char* call, Read read, const outcome& failure) {
    char name[LUTC_PRESET_NAME_SIZE + 1] = "";
    int index = 0;
    if (!failure.succeeded(call, read(name, &index))) return {};
    return {name, index};
}

}  // namespace detail

// ---- The preset library as a whole ----------------------------------------------------------------------------------

// Replaces the library with the one stored on the device's media.
inline void load_presets_from_media(outcome failure = {}) {
    failure.succeeded("lutc_load_presets_from_media", lutc_load_presets_from_media());
}

// Stores the library on the device's media.
inline void save_presets_to_media(outcome failure = {}) {
    failure.succeeded("lutc_save_presets_to_media", lutc_save_presets_to_media());
}

// Deletes every preset of the library, not of the media.
inline void delete_all_presets(outcome failure = {}) {
    failure.succeeded("lutc_delete_all_presets", lutc_delete_all_presets());
}

// The presets in their order, with what the combination of each consists of.
inline preset_library preset_list(outcome failure = {}) {
    detail::combo_array<presetEntry> entries;
    preset_library library;
    const int result = lutc_preset_list(&entries.records, &entries.count, &library.maximum);
    if (!failure.succeeded("lutc_preset_list", result)) return {};
    for (const presetEntry& entry : entries) {
        library.presets.push_back({entry.presetName, entry.gradeComboIndex, detail::strings_of(entry.gradeCombo)});
    }
    return library;
}

inline void delete_preset(const preset_ref& preset, outcome failure = {}) {
    if (!failure.takes("lutc_delete_preset", preset)) return;
    failure.succeeded("lutc_delete_preset", lutc_delete_preset(detail::pointer_to(preset.name()), preset.index()));
}

inline void rename_preset(const preset_ref& preset, const std::string& new_name, outcome failure = {}) {
    if (!failure.takes("lutc_rename_preset", preset, new_name)) return;
    const char* const name = detail::pointer_to(preset.name());
    failure.succeeded("lutc_rename_preset", lutc_rename_preset(name, preset.index(), new_name.c_str()));
}

// to_index: its new place in the list; sent whatever its value.
inline void move_preset(const preset_ref& preset, int to_index, outcome failure = {}) {
    if (!failure.takes("lutc_move_preset", preset)) return;
    failure.succeeded("lutc_move_preset",
                      lutc_move_preset(detail::pointer_to(preset.name()), preset.index(), to_index));
}

// ---- Selected and override presets ----------------------------------------------------------------------------------

// In all that follows a channel of 0 or less means that none is named.

// The preset that the channel shows.
inline preset_choice get_preset(int channel_index, outcome failure = {}) {
    const auto read = [&](char* name, int* index) { return lutc_get_preset(channel_index, name, index); };
    return detail::read_choice("lutc_get_preset", read, failure);
}

inline void set_preset(int channel_index, const preset_ref& preset, outcome failure = {}) {
    if (!failure.takes("lutc_set_preset", preset)) return;
    failure.succeeded("lutc_set_preset",
                      lutc_set_preset(channel_index, detail::pointer_to(preset.name()), preset.index()));
}

inline preset_choice get_override_preset(outcome failure = {}) {
    return detail::read_choice("lutc_get_override_preset", lutc_get_override_preset, failure);
}

// An index of 0 is sent too.
inline void set_override_preset(const preset_ref& preset, outcome failure = {}) {
    if (!failure.takes("lutc_set_override_preset", preset)) return;
    failure.succeeded("lutc_set_override_preset",
                      lutc_set_override_preset(detail::pointer_to(preset.name()), preset.index()));
}

// ---- Grades ---------------------------------------------------------------------------------------------------------

// combination: index into the model's combinations; sent whatever its value.
inline void send_combination(int channel_index, int combination, const live_options& options = {},
                             outcome failure = {}) {
    failure.succeeded("lutc_send_combination", lutc_send_combination(channel_index, options.reset, combination));
}

// A table of a type that lutc has no struct for; type and format are the service's names.
inline void send_lut(int channel_index, const std::string& type, const std::string& format,
                     const std::vector<std::uint8_t>& data, const lut_options& options = {}, outcome failure = {}) {
    if (!failure.takes("lutc_send_lut", type, format, data)) return;
    auto* const bytes = const_cast<unsigned char*>(data.data());  // only read
    failure.succeeded("lutc_send_lut", lutc_send_lut(channel_index, options.slot, options.reset, type.c_str(),
                                                     format.c_str(), bytes, static_cast<int>(data.size())));
}

inline void send_lut(int channel_index, const lut_1d& lut, const live_options& options = {}, outcome failure = {}) {
    send_lut(channel_index, "1dlut", lut.format, lut.data, {lut.slot, options.reset}, failure);
}

inline void send_lut(int channel_index, const lut_3d& lut, const live_options& options = {}, outcome failure = {}) {
    send_lut(channel_index, "3dlut", lut.format, lut.data, {lut.slot, options.reset}, failure);
}

inline void send_cdl(int channel_index, const cdl_values& values, const live_options& options = {},
                     outcome failure = {}) {
    const cdl record = detail::to_record(values);
    failure.succeeded("lutc_send_cdl", lutc_send_cdl(channel_index, values.slot, options.reset, &record));
}

inline void send_saturation(int channel_index, const saturation& values, const live_options& options = {},
                            outcome failure = {}) {
    failure.succeeded("lutc_send_saturation",
                      lutc_send_saturation(channel_index, values.slot, options.reset, values.value));
}

// A whole grade for immediate use; nothing is stored.
inline void send_live(int channel_index, const grade& components, const grade_options& options = {},
                      outcome failure = {}) {
    const detail::grade_records records(components);
    if (!failure.takes("lutc_send_live", records)) return;
    failure.succeeded("lutc_send_live", lutc_send_live(channel_index, options.combination, options.reset,
                                                       records.data(), records.size()));
}

// Stores a preset.
inline void send_preset(const preset_ref& preset, const grade& components, const preset_options& options = {},
                        outcome failure = {}) {
    const detail::grade_records records(components);
    if (!failure.takes("lutc_send_preset", preset, records)) return;
    failure.succeeded("lutc_send_preset", lutc_send_preset(detail::pointer_to(preset.name()), preset.index(),
                                                           options.to_index, options.combination, options.apply,
                                                           options.channel, records.data(), records.size()));
}

// Fetches a preset, all of its components. An answer doesn't say whether values are a CDL or a saturation: those whose
// slope, offset or power changes the picture come as cdl_values, all others as saturation. settle_kinds knows more.
inline stored_preset recv_preset(const preset_ref& preset, outcome failure = {}) {
    if (!failure.takes("lutc_recv_preset", preset)) return {};
    for (const std::size_t capacity : {std::size_t{64}, detail::most_components}) {
        detail::received_components received(capacity);
        int count = received.capacity();
        int combination = 0;
        const char* const name = detail::pointer_to(preset.name());
        const int result = lutc_recv_preset(name, preset.index(), &combination, received.data(), &count);
        if (!failure.succeeded("lutc_recv_preset", result)) return {};
        if (count < received.capacity()) return {combination, received.take(count)};
    }
    errno = EPROTO;  // never: an answer has no room for so many
    failure.succeeded("lutc_recv_preset", -1);
    return {};
}

// Tells CDLs from saturations, and what bytes are, in a downloaded grade by the strings of the preset's combination:
//
//  1. Values that do more than saturate are a CDL.
//  2. A combination with places only for "cdl", or only for "saturation", decides for all others.
//  3. Else they take the places that the CDLs leave, in order, if there are as many.
//  4. Else values are a saturation and bytes are a CDL.
//
// Returns the positions in the grade, from 0, of those that 4 had to guess.
inline std::vector<std::size_t> settle_kinds(grade& components, const std::vector<std::string>& combination) {
    std::vector<bool> places;  // whether it is one for a saturation
    for (const std::string& text : combination) {
        if (text == "cdl" || text == "saturation") places.push_back(text == "saturation");
    }
    const bool only_one_kind = !places.empty() && std::equal(places.begin() + 1, places.end(), places.begin());
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < components.size(); ++i) {
        const auto* const values = std::get_if<cdl_values>(&components[i]);
        if (values != nullptr && !detail::is_saturation_alone(*values)) {
            const auto place = std::find(places.begin(), places.end(), false);
            if (place != places.end() && !only_one_kind) places.erase(place);
        } else if (detail::is_colour(components[i])) {
            open.push_back(i);
        }
    }
    const bool known = only_one_kind || open.size() == places.size();
    for (std::size_t i = 0; i < open.size(); ++i) {
        const bool is_bytes = std::holds_alternative<raw_colour>(components[open[i]]);
        const bool place = only_one_kind ? places.front() : known ? places[i] : !is_bytes;
        detail::set_kind(components[open[i]], place);
    }
    return known ? std::vector<std::size_t>() : open;
}

// ---- A std::error_code without options in front ---------------------------------------------------------------------

inline void send_combination(int channel_index, int combination, std::error_code& failure) {
    send_combination(channel_index, combination, {}, failure);
}
inline void send_lut(int channel_index, const std::string& type, const std::string& format,
                     const std::vector<std::uint8_t>& data, std::error_code& failure) {
    send_lut(channel_index, type, format, data, {}, failure);
}
inline void send_lut(int channel_index, const lut_1d& lut, std::error_code& failure) {
    send_lut(channel_index, lut, {}, failure);
}
inline void send_lut(int channel_index, const lut_3d& lut, std::error_code& failure) {
    send_lut(channel_index, lut, {}, failure);
}
inline void send_cdl(int channel_index, const cdl_values& values, std::error_code& failure) {
    send_cdl(channel_index, values, {}, failure);
}
inline void send_saturation(int channel_index, const saturation& values, std::error_code& failure) {
    send_saturation(channel_index, values, {}, failure);
}
inline void send_live(int channel_index, const grade& components, std::error_code& failure) {
    send_live(channel_index, components, {}, failure);
}
inline void send_preset(const preset_ref& preset, const grade& components, std::error_code& failure) {
    send_preset(preset, components, {}, failure);
}

// ---- The device -----------------------------------------------------------------------------------------------------

// Tells the service who the client is.
inline void client_info(const std::string& client_model, const std::optional<std::string>& version = {},
                        const std::optional<std::string>& serial = {}, outcome failure = {}) {
    if (!failure.takes("lutc_client_info", client_model, version, serial)) return;
    failure.succeeded("lutc_client_info",
                      lutc_client_info(client_model.c_str(), detail::pointer_to(version), detail::pointer_to(serial)));
}
inline void client_info(const std::string& client_model, std::error_code& failure) {
    client_info(client_model, {}, {}, failure);
}

inline model model_info(outcome failure = {}) {
    char name[LUTC_MODEL_STRING_BUFFER_SIZE];
    char friendly_name[LUTC_MODEL_STRING_BUFFER_SIZE];
    char serial[LUTC_MODEL_STRING_BUFFER_SIZE];
    detail::combo_array<gradeCombo> combos;
    gradeChannel* channels = nullptr;
    int channel_count = 0;
    const int result =
        lutc_model_info(name, friendly_name, serial, &combos.records, &combos.count, &channels, &channel_count);
    if (!failure.succeeded("lutc_model_info", result)) return {};
    const detail::block_ptr<gradeChannel> owner(channels);
    model device{name, friendly_name, serial, {}, {}};
    for (const gradeCombo& combo : combos) device.combinations.push_back(detail::strings_of(combo));
    for (int i = 0; i < channel_count; ++i) {
        channel& added = device.channels.emplace_back(channel{channels[i].channelName, {}});
        for (const std::int32_t index : channels[i].supportedGradeComboIndices) {
            if (index != 0) added.combinations.push_back(index);
        }
    }
    return device;
}

// The colour-transform state of a channel, a number of the service's.
inline int get_state(int channel_index, outcome failure = {}) {
    int state = 0;
    return failure.succeeded("lutc_get_state", lutc_get_state(&state, channel_index)) ? state : 0;
}

inline void set_state(int state, int channel_index, outcome failure = {}) {
    failure.succeeded("lutc_set_state", lutc_set_state(state, channel_index));
}

// At most eight.
inline std::vector<video_connection> get_video_connections(outcome failure = {}) {
    videoConnection records[LUTC_MAX_VIDEO_CONNECTIONS];
    for (videoConnection& record : records) record = {-1, 0, -1, 0};  // an unknown type leaves its field
    int count = 0;
    if (!failure.succeeded("lutc_get_video_connections", lutc_get_video_connections(records, &count))) return {};
    std::vector<video_connection> connections;
    std::transform(records, records + count, std::back_inserter(connections), [](const videoConnection& record) {
        return video_connection{detail::to_end(record.sourceType), record.sourceIndex,
                                detail::to_end(record.destinationType), record.destinationIndex};
    });
    return connections;
}

// From an input or a channel, to a channel or an output.
inline void set_video_connection(const video_connection& connection, outcome failure = {}) {
    const videoConnection record{detail::from_end(connection.source_type), connection.source_index,
                                 detail::from_end(connection.destination_type), connection.destination_index};
    failure.succeeded("lutc_set_video_connection", lutc_set_video_connection(&record));
}

// An option of the device as text.
inline std::string get_option(const std::string& name, outcome failure = {}) {
    if (!failure.takes("lutc_get_option", name)) return {};
    char value[LUTC_MODEL_STRING_BUFFER_SIZE + 1] = "";  // an answer has no room for more
    if (!failure.succeeded("lutc_get_option", lutc_get_option(name.c_str(), value, sizeof value - 1))) return {};
    return value;
}

inline void set_option(const std::string& name, const std::string& value, outcome failure = {}) {
    if (!failure.takes("lutc_set_option", name, value)) return;
    failure.succeeded("lutc_set_option", lutc_set_option(name.c_str(), value.c_str()));
}

}  // namespace lutc

#endif
