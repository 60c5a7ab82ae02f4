#include "colour/edl.h"

#include <algorithm>
#include <cctype>
#include <set>

#include "colour/text_file.h"

namespace colour {
namespace {

bool is_event(std::string_view word) {
    const auto is_digit = [](unsigned char c) { return std::isdigit(c) != 0; };
    return !word.empty() && std::all_of(word.begin(), word.end(), is_digit);
}

class edl_reader {
  public:
    explicit edl_reader(const std::string& path) : path_(path) {}

    std::vector<correction> read(std::string_view text) {
        for_each_line(text, [this](std::string_view line, std::size_t number) { read_line(line, number); });
        return std::move(corrections_);
    }

  private:
    void read_line(std::string_view text, std::size_t line) {
        // "* ASC_SOP (1 1 1)(0 0 0)(1 1 1)", with or without the blank; brackets only part the numbers.
        std::string parted(text);
        std::replace_if(
            parted.begin(), parted.end(), [](char c) { return c == '(' || c == ')' || c == '*'; }, ' ');
        const std::vector<std::string_view> words = tokens_of(parted);
        if (words.empty()) return;
        if (text.find('*') == std::string_view::npos) {
            if (!is_event(words[0])) return;
            if (event_ != words[0]) seen_.clear();
            event_ = words[0];
            return;
        }
        if (words[0] != "ASC_SOP" && words[0] != "ASC_SAT") return;
        const std::string keyword(words[0]);
        if (event_.empty()) refuse(path_, line, keyword + " ahead of the first event");
        if (!seen_.insert(keyword).second) refuse(path_, line, "a second " + keyword + " in event " + event_);
        const std::size_t count = keyword == "ASC_SOP" ? 9 : 1;
        if (words.size() != count + 1) refuse(path_, line, keyword + " needs " + std::to_string(count) + " numbers");
        if (seen_.size() == 1) corrections_.push_back({event_, {}});
        cdl_values& values = corrections_.back().values;
        for (std::size_t i = 1; i <= count; ++i) {
            const double number = read_number(path_, line, words[i]);
            rgb* const triples[] = {&values.slope, &values.offset, &values.power};
            (count == 1 ? values.saturation : (*triples[(i - 1) / 3])[(i - 1) % 3]) = number;
        }
        const std::string obstacle = find_cdl_obstacle(values);
        if (!obstacle.empty()) refuse(path_, line, obstacle);
    }

    const std::string& path_;
    std::string event_;
    std::set<std::string> seen_;  // the comments of this event
    std::vector<correction> corrections_;
};

}  // namespace

std::vector<correction> parse_edl(const std::string& path, std::string_view text) {
    return edl_reader(path).read(text);
}

}  // namespace colour
