#include "simulator/device_state.h"

#include <algorithm>
#include <numeric>
#include <set>

#include "simulator/media.h"
#include "simulator/refusal.h"

namespace simulator {

namespace {

constexpr std::size_t max_clients = 64;
constexpr std::int32_t endpoints_of_a_type = 2;

struct channel_model {
    std::string name;
    std::vector<std::int32_t> supported;
};

const std::vector<channel_model>& channel_models() {
    static const std::vector<channel_model> models{{"Channel 1", {1, 2, 4}}, {"Channel 2", {1, 3}}};
    return models;
}

struct option_model {
    std::string initial;
    bool read_only;
    std::vector<std::string> choices;  // empty: any text of at most max_text_size bytes
};

const std::map<std::string, option_model>& option_models() {
    static const std::map<std::string, option_model> models{
        {"friendlyName", {"Simulated device", false, {}}},
        {"note", {"", false, {}}},
        {"videoFormat", {"1080p25", false, {"720p50", "1080p25", "1080p50", "2160p25", "2160p50"}}},
        {"rangeMode", {"full", false, {"full", "legal"}}},
        {"testPatternOnLoss", {"off", false, {"off", "on"}}},
        {"firmwareVersion", {"simulated", true, {}}},
        {"serialNumber", {device_state::serial(), true, {}}},
    };
    return models;
}

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

void check_range(const char* field, std::int32_t value, std::size_t last, const char* what) {
    if (value >= 1 && static_cast<std::size_t>(value) <= last) return;
    std::string range = last == 0 ? "there are none" : "they count from 1 to " + std::to_string(last);
    throw refusal(reason::bad_field,
                  std::string(field) + " is " + std::to_string(value) + ": no such " + what + ", " + range);
}

void check_text(const char* field, const std::string& text, std::size_t most = max_text_size) {
    const std::string subject(field);
    if (text.size() > most)
        throw refusal(reason::bad_field, subject + " has " + std::to_string(text.size()) + " bytes; at most " +
                                             std::to_string(most) + " are allowed");
    if (text.find('\0') != std::string::npos) throw refusal(reason::bad_field, subject + " contains a zero byte");
}

void check_not_empty(const char* field, const std::string& text) {
    if (text.empty()) throw refusal(reason::bad_field, std::string(field) + " is empty");
}

void check_name(const char* field, const std::string& name) {
    check_not_empty(field, name);
    check_text(field, name, max_name_size);
}

void check_combination(std::int32_t index) {
    check_range("\"gradeComboIndex\"", index, device_state::grade_combinations().size(), "grade combination");
}

void check_supported(std::size_t channel, std::int32_t combination) {
    const channel_model& model = channel_models()[channel];
    if (std::find(model.supported.begin(), model.supported.end(), combination) != model.supported.end()) return;
    throw refusal(reason::not_possible, "channel " + std::to_string(channel + 1) +
                                            " doesn't support grade combination " + std::to_string(combination));
}

std::vector<std::size_t> channels_to_set(const char* field, std::optional<std::int32_t> channel) {
    const std::size_t count = channel_models().size();
    if (channel) {
        check_range(field, *channel, count, "channel");
        return {static_cast<std::size_t>(*channel - 1)};
    }
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return all;
}

std::size_t channel_to_read(std::optional<std::int32_t> channel) {
    if (!channel) return 0;
    check_range("\"channelIndex\"", *channel, channel_models().size(), "channel");
    return static_cast<std::size_t>(*channel - 1);
}

using slot = std::pair<std::string, std::int32_t>;

// The slot of each component: the one that it names, or else the first that no other component of the list takes.
std::vector<slot> slots_for(const std::vector<grade_component>& components) {
    std::set<slot> taken;
    for (const grade_component& component : components) {
        if (component.type_index == 0) continue;
        if (!taken.emplace(component.type, component.type_index).second)
            throw refusal(reason::bad_field, "two components are for slot " + std::to_string(component.type_index) +
                                                 " of type " + quoted(component.type));
    }
    std::vector<slot> result;
    for (const grade_component& component : components) {
        slot where(component.type, component.type_index);
        if (component.type_index == 0) {
            do ++where.second;
            while (taken.count(where) != 0);
            if (where.second > slots_of(component.type))
                throw refusal(reason::bad_field, "more components of type " + quoted(component.type) + " than slots (" +
                                                     std::to_string(slots_of(component.type)) + ")");
            taken.insert(where);
        }
        result.push_back(std::move(where));
    }
    return result;
}

live_grade graded(live_grade grade, bool reset, std::int32_t combination,
                  const std::vector<grade_component>& components) {
    if (reset) grade.components.clear();
    grade.grade_combo_index = combination;
    const std::vector<slot> slots = slots_for(components);
    for (std::size_t i = 0; i < components.size(); ++i) grade.components[slots[i]] = components[i];
    return grade;
}

void check_preset(const preset& one) {
    check_name("\"presetName\"", one.name);
    check_combination(one.grade_combo_index);
    slots_for(one.components);
}

}  // namespace

bool operator==(const endpoint& a, const endpoint& b) { return a.type == b.type && a.index == b.index; }

std::int32_t slots_of(const std::string& type) {
    if (type == "tpg") return 1;
    const bool known = type == "cdl" || type == "saturation" || type == "1dlut" || type == "3dlut";
    return known ? slots_of_a_type : 0;
}

void check_slot(const std::string& field, std::int32_t slot, const std::string& type) {
    if (slot < 1 || slot > slots_of(type))
        throw refusal(reason::bad_field, field + " is " + std::to_string(slot) + ": slots of type " + quoted(type) +
                                             " count from 1 to " + std::to_string(slots_of(type)));
}

void check_library(const std::vector<preset>& presets) {
    if (presets.size() > library_capacity)
        throw refusal(reason::not_possible, std::to_string(presets.size()) + " presets; the library holds at most " +
                                                std::to_string(library_capacity));
    std::set<std::string> names;
    for (const preset& one : presets) {
        check_preset(one);
        if (!names.insert(one.name).second)
            throw refusal(reason::not_possible, "two presets are named " + quoted(one.name));
    }
}

device_state::device_state(std::string media_folder)
    : media_folder_(std::move(media_folder)), channels_(channel_models().size()) {
    library_.reserve(library_capacity);  // so that storing a preset that was checked can't fail half-way
    for (std::int32_t i = 1; i <= endpoints_of_a_type; ++i) routes_.push_back({{"input", i}, {"channel", i}});
    for (std::int32_t i = 1; i <= endpoints_of_a_type; ++i) routes_.push_back({{"channel", i}, {"output", i}});
    for (const auto& [name, model] : option_models()) options_[name] = model.initial;
}

const std::string& device_state::model_name() {
    static const std::string name = "lutc simulated device";
    return name;
}

const std::string& device_state::serial() {
    static const std::string number = "SIM-0001";
    return number;
}

std::string device_state::friendly_name() const { return option("friendlyName"); }

const std::vector<std::vector<std::string>>& device_state::grade_combinations() {
    static const std::vector<std::vector<std::string>> combinations{
        {"1dlut", "cdl", "3dlut"},
        {"cdl", "saturation"},
        {"1dlut", "3dlut", "1dlut"},
        {"cdl", "saturation", "1dlut", "3dlut"},
    };
    return combinations;
}

std::int32_t device_state::channel_count() { return static_cast<std::int32_t>(channel_models().size()); }

std::string device_state::channel_name(std::int32_t channel) {
    return channel_models().at(static_cast<std::size_t>(channel - 1)).name;
}

const std::vector<std::int32_t>& device_state::supported_combinations(std::int32_t channel) {
    return channel_models().at(static_cast<std::size_t>(channel - 1)).supported;
}

void device_state::register_client(client_info client) {
    check_not_empty("\"clientModel\"", client.model);
    check_text("\"clientModel\"", client.model);
    check_text("\"versionNumber\"", client.version);
    check_text("\"clientSerial\"", client.serial);
    const auto same = [&](const client_info& other) {
        return other.model == client.model && other.serial == client.serial;
    };
    const auto known = std::find_if(clients_.begin(), clients_.end(), same);
    if (known != clients_.end()) {
        *known = std::move(client);
        return;
    }
    clients_.push_back(std::move(client));
    if (clients_.size() > max_clients) clients_.pop_front();
}

std::optional<std::size_t> device_state::position_of_name(const std::string& name) const {
    for (std::size_t i = 0; i < library_.size(); ++i)
        if (library_[i].content.name == name) return i;
    return std::nullopt;
}

std::size_t device_state::position_of(const preset_selector& selector) const {
    if (selector.name) {
        if (const auto position = position_of_name(*selector.name)) return *position;
        throw refusal(reason::not_found, "no preset is named " + quoted(*selector.name));
    }
    if (!selector.index)
        throw refusal(reason::bad_field, "no preset is named: \"presetName\" and \"presetIndex\" are missing");
    if (*selector.index < 1 || static_cast<std::size_t>(*selector.index) > library_.size())
        throw refusal(reason::not_found, "\"presetIndex\" is " + std::to_string(*selector.index) +
                                             ": the library holds " + std::to_string(library_.size()) + " presets");
    return static_cast<std::size_t>(*selector.index - 1);
}

std::int32_t device_state::find_preset(const preset_selector& selector) const {
    return static_cast<std::int32_t>(position_of(selector)) + 1;
}

std::int32_t device_state::index_of(std::uint64_t id) const {
    for (std::size_t i = 0; i < library_.size(); ++i)
        if (library_[i].id == id) return static_cast<std::int32_t>(i) + 1;
    return 0;
}

void device_state::forget(std::uint64_t id) noexcept {
    if (override_ == id) override_ = 0;
    for (channel_state& channel : channels_)
        if (channel.selected == id) channel.selected = 0;
}

void device_state::delete_all_presets() noexcept {
    library_.clear();
    override_ = 0;
    for (channel_state& channel : channels_) channel.selected = 0;
}

void device_state::delete_preset(const preset_selector& selector) {
    const std::size_t position = position_of(selector);
    forget(library_[position].id);
    library_.erase(library_.begin() + static_cast<std::ptrdiff_t>(position));
}

void device_state::rename_preset(const preset_selector& selector, const std::string& new_name) {
    const std::size_t position = position_of(selector);
    check_name("\"newName\"", new_name);
    const auto holder = position_of_name(new_name);
    if (holder && *holder != position)
        throw refusal(reason::not_possible, "another preset is named " + quoted(new_name));
    library_[position].content.name = new_name;
}

void device_state::move_preset(const preset_selector& selector, std::int32_t to_index) {
    const std::size_t from = position_of(selector);
    check_range("\"toIndex\"", to_index, library_.size(), "place in the list");
    const auto to = static_cast<std::size_t>(to_index - 1);
    const auto at = [&](std::size_t i) { return library_.begin() + static_cast<std::ptrdiff_t>(i); };
    if (from < to) std::rotate(at(from), at(from + 1), at(to + 1));
    if (to < from) std::rotate(at(to), at(from), at(from + 1));
}

void device_state::store_preset(upload what) {
    const bool named = what.selector.name.has_value();
    if (named) check_name("\"presetName\"", *what.selector.name);
    const auto existing =
        named ? position_of_name(*what.selector.name) : std::optional<std::size_t>(position_of(what.selector));
    if (!existing && library_.size() >= library_capacity)
        throw refusal(reason::not_possible,
                      "the library is full: it holds at most " + std::to_string(library_capacity) + " presets");

    preset made;
    made.name = existing ? library_[*existing].content.name : *what.selector.name;
    made.grade_combo_index =
        what.grade_combo_index.value_or(existing ? library_[*existing].content.grade_combo_index : 1);
    made.components = std::move(what.components);
    check_preset(made);
    if (what.to_index)
        check_range("\"toIndex\"", *what.to_index, library_.size() + (existing ? 0 : 1), "place in the list");

    const channel_list targets = what.apply ? channels_to_set("\"applyChannel\"", what.apply_channel) : channel_list();
    for (const std::size_t target : targets) check_supported(target, made.grade_combo_index);
    std::vector<live_grade> next(targets.size(), graded({}, true, made.grade_combo_index, made.components));

    // Nothing from here on can fail.
    if (existing) {
        library_[*existing].content = std::move(made);
    } else {
        library_.push_back({++last_id_, std::move(made)});
    }
    const std::size_t position = existing.value_or(library_.size() - 1);
    const std::uint64_t id = library_[position].id;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        channels_[targets[i]].live = std::move(next[i]);
        channels_[targets[i]].selected = id;
    }
    if (what.to_index) move_preset({std::nullopt, static_cast<std::int32_t>(position) + 1}, *what.to_index);
}

void device_state::save_presets() const {
    if (media_folder_.empty()) throw refusal(reason::media, "there is no media");
    std::vector<const preset*> presets;
    for (const entry& one : library_) presets.push_back(&one.content);
    save_library(media_folder_, presets);
}

void device_state::load_presets() {
    if (media_folder_.empty()) throw refusal(reason::media, "there is no media");
    std::vector<preset> presets = load_library(media_folder_);
    delete_all_presets();
    for (preset& one : presets) library_.push_back({++last_id_, std::move(one)});
}

void device_state::select_preset(std::optional<std::int32_t> channel, const preset_selector& selector) {
    const channel_list targets = channels_to_set("\"channelIndex\"", channel);
    const entry& chosen = library_[position_of(selector)];
    for (const std::size_t target : targets) check_supported(target, chosen.content.grade_combo_index);
    std::vector<live_grade> next(targets.size(),
                                 graded({}, true, chosen.content.grade_combo_index, chosen.content.components));
    for (std::size_t i = 0; i < targets.size(); ++i) {
        channels_[targets[i]].live = std::move(next[i]);
        channels_[targets[i]].selected = chosen.id;
    }
}

std::int32_t device_state::selected_preset(std::optional<std::int32_t> channel) const {
    const std::size_t asked = channel_to_read(channel);
    const std::int32_t index = index_of(channels_[asked].selected);
    if (index == 0) throw refusal(reason::not_found, "no preset is selected on channel " + std::to_string(asked + 1));
    return index;
}

void device_state::set_override(const preset_selector& selector) {
    const bool none = !selector.name && selector.index == 0;
    override_ = none ? 0 : library_[position_of(selector)].id;
}

std::int32_t device_state::override_preset() const {
    const std::int32_t index = index_of(override_);
    if (index == 0) throw refusal(reason::not_found, "there is no override preset");
    return index;
}

void device_state::grade(std::optional<std::int32_t> channel, bool reset, std::optional<std::int32_t> grade_combo_index,
                         std::vector<grade_component> components) {
    const channel_list targets = channels_to_set("\"channelIndex\"", channel);
    if (grade_combo_index) check_combination(*grade_combo_index);
    std::vector<live_grade> next;
    for (const std::size_t target : targets) {
        const live_grade& present = channels_[target].live;
        if (grade_combo_index) check_supported(target, *grade_combo_index);
        next.push_back(graded(present, reset, grade_combo_index.value_or(present.grade_combo_index), components));
    }
    for (std::size_t i = 0; i < targets.size(); ++i) channels_[targets[i]].live = std::move(next[i]);
}

const live_grade& device_state::live(std::int32_t channel) const { return channels_[channel_to_read(channel)].live; }

void device_state::set_transform_state(std::optional<std::int32_t> channel, std::int32_t value) {
    for (const std::size_t target : channels_to_set("\"channelIndex\"", channel))
        channels_[target].transform_state = value;
}

std::int32_t device_state::transform_state(std::optional<std::int32_t> channel) const {
    return channels_[channel_to_read(channel)].transform_state;
}

void device_state::connect(const route& wanted) {
    const endpoint &from = wanted.source, &to = wanted.destination;
    if (from.type != "input" && from.type != "channel")
        throw refusal(reason::bad_field,
                      "\"sourceType\" is " + quoted(from.type) + ": only an input or a channel is a source");
    if (to.type != "channel" && to.type != "output")
        throw refusal(reason::bad_field,
                      "\"destinationType\" is " + quoted(to.type) + ": only a channel or an output is a destination");
    check_range("\"sourceIndex\"", from.index, endpoints_of_a_type, from.type.c_str());
    check_range("\"destinationIndex\"", to.index, endpoints_of_a_type, to.type.c_str());
    if (from.type == "channel" && to.type == "channel")
        throw refusal(reason::not_possible, "a channel can't be the source of a channel");
    for (route& present : routes_)
        if (present.destination == to) present.source = from;
}

const std::string& device_state::option(const std::string& name) const {
    const auto found = options_.find(name);
    if (found == options_.end()) throw refusal(reason::not_found, "no option is named " + quoted(name));
    return found->second;
}

void device_state::set_option(const std::string& name, const std::string& value) {
    option(name);
    const option_model& model = option_models().at(name);
    if (model.read_only) throw refusal(reason::not_possible, "option " + quoted(name) + " can only be read");
    check_text("\"value\"", value);
    if (!model.choices.empty() && std::find(model.choices.begin(), model.choices.end(), value) == model.choices.end())
        throw refusal(reason::bad_field, "option " + quoted(name) + " can't be " + quoted(value) + ", only one of " +
                                             listed(model.choices));
    options_[name] = value;
}

}  // namespace simulator
