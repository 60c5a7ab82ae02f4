#include "colour/cube_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>

#include "colour/error.h"
#include "colour/layout.h"
#include "colour/text_file.h"

namespace colour {
namespace {

using tokens = std::vector<std::string_view>;

// One file on its way in.
class cube_reader {
  public:
    explicit cube_reader(const std::string& path) : path_(path) {}

    cube_file read(std::string_view text) {
        const std::size_t lines =
            for_each_line(text, [this](std::string_view line, std::size_t number) { read_line(line, number); });
        finish(lines);
        return std::move(file_);
    }

  private:
    // The keywords, each in one place.
    using setter = void (cube_reader::*)(const tokens&);
    static const std::map<std::string, setter> setters;

    void read_line(std::string_view text, std::size_t line) {
        const tokens words = tokens_of(text);
        if (words.empty()) return;
        line_ = line;
        if (begins_row(words[0])) return read_row(words);
        const std::string keyword = lower_case(words[0]);
        const auto known = setters.find(keyword);
        if (known == setters.end()) {
            fail("unknown keyword " + quote(words[0]));
        }
        if (!lines_.emplace(keyword, line).second) fail("a second " + std::string(words[0]));
        if (keyword == "title") {
            file_.title = text.substr(static_cast<std::size_t>(words[0].data() - text.data()) + words[0].size());
            return;
        }
        (this->*known->second)(words);
    }

    [[noreturn]] void fail(const std::string& reason) const { refuse(path_, line_, reason); }

    void need(const tokens& words, std::size_t count) const {
        if (words.size() == count + 1) return;
        fail(std::string(words[0]) + (count == 0   ? " stands alone"
                                      : count == 1 ? " needs one number"
                                                   : " needs " + std::to_string(count) + " numbers"));
    }

    rgb read_triple(const tokens& words) const {
        need(words, 3);
        return {read_number(path_, line_, words[1]), read_number(path_, line_, words[2]),
                read_number(path_, line_, words[3])};
    }

    void skip_title(const tokens& /*words*/) {}
    void set_curve_size(const tokens& words) {
        need(words, 1);
        file_.curve.table.size = read_size(path_, line_, words[1], max_curve_size);
    }
    void set_cube_size(const tokens& words) {
        need(words, 1);
        file_.cube.table.size = read_size(path_, line_, words[1], max_cube_size);
    }
    void set_minimum(const tokens& words) { minimum_ = read_triple(words); }
    void set_maximum(const tokens& words) { maximum_ = read_triple(words); }
    void set_curve_range(const tokens& words) { set_range(words, file_.curve); }
    void set_cube_range(const tokens& words) { set_range(words, file_.cube); }
    void set_range(const tokens& words, ranged_table& of) const {
        need(words, 2);
        of.minimum.fill(read_number(path_, line_, words[1]));
        of.maximum.fill(read_number(path_, line_, words[2]));
        check_range(of);
    }
    void take_video_range(const tokens& words) {
        need(words, 0);
        file_.takes_video_range = true;
    }
    void give_video_range(const tokens& words) {
        need(words, 0);
        file_.gives_video_range = true;
    }

    void check_range(const ranged_table& of) const {
        for (std::size_t i = 0; i < 3; ++i) {
            if (!(of.minimum[i] < of.maximum[i])) fail("the minimum of the inputs must be below their maximum");
        }
    }

    void read_row(const tokens& words) {
        constexpr std::size_t most = max_curve_size + max_cube_size * max_cube_size * max_cube_size;
        for (const std::string_view word : words) values_.push_back(read_float(word));
        if (words.size() != 3) fail("a row has three numbers, this one " + std::to_string(words.size()));
        rows_.push_back(line_);
        if (rows_.size() > most) fail("more rows than the largest table has");
    }

    float read_float(std::string_view word) const {
        float value = 0.0F;
        const std::from_chars_result result = std::from_chars(word.data(), word.data() + word.size(), value);
        const bool is_good =
            result.ec == std::errc() && result.ptr == word.data() + word.size() && std::isfinite(value);
        return is_good ? value : static_cast<float>(read_number(path_, line_, word));
    }

    bool has(const char* keyword) {
        const auto found = lines_.find(keyword);
        if (found != lines_.end()) line_ = std::max(found->second, line_);
        return found != lines_.end();
    }

    // What can only be said when everything is known, with the line of the keyword that it is about.
    void finish(std::size_t lines) {
        const std::size_t curve = file_.curve.table.size;
        const std::size_t cube = file_.cube.table.size;
        if (curve + cube == 0) throw content_error(path_ + ": neither a LUT_1D_SIZE nor a LUT_3D_SIZE");
        settle_domain();
        settle_range("lut_1d_input_range", file_.curve);
        settle_range("lut_3d_input_range", file_.cube);
        const std::size_t announced = curve + cube * cube * cube;
        if (rows_.size() > announced) {
            refuse(path_, rows_[announced],
                   "a row more than the " + std::to_string(announced) + " that its size calls for");
        }
        if (rows_.size() < announced) {
            refuse(
                path_, lines,
                "the table ends after " + std::to_string(rows_.size()) + " of " + std::to_string(announced) + " rows");
        }
        const auto middle = values_.begin() + static_cast<std::ptrdiff_t>(3 * curve);
        file_.curve.table.values.assign(values_.begin(), middle);
        file_.cube.table.values.assign(middle, values_.end());
        file_.cube.table.is_cube = true;
        trim(file_.title);
    }

    // DOMAIN_MIN and DOMAIN_MAX are those of the only table.
    void settle_domain() {
        line_ = 0;
        const bool has_minimum = has("domain_min");
        const bool has_maximum = has("domain_max");
        if (!has_minimum && !has_maximum) return;
        if (file_.curve.table.size > 0 && file_.cube.table.size > 0) {
            fail("a domain for two tables; give LUT_1D_INPUT_RANGE and LUT_3D_INPUT_RANGE");
        }
        if (has("lut_1d_input_range") || has("lut_3d_input_range")) fail("a domain and an input range");
        ranged_table& of = file_.curve.table.size > 0 ? file_.curve : file_.cube;
        of.minimum = minimum_;
        of.maximum = maximum_;
        check_range(of);
    }

    // A range of a table that isn't there would be lost.
    void settle_range(const char* keyword, const ranged_table& of) {
        line_ = 0;
        const bool is_default = of.minimum == rgb{0.0, 0.0, 0.0} && of.maximum == rgb{1.0, 1.0, 1.0};
        if (has(keyword) && of.table.size == 0 && !is_default) fail("an input range of a table that isn't there");
    }

    static void trim(std::string& title) {
        const auto is_edge = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '"'; };
        while (!title.empty() && is_edge(title.back())) title.pop_back();
        title.erase(title.begin(), std::find_if_not(title.begin(), title.end(), is_edge));
    }

    const std::string& path_;
    cube_file file_;
    rgb minimum_ = {0.0, 0.0, 0.0};
    rgb maximum_ = {1.0, 1.0, 1.0};
    std::size_t line_ = 0;
    std::map<std::string, std::size_t> lines_;  // of the keywords that are there
    std::vector<std::size_t> rows_;             // their lines
    std::vector<float> values_;
};

const std::map<std::string, cube_reader::setter> cube_reader::setters = {
    {"title", &cube_reader::skip_title},
    {"lut_1d_size", &cube_reader::set_curve_size},
    {"lut_3d_size", &cube_reader::set_cube_size},
    {"domain_min", &cube_reader::set_minimum},
    {"domain_max", &cube_reader::set_maximum},
    {"lut_1d_input_range", &cube_reader::set_curve_range},
    {"lut_3d_input_range", &cube_reader::set_cube_range},
    {"lut_in_video_range", &cube_reader::take_video_range},
    {"lut_out_video_range", &cube_reader::give_video_range}};

}  // namespace

cube_file parse_cube_file(const std::string& path, std::string_view text) { return cube_reader(path).read(text); }

}  // namespace colour
