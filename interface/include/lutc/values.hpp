// The values of lutc.hpp: grades, presets, the device, and why a call failed. Include lutc.hpp.
#ifndef LUTC_INTERFACE_VALUES_HPP
#define LUTC_INTERFACE_VALUES_HPP

#include <lutc/lutc.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace lutc {

// ---- Failures -------------------------------------------------------------------------------------------------------

// What an errno value of a failed call means, and what helps.
inline std::string reason(int error_number) {
    switch (error_number) {
        case EREMOTEIO:
            return "the service refused it (its log says why)";
        case ETIMEDOUT:
            return "no answer in time, or it did not take the command";
        case EPROTO:
            return "the answer broke off";
        case ECONNRESET:
            return "the connection ended before an answer";
        default:
            return std::generic_category().message(error_number);
    }
}

// A call that failed. code() holds the errno value, in the generic category; what() is "lutc_get_preset: " and the
// reason.
class error : public std::system_error {
  public:
    error(const std::error_code& code, const char* call)
        : std::system_error(code), call_(call), text_(std::string(call) + ": " + reason(code.value())) {}

    // The name of the C function.
    const char* call() const noexcept { return call_; }
    const char* what() const noexcept override { return text_.what(); }

  private:
    const char* call_;
    std::runtime_error text_;
};

// ---- Values ---------------------------------------------------------------------------------------------------------

// A preset, by its name or by its index. A name wins over everything, also an empty one.
class preset_ref {
  public:
    preset_ref(std::string name) : name_(std::move(name)) {}
    preset_ref(std::string_view name) : name_(name) {}
    preset_ref(const char* name) {  // null: no name
        if (name != nullptr) name_ = name;
    }
    preset_ref(int index) noexcept : index_(index) {}
    preset_ref(std::nullptr_t) = delete;
    template <class T, std::enable_if_t<std::is_same_v<T, bool> || std::is_floating_point_v<T>, int> = 0>
    preset_ref(T) = delete;

    const std::optional<std::string>& name() const noexcept { return name_; }
    int index() const noexcept { return index_; }

  private:
    std::optional<std::string> name_;
    int index_ = 0;
};

using triple = std::array<double, 3>;           // red, green, blue
using colour16 = std::array<std::uint16_t, 3>;  // red, green, blue, 0 to 65535

// In every component: slot counts the components of its type from 1; 0 means that it is not given.

// An ASC CDL: out = (in * slope + offset) ^ power, then saturation.
struct cdl_values {
    triple slope{1.0, 1.0, 1.0};
    triple offset{0.0, 0.0, 0.0};
    triple power{1.0, 1.0, 1.0};
    double saturation = 1.0;
    int slot = 0;
};

struct saturation {
    double value = 1.0;  // 1 leaves the picture as it is, 0 gives greys
    int slot = 0;
};

struct lut_1d {
    std::string format;  // the name of the table's format, one of the service's
    std::vector<std::uint8_t> data;
    int slot = 0;
};

struct lut_3d {
    std::string format;
    std::vector<std::uint8_t> data;
    int slot = 0;
};

// A CDL or a saturation that came, or goes, as bytes.
struct raw_colour {
    std::vector<std::uint8_t> data;
    bool is_saturation = false;  // else a CDL. An answer doesn't say it: see settle_kinds
    int slot = 0;
};

// For send_live alone; a preset takes it as an empty component. The last three belong to the type "square".
struct test_pattern {
    std::string type;
    std::int32_t video_format = 0;  // the service's number of the video format
    double size = 0.0;
    colour16 foreground{};
    colour16 background{};
    int slot = 0;
};

// A component of a type that lutc doesn't know; it is sent with its slot alone.
struct unknown_component {
    int slot = 0;
};

using component = std::variant<cdl_values, saturation, lut_1d, lut_3d, raw_colour, test_pattern, unknown_component>;
using grade = std::vector<component>;

struct preset_entry {
    std::string name;
    int combination = 0;                  // index into the model's combinations
    std::vector<std::string> components;  // that combination's strings
};

struct preset_library {
    std::vector<preset_entry> presets;
    int maximum = 0;  // the most presets that the library may hold
};

struct stored_preset {
    int combination = 0;
    grade components;
};

struct preset_choice {
    std::string name;
    int index = 0;
};

struct channel {
    std::string name;
    std::vector<int> combinations;  // those that it supports
};

struct model {
    std::string name;
    std::string friendly_name;
    std::string serial;
    std::vector<std::vector<std::string>> combinations;
    std::vector<channel> channels;
};

enum class video_end { input = LUTC_VIDEO_INPUT, channel = LUTC_VIDEO_CHANNEL, output = LUTC_VIDEO_OUTPUT };

// A type that is missing: the service named another than the three; when sent, it is left out.
struct video_connection {
    std::optional<video_end> source_type;
    int source_index = 0;
    std::optional<video_end> destination_type;
    int destination_index = 0;
};

// reset: start from a neutral grade and apply this at once.
struct live_options {
    bool reset = false;
};

struct lut_options {
    int slot = 0;
    bool reset = false;
};

struct grade_options {
    int combination = 0;
    bool reset = false;
};

struct preset_options {
    int to_index = 0;     // its place in the list
    int combination = 0;  // its grade combination
    bool apply = false;   // show it at once,
    int channel = 0;      // on this channel
};

namespace detail {

inline auto fields(const cdl_values& v) { return std::tie(v.slope, v.offset, v.power, v.saturation, v.slot); }
inline auto fields(const saturation& v) { return std::tie(v.value, v.slot); }
inline auto fields(const lut_1d& v) { return std::tie(v.format, v.data, v.slot); }
inline auto fields(const lut_3d& v) { return std::tie(v.format, v.data, v.slot); }
inline auto fields(const raw_colour& v) { return std::tie(v.data, v.is_saturation, v.slot); }
inline auto fields(const test_pattern& v) {
    return std::tie(v.type, v.video_format, v.size, v.foreground, v.background, v.slot);
}
inline auto fields(const unknown_component& v) { return std::tie(v.slot); }
inline auto fields(const preset_entry& v) { return std::tie(v.name, v.combination, v.components); }
inline auto fields(const preset_library& v) { return std::tie(v.presets, v.maximum); }
inline auto fields(const stored_preset& v) { return std::tie(v.combination, v.components); }
inline auto fields(const preset_choice& v) { return std::tie(v.name, v.index); }
inline auto fields(const live_options& v) { return std::tie(v.reset); }
inline auto fields(const lut_options& v) { return std::tie(v.slot, v.reset); }
inline auto fields(const grade_options& v) { return std::tie(v.combination, v.reset); }
inline auto fields(const preset_options& v) { return std::tie(v.to_index, v.combination, v.apply, v.channel); }
inline auto fields(const preset_ref& v) { return std::make_tuple(v.name(), v.index()); }
inline auto fields(const channel& v) { return std::tie(v.name, v.combinations); }
inline auto fields(const model& v) { return std::tie(v.name, v.friendly_name, v.serial, v.combinations, v.channels); }
inline auto fields(const video_connection& v) {
    return std::tie(v.source_type, v.source_index, v.destination_type, v.destination_index);
}

}  // namespace detail

template <class Value>
auto operator==(const Value& a, const Value& b) -> decltype(detail::fields(a) == detail::fields(b)) {
    return detail::fields(a) == detail::fields(b);
}
template <class Value>
auto operator!=(const Value& a, const Value& b) -> decltype(detail::fields(a) != detail::fields(b)) {
    return detail::fields(a) != detail::fields(b);
}

}  // namespace lutc

#endif
