#include "simulator/page/journal.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <random>
#include <utility>

#include "simulator/page/state_json.h"

namespace simulator {

namespace {

constexpr std::size_t max_piece = 64 * 1024;
constexpr std::uint64_t max_news = 16;               // commands that a stream which has caught up is told of at once
const char* const reconnection = "retry: 1000\n\n";  // milliseconds, when the stream breaks

std::string make_instance() {
    std::random_device random;
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", random(), random());
    return text;
}

}  // namespace

journal::journal(std::function<void()> changed) : changed_(std::move(changed)), instance_(make_instance()) {}

void journal::add(const answered_command& command, bool has_changed) {
    log_.add({0, command.connection, command.text, command.reply_text, command.code, command.milliseconds,
              logged_message(command.message), logged_message(command.reply)});
    if (has_changed) ++revision_;
    changed_();
}

std::uint64_t journal::note(const std::string& text) {
    log_.note(log_.last(), text);
    const log_entry* const entry = log_.find(log_.last());
    return entry == nullptr ? 0 : entry->connection;
}

void journal::note_change() {
    ++revision_;
    changed_();
}

std::function<std::string()> journal::follow(const std::string& last_event_id) const {
    const std::uint64_t first = last_event_id.empty() ? log_.last() + 1 : number_behind(last_event_id);
    return [this, next = first, told = std::uint64_t{0}]() mutable { return events_from(next, told); };
}

// An id is INSTANCE.NUMBER.
std::uint64_t journal::number_behind(const std::string& event_id) const {
    std::uint64_t number = 0;
    const std::string start = instance_ + ".";
    if (event_id.compare(0, start.size(), start) != 0) return 1;
    std::from_chars(event_id.data() + start.size(), event_id.data() + event_id.size(), number);
    return std::min(number, log_.last()) + 1;
}

std::string journal::events_from(std::uint64_t& next, std::uint64_t& told) const {
    std::string text = told == 0 ? reconnection : "";
    const auto add = [&](std::uint64_t number, const char* event, const nlohmann::ordered_json& data) {
        text += "id: " + instance_ + "." + std::to_string(number) + "\nevent: " + event + "\ndata: " + to_text(data) +
                "\n\n";
    };
    next = std::max(next, log_.first());
    // More than anybody reads would cost the service as much time as the commands themselves.
    if (told != 0 && log_.last() - next + 1 > max_news) next = log_.last() - max_news + 1;
    for (; next <= log_.last() && text.size() < max_piece; ++next)
        add(next, "command", describe_entry(*log_.find(next)));
    if (next > log_.last() && told != revision_) {
        told = revision_;
        add(log_.last(), "state", {{"revision", revision_}, {"instance", instance_}});
    }
    return text;
}

}  // namespace simulator
