#include "terminal/suggestion.h"

#include <algorithm>

namespace lutc_terminal {

namespace {

// Each row has the distances of the first letters of one word from all beginnings of the other.
std::size_t distance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before, last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) last[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t changed = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, changed});
            const bool is_swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
            if (is_swapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before = last;
        last = row;
    }
    return last.back();
}

}  // namespace

std::string find_nearest(std::string_view word, const std::vector<std::string>& known) {
    constexpr std::size_t longest = 64;
    std::string nearest;
    std::size_t least = word.size() / 3 + 2;  // from here on it is another word
    if (word.size() > longest) return nearest;
    for (const std::string& each : known) {
        const std::size_t far = distance(word, each);
        if (far >= least || far >= each.size()) continue;
        least = far;
        nearest = each;
    }
    return nearest;
}

std::string suggest(std::string_view word, const std::vector<std::string>& known) {
    const std::string nearest = find_nearest(word, known);
    return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

}  // namespace lutc_terminal
