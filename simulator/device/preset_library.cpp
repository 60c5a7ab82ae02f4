#include "simulator/device/preset_library.h"

#include <algorithm>
#include <utility>

#include "simulator/device/model.h"
#include "simulator/device/problem.h"
#include "simulator/device/text.h"

namespace simulator {

preset_library::preset_library() {
    presets_.reserve(model::library_capacity);  // so that nothing fails half-way
}

std::int32_t preset_library::find(std::string_view name) const {
    for (std::int32_t index = 1; index <= size(); ++index) {
        if (at(index).name == name) return index;
    }
    return 0;
}

std::int32_t preset_library::find(const reference& wanted) const {
    const auto found = std::find(presets_.begin(), presets_.end(), wanted.lock());
    return found == presets_.end() ? 0 : static_cast<std::int32_t>(found - presets_.begin()) + 1;
}

std::int32_t preset_library::store(std::int32_t index, preset content) {
    place_components(content.components);  // for its rules
    if (index != 0) {
        *presets_[position(index)] = std::move(content);
        return index;
    }
    if (presets_.size() >= model::library_capacity)
        throw problem(problem_kind::not_possible,
                      "the library is full: it holds at most " + std::to_string(model::library_capacity) + " presets");
    if (find(content.name) != 0)
        throw problem(problem_kind::not_possible, "two presets are named " + quote(content.name));
    presets_.push_back(std::make_shared<preset>(std::move(content)));
    return size();
}

void preset_library::rename(std::int32_t index, std::string name) {
    const std::int32_t holder = find(name);
    if (holder != 0 && holder != index)
        throw problem(problem_kind::not_possible, "another preset is named " + quote(name));
    presets_[position(index)]->name = std::move(name);
}

void preset_library::move(std::int32_t index, std::int32_t to_index) noexcept {
    const auto from = presets_.begin() + (index - 1), to = presets_.begin() + (to_index - 1);
    if (from < to) {
        std::rotate(from, from + 1, to + 1);
    } else {
        std::rotate(to, from, from + 1);
    }
}

void preset_library::remove(std::int32_t index) noexcept { presets_.erase(presets_.begin() + (index - 1)); }

}  // namespace simulator
