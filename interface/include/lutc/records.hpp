// How the values of lutc.hpp become the records of lutc.h, and back. Include lutc.hpp.
#ifndef LUTC_INTERFACE_RECORDS_HPP
#define LUTC_INTERFACE_RECORDS_HPP

#include <lutc/lutc.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <iterator>
#include <lutc/values.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace lutc::detail {

// A block that a C function handed out.
struct free_block {
    void operator()(void* block) const noexcept { std::free(block); }
};
template <class Record>
using block_ptr = std::unique_ptr<Record, free_block>;

inline const char* pointer_to(const std::optional<std::string>& text) noexcept {
    return text ? text->c_str() : nullptr;
}

// Whether a C function can take all of it: no zero byte inside a text, no more than an int counts.
inline bool is_whole(const std::string& text) noexcept { return text.find('\0') == std::string::npos; }
inline bool is_whole(const std::optional<std::string>& text) noexcept { return !text || is_whole(*text); }
inline bool is_whole(const preset_ref& preset) noexcept { return is_whole(preset.name()); }
inline bool is_whole(const std::vector<std::uint8_t>& data) noexcept { return data.size() <= INT_MAX; }

inline void copy_triple(const triple& values, double (&out)[3]) { std::copy(values.begin(), values.end(), out); }

inline cdl to_record(const cdl_values& values) {
    cdl record{};
    copy_triple(values.slope, record.slope);
    copy_triple(values.offset, record.offset);
    copy_triple(values.power, record.power);
    record.saturation = values.saturation;
    return record;
}

// The records for a C function; they point into the grade and into this object.
class grade_records {
  public:
    explicit grade_records(const grade& components) {
        records_.reserve(components.size());
        for (const component& each : components) {
            gradeComponent record{};
            std::visit([&](const auto& value) { fill(record, value); }, each);
            record.typeIndex = std::visit([](const auto& value) { return value.slot; }, each);
            records_.push_back(record);
        }
        whole_ = whole_ && records_.size() <= INT_MAX;
    }

    bool is_whole() const noexcept { return whole_; }
    const gradeComponent* data() const noexcept { return records_.data(); }
    int size() const noexcept { return static_cast<int>(records_.size()); }

  private:
    void fill(gradeComponent& record, const cdl_values& values) {
        record.kind = LUTC_KIND_CDL;
        record.cdlValues = &values_.emplace_back(to_record(values));
    }
    void fill(gradeComponent& record, const saturation& values) {
        fill(record, cdl_values{{1, 1, 1}, {0, 0, 0}, {1, 1, 1}, values.value, 0});
        record.kind = LUTC_KIND_SATURATION;
    }
    void fill(gradeComponent& record, const lut_1d& lut) { fill_table(record, LUTC_KIND_LUT_1D, lut); }
    void fill(gradeComponent& record, const lut_3d& lut) { fill_table(record, LUTC_KIND_LUT_3D, lut); }
    void fill(gradeComponent& record, const raw_colour& raw) {
        record.kind = raw.is_saturation ? LUTC_KIND_SATURATION : LUTC_KIND_CDL;
        fill_data(record, raw.data);
    }
    void fill(gradeComponent& record, const test_pattern& values) {
        testPattern& pattern = patterns_.emplace_back();
        whole_ = whole_ && detail::is_whole(values.type);
        pattern.patternType = values.type.c_str();
        pattern.videoFormat = values.video_format;
        pattern.squareSize = values.size;
        std::copy(values.foreground.begin(), values.foreground.end(), pattern.fgColor);
        std::copy(values.background.begin(), values.background.end(), pattern.bgColor);
        record.kind = LUTC_KIND_TEST_PATTERN;
        record.pattern = &pattern;
    }
    void fill(gradeComponent& record, const unknown_component&) { record.kind = -1; }

    template <class Lut>
    void fill_table(gradeComponent& record, int kind, const Lut& lut) {
        record.kind = kind;
        whole_ = whole_ && detail::is_whole(lut.format);
        record.dataFormat = const_cast<char*>(lut.format.c_str());  // only read, as the data
        fill_data(record, lut.data);
    }
    void fill_data(gradeComponent& record, const std::vector<std::uint8_t>& data) {
        whole_ = whole_ && detail::is_whole(data);
        record.data = const_cast<unsigned char*>(data.data());
        record.dataSize = static_cast<std::int32_t>(data.size());
    }

    std::vector<gradeComponent> records_;
    std::deque<cdl> values_;
    std::deque<testPattern> patterns_;
    bool whole_ = true;
};

inline bool is_whole(const grade_records& records) noexcept { return records.is_whole(); }

inline bool is_all(const triple& values, double wanted) { return values == triple{wanted, wanted, wanted}; }

// Whether only the saturation changes the picture: the others are neutral, or all 0, which is how an answer without
// them reads.
inline bool is_saturation_alone(const cdl_values& v) {
    return (is_all(v.slope, 1) && is_all(v.offset, 0) && is_all(v.power, 1)) ||
           (is_all(v.slope, 0) && is_all(v.offset, 0) && is_all(v.power, 0));
}

inline triple to_triple(const double (&values)[3]) { return {values[0], values[1], values[2]}; }

// One component of an answer.
inline component to_component(const gradeComponent& record) {
    const int slot = record.typeIndex;
    if (record.cdlValues != nullptr) {
        const cdl& c = *record.cdlValues;
        const cdl_values values{to_triple(c.slope), to_triple(c.offset), to_triple(c.power), c.saturation, slot};
        if (is_saturation_alone(values)) return saturation{c.saturation, slot};
        return values;
    }
    std::vector<std::uint8_t> data;
    if (record.dataSize > 0) data.assign(record.data, record.data + record.dataSize);
    if (record.kind == LUTC_KIND_LUT_1D) return lut_1d{record.dataFormat, std::move(data), slot};
    if (record.kind == LUTC_KIND_LUT_3D) return lut_3d{record.dataFormat, std::move(data), slot};
    if (record.kind == LUTC_KIND_CDL) return raw_colour{std::move(data), false, slot};
    return unknown_component{slot};
}

// Room for the components of an answer; frees what the C function put there.
class received_components {
  public:
    explicit received_components(std::size_t capacity) : records_(capacity, untouched()) {}
    received_components(const received_components&) = delete;
    received_components& operator=(const received_components&) = delete;
    ~received_components() {
        for (const gradeComponent& record : records_) {
            std::free(record.data);
            std::free(record.dataFormat);
            std::free(record.cdlValues);
        }
    }

    gradeComponent* data() noexcept { return records_.data(); }
    int capacity() const noexcept { return static_cast<int>(records_.size()); }
    grade take(int count) const {
        grade result;
        result.reserve(static_cast<std::size_t>(count));
        std::transform(records_.begin(), records_.begin() + count, std::back_inserter(result), to_component);
        return result;
    }

  private:
    static gradeComponent untouched() noexcept {
        gradeComponent record{};
        record.kind = -1;  // stays in a component of another type
        return record;
    }

    std::vector<gradeComponent> records_;
};

inline const gradeCombo& combo_of(const presetEntry& entry) noexcept { return entry.gradeCombo; }
inline const gradeCombo& combo_of(const gradeCombo& combo) noexcept { return combo; }

inline std::vector<std::string> strings_of(const gradeCombo& combo) {
    std::vector<std::string> strings;
    for (const char* const text : combo.slots) {
        if (text != nullptr) strings.emplace_back(text);
    }
    return strings;
}

// An array of records with combinations that a C function hands out.
template <class Record>
struct combo_array {
    Record* records = nullptr;
    int count = 0;

    combo_array() = default;
    combo_array(const combo_array&) = delete;
    combo_array& operator=(const combo_array&) = delete;
    ~combo_array() {
        for (const Record& record : *this) {
            for (char* const text : combo_of(record).slots) std::free(text);
        }
        std::free(records);
    }

    const Record* begin() const noexcept { return records; }
    const Record* end() const noexcept { return records + count; }
};

// More than an answer of 2 MiB has room for: a component takes 29 bytes or more.
constexpr std::size_t most_components = 1 << 17;

inline bool is_colour(const component& each) {
    return std::holds_alternative<cdl_values>(each) || std::holds_alternative<saturation>(each) ||
           std::holds_alternative<raw_colour>(each);
}

// Makes a CDL of a saturation or the other way round; only the saturation of it changes the picture.
inline void set_kind(component& each, bool is_saturation) {
    if (auto* const raw = std::get_if<raw_colour>(&each)) {
        raw->is_saturation = is_saturation;
    } else if (const auto* const values = std::get_if<cdl_values>(&each); values != nullptr && is_saturation) {
        each = saturation{values->saturation, values->slot};
    } else if (const auto* const single = std::get_if<saturation>(&each); single != nullptr && !is_saturation) {
        cdl_values neutral;
        neutral.saturation = single->value;
        neutral.slot = single->slot;
        each = neutral;
    }
}

inline std::optional<video_end> to_end(std::int32_t type) {
    if (type < LUTC_VIDEO_INPUT || type > LUTC_VIDEO_OUTPUT) return std::nullopt;
    return static_cast<video_end>(type);
}

inline std::int32_t from_end(const std::optional<video_end>& end) { return end ? static_cast<std::int32_t>(*end) : -1; }

}  // namespace lutc::detail

#endif
