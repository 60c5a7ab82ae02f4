// lutc lut pack: a LUT file as the bytes that a device's format calls for.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

#include "cli/colour_files.h"
#include "cli/colour_lut.h"
#include "cli/files.h"
#include "cli/output.h"

namespace lutc_cli {

using nlohmann::ordered_json;

namespace {

constexpr std::size_t max_cube_size = 129;
constexpr std::size_t max_curve_size = 65536;

// What the values of a table span.
struct Span {
    std::array<float, 3> minimum{};
    std::array<float, 3> maximum{};
    std::size_t outside = 0;  // values below 0 or above 1
};

Span span_of(const LutTable& table) {
    Span span;
    for (std::size_t i = 0; i < table.values.size(); ++i) {
        const float value = table.values[i];
        const std::size_t channel = i % 3;
        span.minimum[channel] = i < 3 ? value : std::min(span.minimum[channel], value);
        span.maximum[channel] = i < 3 ? value : std::max(span.maximum[channel], value);
        if (value < 0.0F || value > 1.0F) ++span.outside;
    }
    return span;
}

// Limits values to 0..1 and rounds them as the samples do; floating point stays as it is.
void quantise(LutTable& table, const SampleFormat& format) {
    if (format.largest == 0.0) return;
    for (float& value : table.values) {
        const double level = std::floor(std::clamp(double{value}, 0.0, 1.0) * format.largest + 0.5);
        value = static_cast<float>(level / format.largest);
    }
}

// The bytes of a quantised table.
std::vector<unsigned char> packed(const LutTable& table, const SampleFormat& format, bool big_endian,
                                  bool blue_fastest) {
    std::vector<unsigned char> bytes;
    bytes.reserve(table.values.size() * format.bytes);
    const auto append = [&](float value) {
        std::uint32_t bits = 0;
        if (format.largest == 0.0) {
            std::memcpy(&bits, &value, sizeof bits);
        } else {
            bits = static_cast<std::uint32_t>(std::lround(double{value} * format.largest));
        }
        for (std::size_t i = 0; i < format.bytes; ++i) {
            const std::size_t shift = 8 * (big_endian ? format.bytes - 1 - i : i);
            bytes.push_back(static_cast<unsigned char>(bits >> shift & 0xFFU));
        }
    };
    const std::size_t size = table.size;
    for (std::size_t i = 0; i < table.values.size() / 3; ++i) {
        // Entry i of the bytes is entry `from` of the table, whose red is fastest.
        const std::size_t from =
            table.cube && blue_fastest ? i / size / size + i / size % size * size + i % size * size * size : i;
        for (std::size_t channel = 0; channel < 3; ++channel) append(table.values[3 * from + channel]);
    }
    return bytes;
}

// A number with the digits that it means and no more.
ordered_json shown(float value) {
    char text[32];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text - 1, value);
    *end.ptr = '\0';
    return std::strtod(text, nullptr);
}
ordered_json shown(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return std::strtod(text, nullptr);
}
template <class Number>
ordered_json shown(const std::array<Number, 3>& triple) {
    return {shown(triple[0]), shown(triple[1]), shown(triple[2])};
}

std::size_t size_to_pack(const PackOptions& options, const ColourTransform& transform) {
    const std::size_t size = options.size > 0 ? static_cast<std::size_t>(options.size) : transform.file_size();
    if (size == 0) {
        throw Failure(exit_usage, options.file + ": the file has no " +
                                      (transform.mixes_channels() ? "cube" : "curve") +
                                      " whose size could be kept; give --size");
    }
    const std::size_t largest = transform.mixes_channels() ? max_cube_size : max_curve_size;
    if (size < 2 || size > largest) {
        throw Failure(exit_usage, options.file + ": a size of " + std::to_string(size) + "; possible are 2 to " +
                                      std::to_string(largest));
    }
    return size;
}

void check_finite(const std::string& file, const LutTable& table) {
    const auto bad =
        std::find_if_not(table.values.begin(), table.values.end(), [](float v) { return std::isfinite(v); });
    if (bad == table.values.end()) return;
    throw Failure(exit_usage, file + ": entry " + std::to_string((bad - table.values.begin()) / 3) +
                                  " of the table, counted from 0, is not finite");
}

std::string in_words(const std::vector<std::string>& stages) {
    std::string words;
    for (const std::string& stage : stages) words += (words.empty() ? "" : ", then ") + stage;
    return words.empty() ? "nothing" : words;
}

void print_report(const Context& context, const ordered_json& report, bool to_stderr) {
    if (!to_stderr) return print_result(context, report);
    if (context.json) {
        std::fprintf(stderr, "%s\n", report.dump(2).c_str());
        return;
    }
    for (const auto& member : report.items()) print_notice(member.key() + ": " + member.value().dump());
}

}  // namespace

void pack_lut(const Context& context, const PackOptions& options) {
    const auto* const format =
        std::find_if(sample_formats.begin(), sample_formats.end(),
                     [&](const SampleFormat& candidate) { return candidate.name == options.samples; });
    const ColourTransform transform = ColourTransform::from_file(options.file);
    const bool cube = transform.mixes_channels();
    if (cube && options.order.empty()) {
        throw Failure(exit_usage, options.file + ": a cube; give --order red-fastest or blue-fastest");
    }
    const std::size_t size = size_to_pack(options, transform);
    const bool as_it_is = transform.is_one_table() && size == transform.file_size();
    if (!as_it_is && options.exact) {
        throw Failure(exit_usage, options.file + ": would have to be resampled to " + std::to_string(size) +
                                      (cube ? " points an axis" : " entries") +
                                      ", against --exact; it holds: " + in_words(transform.stages()));
    }
    LutTable table = as_it_is ? transform.table() : transform.sampled(size);
    check_finite(options.file, table);
    const Span span = span_of(table);
    const bool clips = span.outside > 0 && format->largest > 0.0;
    if (clips) {
        const std::string what = std::to_string(span.outside) + " of " + std::to_string(table.values.size()) +
                                 " values are outside 0..1, which " + options.samples + " can't hold";
        if (options.exact) throw Failure(exit_usage, options.file + ": " + what + ", against --exact");
        print_notice(options.file + ": " + what + ": they are clipped");
    }
    quantise(table, *format);
    const double error = transform.largest_error(table, clips);
    const std::vector<unsigned char> bytes =
        packed(table, *format, options.byte_order == "big", options.order == "blue-fastest");

    ordered_json report = {{"file", options.file},
                           {"type", cube ? "3dlut" : "1dlut"},
                           {"stages", transform.stages()},
                           {"fileSize", transform.file_size()},
                           {"size", size},
                           {"domainMinimum", shown(transform.domain_minimum())},
                           {"domainMaximum", shown(transform.domain_maximum())},
                           {"shaper", transform.has_shaper()},
                           {"resampled", !as_it_is},
                           {"minimum", shown(span.minimum)},
                           {"maximum", shown(span.maximum)},
                           {"outOfRange", span.outside},
                           {"clipped", clips},
                           {"maximumError", shown(error)},
                           {"samples", options.samples},
                           {"byteOrder", options.byte_order}};
    if (cube) report["order"] = options.order;
    if (!context.json) report["stages"] = in_words(transform.stages());
    report["bytes"] = bytes.size();
    report["output"] = options.output;
    if (options.output == "-") {
        if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || !flush_output()) {
            throw Failure(exit_refused, "standard output can't be written");
        }
    } else {
        write_file(options.output, bytes.data(), bytes.size());
    }
    print_report(context, report, options.output == "-");
}

}  // namespace lutc_cli
