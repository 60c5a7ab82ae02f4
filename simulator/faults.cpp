#include "simulator/faults.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <utility>

#include "simulator/commands.h"
#include "simulator/device/text.h"
#include "simulator/documents.h"
#include "terminal/suggestion.h"

namespace simulator {

namespace {

using bytes = std::vector<unsigned char>;

// What each kind changes in a delivery that is the whole reply in one piece, after MS.
void send_whole(delivery&, std::mt19937_64&) {}

void hold(delivery& sent, std::mt19937_64&) { sent = {{}, delivery::ending::hold, sent.pieces[0].pause_milliseconds}; }

void close(delivery& sent, std::mt19937_64&) { sent.pieces[0].bytes.clear(); }

void reset(delivery& sent, std::mt19937_64&) {
    sent.pieces[0].bytes.clear();
    sent.end = delivery::ending::reset;
}

void truncate(delivery& sent, std::mt19937_64&) { sent.pieces[0].bytes.resize(sent.pieces[0].bytes.size() / 2); }

void trickle(delivery& sent, std::mt19937_64&) {
    constexpr std::size_t piece_count = 100;
    const auto [pause, reply] = std::move(sent.pieces[0]);
    const std::size_t size = (reply.size() + piece_count - 1) / piece_count;
    sent.pieces.clear();
    for (std::size_t from = 0; from < reply.size(); from += size) {
        const unsigned char* begin = reply.data() + from;
        sent.pieces.push_back({from == 0 ? 0 : pause, bytes(begin, begin + std::min(size, reply.size() - from))});
    }
}

void send_garbage(delivery& sent, std::mt19937_64& random) {
    for (unsigned char& byte : sent.pieces[0].bytes) byte = static_cast<unsigned char>(random());
}

void lie_about_length(delivery& sent, std::mt19937_64&) {
    bytes& reply = sent.pieces[0].bytes;
    const std::size_t lie = reply.size() + 1;
    for (unsigned i = 0; i < 4; ++i) reply[i] = static_cast<unsigned char>(lie >> (8 * i));
}

bytes event_message() {
    bsonDocument event;
    event.addStringElement("type", "event");
    event.addInt32Element("msgID", 1);
    event.addStringElement("event", "simulated");
    return encode(event);
}

void send_event_first(delivery& sent, std::mt19937_64&) {
    sent.pieces.insert(sent.pieces.begin(), {0, event_message()});
}

void send_event_glued(delivery& sent, std::mt19937_64&) {
    const bytes event = event_message();
    bytes& reply = sent.pieces[0].bytes;
    reply.insert(reply.begin(), event.begin(), event.end());
}

template <class T>
T number(const std::string& text, const char* noun, T least) {
    T value = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || value < least)
        throw std::invalid_argument(std::string(noun) + " " + quote(text) + " is not a number from " +
                                    std::to_string(least));
    return value;
}

}  // namespace

const std::vector<fault_kind> fault_kinds{
    {"refuse", 0, "a reply with a code other than 0, after MS; the command isn't performed", false, send_whole},
    {"silence", 60000, "no reply; the connection is closed after MS", true, hold},
    {"close", 0, "no reply; the connection is closed, after MS", true, close},
    {"reset", 0, "no reply; the connection is reset, after MS", true, reset},
    {"truncate", 0, "half of the reply, after MS", true, truncate},
    {"trickle", 2, "the reply in up to 100 pieces, MS apart", true, trickle},
    {"delay", 1000, "the reply, after MS", true, send_whole},
    {"garbage", 0, "random bytes instead of the reply, after MS", true, send_garbage},
    {"length", 0, "a reply that says it is one byte longer than it is, after MS", true, lie_about_length},
    {"event-first", 60, "a message of another type, and the reply MS after it", true, send_event_first},
    {"event-glued", 0, "a message of another type and the reply in one piece, after MS", true, send_event_glued},
};

std::string fault_help() {
    std::string help;
    for (const fault_kind& kind : fault_kinds) {
        std::string name(kind.name);
        name.resize(13, ' ');
        help += "  " + name + kind.help + " [" + std::to_string(kind.milliseconds) + "]\n";
    }
    return help;
}

std::string fault::name() const {
    return (kind->is_performed && !is_performed ? "before-" : "") + std::string(kind->name);
}

void fault_plan::add(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos)
        throw std::invalid_argument("fault " + quote(text) + " is not COMMAND[:N[-M]]=[before-]KIND[,MS]");
    std::string command = text.substr(0, equals), kind = text.substr(equals + 1);
    rule added{text, {}, 0, 0, {}};
    if (const std::size_t colon = command.find(':'); colon != std::string::npos) {
        const std::string calls = command.substr(colon + 1);
        const std::size_t dash = calls.find('-');
        added.first = number<std::uint64_t>(calls.substr(0, dash), "call", 1);
        added.last = dash == std::string::npos ? added.first
                                               : number<std::uint64_t>(calls.substr(dash + 1), "call", added.first);
        command.erase(colon);
    }
    constexpr std::string_view before = "before-";
    const bool is_before = kind.compare(0, before.size(), before) == 0;
    if (is_before) kind.erase(0, before.size());
    std::optional<std::uint32_t> milliseconds;
    if (const std::size_t comma = kind.find(','); comma != std::string::npos) {
        milliseconds = number<std::uint32_t>(kind.substr(comma + 1), "milliseconds", 0);
        kind.erase(comma);
    }
    const std::vector<std::string> commands = command_names();
    if (command != "*" && std::find(commands.begin(), commands.end(), command) == commands.end())
        throw std::invalid_argument("there is no command " + quote(command) +
                                    lutc_terminal::suggest(command, commands));
    const auto found = std::find_if(fault_kinds.begin(), fault_kinds.end(),
                                    [&](const fault_kind& known) { return known.name == kind; });
    if (found == fault_kinds.end()) {
        std::vector<std::string> kinds;
        for (const fault_kind& known : fault_kinds) kinds.emplace_back(known.name);
        throw std::invalid_argument("there is no fault " + quote(kind) + lutc_terminal::suggest(kind, kinds));
    }
    added.command = command;
    added.wrong = {&*found, milliseconds.value_or(found->milliseconds), found->is_performed && !is_before};
    rules_.push_back(std::move(added));
}

std::vector<std::string> fault_plan::list() const {
    std::vector<std::string> texts;
    for (const rule& known : rules_) texts.push_back(known.text);
    return texts;
}

bool fault_plan::remove(std::string_view text) {
    const auto found =
        std::find_if(rules_.begin(), rules_.end(), [&](const rule& known) { return known.text == text; });
    if (found == rules_.end()) return false;
    rules_.erase(found);
    return true;
}

std::optional<fault> fault_plan::next(std::string_view command) {
    std::optional<fault> wrong;
    for (rule& known : rules_) {
        if (known.command != "*" && known.command != command) continue;
        ++known.seen;
        const bool fits = known.first == 0 || (known.first <= known.seen && known.seen <= known.last);
        if (!wrong && fits) wrong = known.wrong;
    }
    const auto is_over = [](const rule& known) { return known.first != 0 && known.seen >= known.last; };
    rules_.erase(std::remove_if(rules_.begin(), rules_.end(), is_over), rules_.end());
    if (wrong) return wrong;
    if (random_percent_ == 0 || random_() % 100 >= random_percent_) return std::nullopt;
    const fault_kind& kind = fault_kinds[random_() % fault_kinds.size()];
    return fault{&kind, kind.milliseconds, kind.is_performed};
}

delivery fault_plan::send(std::vector<unsigned char> reply, const std::optional<fault>& wrong) {
    delivery result;
    result.pieces.push_back({wrong ? wrong->milliseconds : 0, std::move(reply)});
    if (wrong) wrong->kind->shape(result, random_);
    return result;
}

}  // namespace simulator
