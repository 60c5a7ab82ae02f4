#include "cli/commands/document_json.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "bson/wire_format.h"
#include "cli/console/output.h"

namespace lutc_cli {
namespace {

using lutc_bson::extent;
using lutc_bson::load32;
using lutc_bson::load64;

std::string quote_json(const unsigned char* text, std::size_t size) {
    return write_json(std::string(text, text + size));
}

std::string quote_json(const unsigned char* text) {
    return quote_json(text, std::strlen(reinterpret_cast<const char*>(text)));
}

std::string hex(const unsigned char* bytes, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", unsigned{bytes[i]});
        text += digits;
    }
    return text;
}

std::string base64(const unsigned char* bytes, std::size_t size) {
    constexpr char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (i + k < size ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k) text += i + k <= size ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

std::string real(std::uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (std::isfinite(value)) return nlohmann::json(value).dump();
    const char* const name = std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity";
    return std::string(R"({"$numberDouble":")") + name + "\"}";
}

// The years 1970 to 9999 as text, others as a number.
std::string date(std::int64_t milliseconds) {
    constexpr std::int64_t end = 253402300800000;
    if (milliseconds < 0 || milliseconds >= end) {
        return R"({"$date":{"$numberLong":")" + std::to_string(milliseconds) + "\"}}";
    }
    const std::time_t seconds = milliseconds / 1000;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    char fraction[8] = "";
    if (milliseconds % 1000 != 0) std::snprintf(fraction, sizeof fraction, ".%03d", int(milliseconds % 1000));
    return std::string(R"({"$date":")") + text + fraction + "Z\"}";
}

// Prints while it reads; embedded documents wait on a stack of its own.
class printer {
  public:
    explicit printer(const unsigned char* bytes, std::uint32_t size) : bytes_(bytes), end_(bytes + size) {
        open(0, size - 1, false, "}\n");
    }

    void print() {
        while (!above_.empty()) {
            level& here = above_.back();
            if (position_ < here.last) {
                print_element(here);
            } else {
                put(here.closing);
                position_ = here.last + 1;
                above_.pop_back();
            }
        }
    }

  private:
    struct level {
        std::uint32_t last;   // where the terminating byte stands
        std::string closing;  // what ends the document, and what holds it
        bool is_array;
        bool is_empty;
    };

    void put(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

    void open(std::uint32_t start, std::uint32_t last, bool is_array, const char* closing) {
        put(is_array ? "[" : "{");
        above_.push_back({last, closing, is_array, true});
        position_ = start + 4;
    }

    void print_element(level& here) {
        const std::uint8_t type = bytes_[position_];
        const lutc_bson::layout& l = lutc_bson::layout_of(type);
        if (l.body == lutc_bson::shape::unknown) {
            position_ = here.last;
            return;
        }
        const unsigned char* const key = bytes_ + position_ + 1;
        const unsigned char* const key_end = lutc_bson::find_key_end(key, bytes_ + here.last, end_);
        extent value{};
        lutc_bson::find_extent(bytes_, l, static_cast<std::uint32_t>(key_end + 1 - bytes_), here.last, value);
        if (!here.is_empty) put(",");
        here.is_empty = false;
        if (!here.is_array) put(quote_json(key, static_cast<std::size_t>(key_end - key)) + ":");
        position_ = value.end;
        print_value(bson_type{type}, value);
    }

    void print_value(bson_type type, const extent& value) {
        const unsigned char* const at = bytes_ + value.begin;
        switch (type) {
            case bson_type::document:
            case bson_type::array:
                return open(value.begin, value.end - 1, type == bson_type::array, type == bson_type::array ? "]" : "}");
            case bson_type::javascript_with_scope: {
                const std::uint32_t code = load32(at + 4);
                put(R"({"$code":)" + quote_json(at + 8, code == 0 ? 0 : code - 1) + R"(,"$scope":)");
                return open(value.begin + 8 + code, value.end - 1, false, "}}");
            }
            default:
                put(scalar(type, at, value.end - value.begin));
        }
    }

    static std::string scalar(bson_type type, const unsigned char* at, std::uint32_t size) {
        constexpr std::uint32_t id_size = 12;
        const std::uint32_t text_size = size == 0 ? 0 : size - 1;
        switch (type) {
            case bson_type::real:
                return real(load64(at));
            case bson_type::string:
                return quote_json(at, text_size);
            case bson_type::binary:
                return R"({"$binary":{"base64":")" + base64(at, size) + R"(","subType":")" + hex(at - 1, 1) + "\"}}";
            case bson_type::undefined:
                return R"({"$undefined":true})";
            case bson_type::object_id:
                return R"({"$oid":")" + hex(at, id_size) + "\"}";
            case bson_type::boolean:
                return *at != 0 ? "true" : "false";
            case bson_type::utc:
                return date(static_cast<std::int64_t>(load64(at)));
            case bson_type::regular_expression:
                return R"({"$regularExpression":{"pattern":)" + quote_json(at) + R"(,"options":)" +
                       quote_json(at + std::strlen(reinterpret_cast<const char*>(at)) + 1) + "}}";
            case bson_type::db_pointer:
                return R"({"$dbPointer":{"$ref":)" + quote_json(at, text_size > id_size ? text_size - id_size : 0) +
                       R"(,"$id":{"$oid":")" + hex(at + size - id_size, id_size) + "\"}}}";
            case bson_type::javascript:
                return R"({"$code":)" + quote_json(at, text_size) + "}";
            case bson_type::symbol:
                return R"({"$symbol":)" + quote_json(at, text_size) + "}";
            case bson_type::int32:
                return std::to_string(static_cast<std::int32_t>(load32(at)));
            case bson_type::timestamp:
                return R"({"$timestamp":{"t":)" + std::to_string(load32(at + 4)) + R"(,"i":)" +
                       std::to_string(load32(at)) + "}}";
            case bson_type::int64:
                return std::to_string(static_cast<std::int64_t>(load64(at)));
            case bson_type::max_key:
                return R"({"$maxKey":1})";
            case bson_type::min_key:
                return R"({"$minKey":1})";
            default:
                return "null";
        }
    }

    const unsigned char* bytes_;
    const unsigned char* end_;
    std::uint32_t position_ = 0;
    std::vector<level> above_;
};

}  // namespace

void print_document_json(const unsigned char* bytes, std::uint32_t size) { printer(bytes, size).print(); }

}  // namespace lutc_cli
