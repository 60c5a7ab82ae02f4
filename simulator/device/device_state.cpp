#include "simulator/device/device_state.h"

#include <algorithm>
#include <utility>

#include "simulator/device/problem.h"
#include "simulator/device/text.h"

namespace simulator {

namespace {

void check_supported(const device_model& model, std::int32_t channel, std::int32_t combination) {
    const auto& supported = model.channel(channel).combinations;
    if (std::find(supported.begin(), supported.end(), combination) != supported.end()) return;
    throw problem(problem_kind::not_possible, "channel " + std::to_string(channel) +
                                                  " doesn't support grade combination " + std::to_string(combination));
}

// The live grades of the channels once the preset is selected on them.
std::vector<live_grade> grades_of(const device_model& model, const preset& content, const channel_list& channels) {
    for (const std::int32_t channel : channels) check_supported(model, channel, content.grade_combo_index);
    return std::vector<live_grade>(channels.size(), {content.grade_combo_index, place_components(content.components)});
}

std::string join(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

}  // namespace

device_state::device_state(const device_start& start) : model_(start.model), channels_(model_.channels.size()) {
    for (std::size_t i = 0; i < channels_.size(); ++i) {
        const std::vector<std::int32_t>& supported = model_.channels[i].combinations;
        if (!supported.empty()) channels_[i].live.grade_combo_index = supported.front();
    }
    add_routes("input", "channel");
    add_routes("channel", "output");
    for (const auto& [name, option] : model_.options) options_[name] = option.initial;
    for (const preset& content : start.presets) presets_.store(0, content);
}

// The first source feeds the first destination and so on, over and over while there are destinations.
void device_state::add_routes(const char* from, const char* to) {
    for (std::size_t i = 0; i < model_.count(to); ++i) {
        const auto source = static_cast<std::int32_t>(i % model_.count(from) + 1);
        routes_.push_back({{from, source}, {to, static_cast<std::int32_t>(i + 1)}});
    }
}

void device_state::register_client(client_info client) {
    for (client_info& known : clients_) {
        if (known.model == client.model && known.serial == client.serial) {
            known = std::move(client);
            return;
        }
    }
    clients_.push_back(std::move(client));
    if (clients_.size() > model::max_clients) clients_.pop_front();
}

void device_state::store_preset(std::int32_t index, preset content, const channel_list& apply_to,
                                std::optional<std::int32_t> to_index) {
    std::vector<live_grade> grades = grades_of(model_, content, apply_to);
    index = presets_.store(index, std::move(content));  // the last that can fail
    select(apply_to, std::move(grades), index);
    if (to_index) presets_.move(index, *to_index);
}

void device_state::select_preset(const channel_list& channels, std::int32_t index) {
    select(channels, grades_of(model_, presets_.at(index), channels), index);
}

void device_state::select(const channel_list& channels, std::vector<live_grade> grades, std::int32_t index) noexcept {
    for (std::size_t i = 0; i < channels.size(); ++i) {
        at(channels[i]).live = std::move(grades[i]);
        at(channels[i]).selected = presets_.refer_to(index);
    }
}

void device_state::set_override(std::int32_t index) {
    override_ = index == 0 ? preset_library::reference() : presets_.refer_to(index);
}

void device_state::grade(const channel_list& channels, bool reset, std::optional<std::int32_t> grade_combo_index,
                         const std::vector<grade_component>& components) {
    const component_map placed = place_components(components);
    std::vector<live_grade> grades;
    for (const std::int32_t channel : channels) {
        if (grade_combo_index) check_supported(model_, channel, *grade_combo_index);
        grades.push_back({grade_combo_index.value_or(live(channel).grade_combo_index), placed});
        if (reset) continue;
        const component_map& present = live(channel).components;
        grades.back().components.insert(present.begin(), present.end());  // where nothing new is
    }
    for (std::size_t i = 0; i < channels.size(); ++i) at(channels[i]).live = std::move(grades[i]);
}

void device_state::set_transform_state(const channel_list& channels, std::int32_t value) {
    for (const std::int32_t channel : channels) at(channel).transform_state = value;
}

void device_state::connect(const route& wanted) {
    const endpoint& to = wanted.destination;
    if (wanted.source.type == to.type)
        throw problem(problem_kind::not_possible, "a channel can't be the source of a channel");
    for (route& present : routes_) {
        const endpoint& known = present.destination;
        if (known.type == to.type && known.index == to.index) present.source = wanted.source;
    }
}

const std::string& device_state::option(std::string_view name) const {
    const auto found = options_.find(name);
    if (found == options_.end()) throw problem(problem_kind::not_found, "no option is named " + quote(name));
    return found->second;
}

std::string device_state::option(std::string_view name, const char* otherwise) const {
    const auto found = options_.find(name);
    return found == options_.end() ? otherwise : found->second;
}

void device_state::set_option(std::string_view name, std::string_view value) {
    option(name);
    const auto& [known_name, rule] = *model_.options.find(name);
    if (rule.is_read_only) throw problem(problem_kind::not_possible, "option " + quote(name) + " can only be read");
    if (!rule.choices.empty() && std::find(rule.choices.begin(), rule.choices.end(), value) == rule.choices.end())
        throw problem(problem_kind::wrong_value,
                      "option " + quote(name) + " can't be " + quote(value) + ", only one of " + join(rule.choices));
    options_[known_name] = value;
}

}  // namespace simulator
