// lutc watch
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

constexpr int rounds_per_list = 10;

// What can change: its name, and its channel or 0.
using watched_thing = std::pair<std::string, int>;
using snapshot = std::map<watched_thing, ordered_json>;

extern "C" void end_at_once(int /*signal*/) { _exit(exit_done); }

std::chrono::milliseconds read_interval(const std::string& text) {
    double amount = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), amount);
    const std::string unit(end, text.data() + text.size());
    const double milliseconds = unit == "s" ? 1000.0 * amount : unit == "ms" ? amount : 0.0;
    if (error != std::errc() || !(milliseconds >= 1.0 && milliseconds <= 86400000.0)) {
        throw failure(exit_usage, "--interval: '" + text + "' is no time such as 1s or 200ms");
    }
    return std::chrono::milliseconds(static_cast<std::chrono::milliseconds::rep>(milliseconds));
}

// What the call returns; null when the service refuses it, as it does when nothing is selected.
template <class Call>
ordered_json ask(const Call& call) {
    try {
        return call();
    } catch (const lutc::error& error) {
        if (error.code().value() != EREMOTEIO) throw;
        return nullptr;
    }
}

ordered_json list_presets() {
    ordered_json list = ordered_json::array();
    for (const lutc::preset_entry& entry : lutc::preset_list().presets) {
        list.push_back({{"presetName", entry.name}, {"gradeComboIndex", entry.combination}});
    }
    return list;
}

// For people: of presets the names.
std::string write_value(const ordered_json& value) {
    if (value.is_null()) return "-";
    if (value.is_string()) return printable(value.get<std::string>());
    if (value.is_object()) return printable(value["presetName"].get<std::string>());
    if (!value.is_array()) return write_json(value);
    std::string text;
    for (const ordered_json& item : value) text += (text.empty() ? "" : ", ") + write_value(item);
    return text.empty() ? "-" : text;
}

class watcher {
  public:
    watcher(const output_style& style, std::vector<std::string> options)
        : style_(style), options_(std::move(options)) {}

    // Asks for all that is due and prints what is not as it was.
    void look() {
        snapshot seen = known_.value_or(snapshot());
        try {
            if (rounds_to_list_ == 0) ask_for_lists(seen);
            ask_for_the_rest(seen);
        } catch (const lutc::error&) {
            rounds_to_list_ = 0;
            tell_service("lost");
            return;
        }
        rounds_to_list_ = (rounds_to_list_ == 0 ? rounds_per_list : rounds_to_list_) - 1;
        tell_service("found");
        if (known_) compare(*known_, seen);
        known_ = std::move(seen);
    }

  private:
    void ask_for_lists(snapshot& seen) {
        channels_ = static_cast<int>(lutc::model_info().channels.size());
        seen[{"presets", 0}] = ask(list_presets);
    }

    void ask_for_the_rest(snapshot& seen) const {
        seen[{"override", 0}] = ask([] { return show_choice(lutc::get_override_preset()); });
        for (int channel = 1; channel <= channels_; ++channel) {
            seen[{"selection", channel}] = ask([&] { return show_choice(lutc::get_preset(channel)); });
            seen[{"state", channel}] = ask([&] { return ordered_json(lutc::get_state(channel)); });
        }
        for (const std::string& option : options_) {
            seen[{"option " + option, 0}] = ask([&] { return ordered_json(lutc::get_option(option)); });
        }
        for (auto& [thing, value] : seen) {
            if (thing.first.rfind("route ", 0) == 0) value = nullptr;  // unless it is still there
        }
        for (const lutc::video_connection& route : lutc::get_video_connections()) {
            const std::string destination = show_end(route.destination_type, route.destination_index);
            seen[{"route " + destination, 0}] = show_end(route.source_type, route.source_index);
        }
    }

    void compare(const snapshot& before, const snapshot& now) const {
        for (const auto& [thing, value] : now) {
            const auto found = before.find(thing);
            const ordered_json was = found == before.end() ? ordered_json() : found->second;
            if (value != was) print_change(thing, value, was);
        }
    }

    // Nothing is told at the start.
    void tell_service(const std::string& now) {
        if (!service_.empty() && now != service_) print_change({"service", 0}, now, service_);
        service_ = now;
    }

    void print_change(const watched_thing& thing, const ordered_json& value, const ordered_json& before) const {
        const auto& [name, channel] = thing;
        if (style_.json) {
            ordered_json line = {{"what", name}, {"channel", nullptr}, {"value", value}, {"before", before}};
            if (channel > 0) line["channel"] = channel;
            std::printf("%s\n", write_json(line).c_str());
        } else {
            const std::string of = channel > 0 ? "channel " + std::to_string(channel) + " " : "";
            std::printf("%s%s: %s (before: %s)\n", of.c_str(), printable(name).c_str(), write_value(value).c_str(),
                        write_value(before).c_str());
        }
        if (!flush_output()) throw failure(exit_refused, "standard output can't be written");
    }

    const output_style& style_;
    std::vector<std::string> options_;
    std::optional<snapshot> known_;
    std::string service_;
    int channels_ = 0;
    int rounds_to_list_ = 0;
};

struct watch_options {
    std::string interval = "1s";
    std::vector<std::string> options;

    void declare(const command& watch) {
        watch.add_text("--interval", interval, "Time between two rounds of questions, such as 200ms [1s]");
        watch.add_texts("--option", options, "An option to watch, by its name; may be repeated");
    }

    void run(const output_style& style) const {
        const std::chrono::milliseconds pause = read_interval(interval);
        std::signal(SIGINT, end_at_once);
        std::signal(SIGTERM, end_at_once);
        watcher device(style, options);
        for (;;) {
            const auto began = std::chrono::steady_clock::now();
            device.look();
            std::this_thread::sleep_until(began + pause);
        }
    }
};

}  // namespace

void add_watch(const command& tool) {
    tool.add<watch_options>("watch", "Print what changes, a line each, until Ctrl-C");
}

}  // namespace lutc_cli
