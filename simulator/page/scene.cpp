#include "simulator/page/scene.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace simulator {

namespace {

const colour::test_pattern black{"square", 0.0, {}, {}};
const colour::test_pattern bars{"bars", 0.0, {}, {}};

colour::grade_component operand_of(const component_map::key_type& slot, const grade_component& component) {
    colour::grade_component operand;
    operand.type = slot.first;
    operand.slot = slot.second;
    operand.data_format = component.data_format;
    operand.data = component.data.get();
    if (component.values) {
        const cdl_values& values = *component.values;
        operand.values = colour::cdl_values{values.slope, values.offset, values.power, values.saturation};
    }
    return operand;
}

void append(std::string& text, double value) {
    char number[40];
    std::snprintf(number, sizeof number, "%a,", value);
    text += number;
}

bool is_shown(std::size_t step, const colour::grade_view& view) {
    const auto has = [step](const std::vector<std::size_t>& list) {
        return std::find(list.begin(), list.end(), step) != list.end();
    };
    return (!view.only || has(*view.only)) && !has(view.without);
}

template <class List>
void append_all(std::string& text, const List& values) {
    for (const auto value : values) append(text, static_cast<double>(value));
}

}  // namespace

scene::scene(const device_state& device, const renderer& computes, std::vector<picture> inputs)
    : device_(device), computes_(computes), inputs_(std::move(inputs)) {}

const endpoint& scene::source_of(const char* type, std::int32_t index) const {
    const auto& routes = device_.routes();
    return std::find_if(
               routes.begin(), routes.end(),
               [&](const route& each) { return each.destination.type == type && each.destination.index == index; })
        ->source;
}

shot scene::output(std::int32_t index) const {
    const endpoint& source = source_of("output", index);
    return source.type == "channel" ? channel(source.index) : shot{source.index, nullptr, false};
}

shot scene::channel(std::int32_t index) const {
    const std::int32_t shown_preset = device_.override_preset();
    return grade(source_of("channel", index).index,
                 shown_preset == 0 ? device_.live(index) : preset_grade(shown_preset),
                 device_.transform_state(index) == bypassed_state);
}

shot scene::preset(std::int32_t index) const { return grade(1, preset_grade(index), false); }

live_grade scene::preset_grade(std::int32_t index) const {
    const simulator::preset& stored = device_.presets().at(index);
    return {stored.grade_combo_index, place_components(stored.components)};
}

shot scene::grade(std::int32_t input, live_grade content, bool is_bypassed) const {
    const auto shown = std::make_shared<shown_grade>();
    shown->content = std::move(content);
    arrange_pattern(*shown);
    arrange_steps(*shown);
    const char* obstacle = nullptr;
    if (is_bypassed) {
        obstacle = "the channel is bypassed";
    } else if (!shown->pattern && !arriving(input)) {
        obstacle = "there is no signal";
    }
    for (shown_component& component : shown->components) {
        if (obstacle == nullptr || !component.runs) continue;
        component.runs = false;
        component.reason = obstacle;
    }
    return {input, shown, obstacle == nullptr};
}

void scene::arrange_pattern(shown_grade& shown) const {
    const auto found = shown.content.components.find({"tpg", 1});
    if (found == shown.content.components.end()) return;
    const test_pattern& pattern = *found->second.pattern;
    const std::string obstacle = pattern_obstacle(pattern);
    if (obstacle.empty())
        shown.pattern = colour::test_pattern{pattern.type, pattern.square_size, pattern.foreground, pattern.background};
    shown.components.push_back({&found->second, 1, obstacle.empty(), obstacle, std::nullopt});
}

void scene::arrange_steps(shown_grade& shown) const {
    for (const auto& [slot, component] : shown.content.components) {
        if (component.pattern) continue;
        learn(component);
        shown.operands.push_back(operand_of(slot, component));
    }
    const auto find_obstacle = [this](const colour::grade_component& operand) { return obstacle_of(operand); };
    const auto& combination = device_.model().combination(shown.content.grade_combo_index);
    shown.steps = computes_.list_steps(combination, shown.operands, find_obstacle);
    for (std::size_t i = 0; i < shown.steps.size(); ++i) {
        const colour::grade_step& step = shown.steps[i];
        if (step.component == nullptr) continue;
        const grade_component& content = shown.content.components.at({step.type, step.slot});
        shown.components.push_back({&content, step.slot, step.runs, step.reason, i});
    }
}

std::string scene::obstacle_of(const colour::grade_component& operand) const {
    const auto table = tables_.find(operand.data);
    return table == tables_.end() ? computes_.find_obstacle(operand) : table->second.obstacle;
}

std::string scene::pattern_obstacle(const test_pattern& pattern) const {
    return computes_.is_pattern(pattern.type) ? "" : "there is no pattern of this name";
}

// Tables are long: what is in them is looked at once.
void scene::learn(const grade_component& component) const {
    if (!is_table(component.type) || !component.data) return;
    const auto known = tables_.find(component.data.get());
    if (known != tables_.end() && !known->second.bytes.expired()) return;
    for (auto each = tables_.begin(); each != tables_.end();) {
        each = each->second.bytes.expired() ? tables_.erase(each) : std::next(each);
    }
    const std::string_view bytes(reinterpret_cast<const char*>(component.data->data()), component.data->size());
    tables_[component.data.get()] = {component.data,
                                     computes_.find_obstacle(operand_of({component.type, 1}, component)),
                                     std::hash<std::string_view>()(bytes)};
}

picture_plan scene::plan(const shot& from, const framing& wanted) const {
    picture_plan planned;
    planned.input = arriving(from.input);
    planned.width = wanted.width;
    planned.depth = wanted.depth;
    planned.view.is_legal_range = device_.option("rangeMode", "full") == "legal";
    if (from.is_graded) {
        const shown_grade& grade = *from.grade;
        planned.owner = from.grade;
        planned.steps = grade.steps;
        planned.pattern = grade.pattern;
        if (wanted.only) planned.view.only.emplace();
        for (std::size_t i = 0; i < grade.components.size(); ++i) {
            const std::optional<std::size_t> step = grade.components[i].step;
            const bool is_out = wanted.without.count(i + 1) != 0;
            if (step && is_out) planned.view.without.push_back(*step);
            if (step && wanted.only && wanted.only->count(i + 1) != 0) planned.view.only->push_back(*step);
            if (!step && is_out) planned.pattern.reset();
        }
    }
    if (planned.input || planned.pattern) return planned;
    // No signal: nothing is graded either.
    planned.steps.clear();
    planned.pattern = device_.option("testPatternOnLoss", "off") == "on" ? bars : black;
    return planned;
}

std::string scene::key(const picture_plan& planned) const {
    std::string text = std::to_string(planned.depth) + "," + std::to_string(planned.width) + ",";
    if (!planned.pattern) {
        const auto input = std::find(inputs_.begin(), inputs_.end(), planned.input);
        text += "input " + std::to_string(input - inputs_.begin());
    } else {
        if (planned.input) append_all(text, std::vector{planned.input->width, planned.input->height});
        text += "pattern " + planned.pattern->name + ",";
        append_all(text, planned.pattern->foreground);
        append_all(text, planned.pattern->background);
        append(text, planned.pattern->square_size);
    }
    const auto runs = [](const colour::grade_step& step) { return step.runs; };
    if (std::none_of(planned.steps.begin(), planned.steps.end(), runs)) return text;
    text += planned.view.is_legal_range ? "legal" : "full";
    for (std::size_t i = 0; i < planned.steps.size(); ++i) {
        if (runs(planned.steps[i]) && is_shown(i, planned.view)) text += key(*planned.steps[i].component);
    }
    return text;
}

std::string scene::key(const colour::grade_component& operand) const {
    std::string text = ";" + operand.type + "," + operand.data_format + ",";
    if (const auto table = tables_.find(operand.data); table != tables_.end())
        return text + std::to_string(table->second.digest);
    if (!operand.values) return text;
    append(text, operand.values->saturation);
    if (operand.type == "saturation") return text;
    append_all(text, operand.values->slope);
    append_all(text, operand.values->offset);
    append_all(text, operand.values->power);
    return text;
}

std::vector<std::string> scene::find_obstacles(std::int32_t channel) const {
    std::vector<std::string> found;
    const std::string who = "channel " + std::to_string(channel) + ": ";
    for (const auto& [slot, component] : device_.live(channel).components) {
        if (!component.pattern) learn(component);
        const std::string obstacle =
            component.pattern ? pattern_obstacle(*component.pattern) : obstacle_of(operand_of(slot, component));
        if (obstacle.empty()) continue;
        found.push_back(who + slot.first + " " + std::to_string(slot.second) + " doesn't run: " + obstacle);
    }
    const std::int32_t state = device_.transform_state(channel);
    if (state != on_state && state != bypassed_state)
        found.push_back(who + "state " + std::to_string(state) + " is unknown; the grade runs");
    return found;
}

}  // namespace simulator
