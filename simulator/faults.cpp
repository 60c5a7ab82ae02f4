#include "simulator/faults.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "simulator/commands.h"
#include "simulator/documents.h"

namespace simulator {

namespace {

struct kind_model {
    const char* name;
    std::uint32_t milliseconds;  // unless given
    const char* help;
};

constexpr kind_model kinds[] = {
    {"refuse", 0, "a reply with a code other than 0, after MS; the command isn't performed"},
    {"silence", 60000, "no reply; the connection is closed after MS"},
    {"close", 0, "no reply; the connection is closed, after MS"},
    {"reset", 0, "no reply; the connection is reset, after MS"},
    {"truncate", 0, "half of the reply, after MS"},
    {"trickle", 2, "the reply in up to 100 pieces, MS apart"},
    {"delay", 1000, "the reply, after MS"},
    {"garbage", 0, "random bytes instead of the reply, after MS"},
    {"length", 0, "a reply that says it is one byte longer than it is, after MS"},
    {"event-first", 60, "a message of another type, and the reply MS after it"},
    {"event-glued", 0, "a message of another type and the reply in one piece, after MS"},
};
constexpr std::size_t kind_count = sizeof kinds / sizeof kinds[0];

template <class T>
T number(const std::string& text, const char* what, T least) {
    T value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || value < least)
        throw std::invalid_argument(std::string(what) + " " + quoted(text) + " is not a number from " +
                                    std::to_string(least));
    return value;
}

std::vector<unsigned char> event_message() {
    bsonDocument event;
    event.addStringElement("type", std::string("event"));
    event.addInt32Element("msgID", 1);
    event.addStringElement("event", std::string("simulated"));
    return encoded(event);
}

std::vector<delivery::piece> trickled(const std::vector<unsigned char>& reply, std::uint32_t pause) {
    constexpr std::size_t piece_count = 100;
    const std::size_t size = std::max<std::size_t>(1, (reply.size() + piece_count - 1) / piece_count);
    std::vector<delivery::piece> pieces;
    for (std::size_t from = 0; from < reply.size(); from += size) {
        const auto begin = reply.begin() + static_cast<std::ptrdiff_t>(from);
        const auto end = reply.begin() + static_cast<std::ptrdiff_t>(std::min(from + size, reply.size()));
        pieces.push_back({from == 0 ? 0 : pause, std::vector<unsigned char>(begin, end)});
    }
    return pieces;
}

void lie_about_length(std::vector<unsigned char>& reply) {
    const auto lie = static_cast<std::uint32_t>(reply.size() + 1);
    for (unsigned i = 0; i < 4; ++i) reply[i] = static_cast<unsigned char>(lie >> (8 * i));
}

}  // namespace

const std::vector<std::string>& fault_names() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> result;
        for (const kind_model& kind : kinds) result.emplace_back(kind.name);
        return result;
    }();
    return names;
}

std::string fault_help() {
    std::string help;
    for (const kind_model& kind : kinds) {
        std::string name = kind.name;
        name.resize(13, ' ');
        help += "  " + name + kind.help + " [" + std::to_string(kind.milliseconds) + "]\n";
    }
    return help;
}

void fault_plan::add(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw std::invalid_argument("fault " + quoted(text) + " is not COMMAND[:N]=KIND[,MS]");
    std::string command = text.substr(0, equals), kind = text.substr(equals + 1);
    rule added{{}, 0, {fault_kind::refuse, 0}};
    if (const std::size_t colon = command.find(':'); colon != std::string::npos) {
        added.call = number<std::uint64_t>(command.substr(colon + 1), "call", 1);
        command.erase(colon);
    }
    std::optional<std::uint32_t> milliseconds;
    if (const std::size_t comma = kind.find(','); comma != std::string::npos) {
        milliseconds = number<std::uint32_t>(kind.substr(comma + 1), "milliseconds", 0);
        kind.erase(comma);
    }
    const std::vector<std::string> commands = command_names();
    if (command != "*" && std::find(commands.begin(), commands.end(), command) == commands.end())
        throw std::invalid_argument("there is no command " + quoted(command));
    const auto found = std::find(fault_names().begin(), fault_names().end(), kind);
    if (found == fault_names().end()) throw std::invalid_argument("there is no fault " + quoted(kind));
    const std::ptrdiff_t index = found - fault_names().begin();
    added.command = command;
    added.what = {static_cast<fault_kind>(index), milliseconds.value_or(kinds[index].milliseconds)};
    rules_.push_back(std::move(added));
}

std::optional<fault> fault_plan::next(const std::string& command) {
    std::optional<fault> meant;
    for (rule& one : rules_) {
        if (one.command != "*" && one.command != command) continue;
        ++one.seen;
        if (!meant && (one.call == 0 || one.call == one.seen)) meant = one.what;
    }
    if (meant) return meant;
    if (random_percent_ == 0 || random_() % 100 >= random_percent_) return std::nullopt;
    const std::size_t kind = random_() % kind_count;
    return fault{static_cast<fault_kind>(kind), kinds[kind].milliseconds};
}

delivery delivered(std::vector<unsigned char> reply, const std::optional<fault>& what, std::mt19937_64& random) {
    delivery result;
    if (!what) {
        result.pieces.push_back({0, std::move(reply)});
        return result;
    }
    const std::uint32_t pause = what->milliseconds;
    switch (what->kind) {
        case fault_kind::silence:
            result.end = delivery::ending::hold;
            result.hold_milliseconds = pause;
            return result;
        case fault_kind::close:
            result.pieces.push_back({pause, {}});
            return result;
        case fault_kind::reset:
            result.pieces.push_back({pause, {}});
            result.end = delivery::ending::reset;
            return result;
        case fault_kind::truncate:
            reply.resize(reply.size() / 2);
            break;
        case fault_kind::trickle:
            result.pieces = trickled(reply, pause);
            return result;
        case fault_kind::garbage:
            for (unsigned char& byte : reply) byte = static_cast<unsigned char>(random());
            break;
        case fault_kind::length:
            lie_about_length(reply);
            break;
        case fault_kind::event_first:
            result.pieces.push_back({0, event_message()});
            break;
        case fault_kind::event_glued: {
            std::vector<unsigned char> both = event_message();
            both.insert(both.end(), reply.begin(), reply.end());
            reply = std::move(both);
            break;
        }
        case fault_kind::refuse:
        case fault_kind::delay:
            break;
    }
    result.pieces.push_back({pause, std::move(reply)});
    return result;
}

}  // namespace simulator
