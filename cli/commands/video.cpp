// lutc video list|connect
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include <lutc/lutc.hpp>
#include "cli/commands/commands.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

// By their type code.
constexpr std::array<const char*, 3> end_names = {"input", "channel", "output"};

struct connection_end {
    std::optional<lutc::video_end> type;
    int index = 0;
};

// "input:1" and the like.
connection_end read_end(const std::string& text) {
    const std::size_t colon = text.find(':');
    connection_end end;
    for (std::size_t i = 0; i < end_names.size(); ++i) {
        if (text.substr(0, colon) == end_names[i]) end.type = static_cast<lutc::video_end>(i);
    }
    const char* last = text.data() + text.size();
    const char* first = colon == std::string::npos ? last : text.data() + colon + 1;
    const auto [stop, error] = std::from_chars(first, last, end.index);
    if (!end.type || error != std::errc() || stop != last) {
        throw failure(exit_usage, "'" + text + "' is no end of a connection such as input:1, channel:2 or output:1");
    }
    return end;
}

ordered_json list_connections() {
    ordered_json list = ordered_json::array();
    for (const lutc::video_connection& route : lutc::get_video_connections()) {
        list.push_back({{"source", show_end(route.source_type, route.source_index)},
                        {"destination", show_end(route.destination_type, route.destination_index)}});
    }
    return {{"videoConnections", list}};
}

struct connect_options {
    std::string source;
    std::string destination;

    std::string subject() const { return source + " " + destination; }

    void declare(const command& connect) {
        connect.add_text("source", source, "input:N or channel:N").require();
        connect.add_text("destination", destination, "channel:N or output:N").require();
    }

    void run() const {
        const connection_end from = read_end(source);
        const connection_end to = read_end(destination);
        if (from.type == lutc::video_end::output) {
            throw failure(exit_usage, "'" + source + "' can't be a source: give an input or a channel");
        }
        if (to.type == lutc::video_end::input) {
            throw failure(exit_usage, "'" + destination + "' can't be a destination: give a channel or an output");
        }
        lutc::set_video_connection({from.type, from.index, to.type, to.index});
    }
};

}  // namespace

std::string show_end(const std::optional<lutc::video_end>& type, int index) {
    return (type ? end_names[static_cast<std::size_t>(*type)] : "unknown") + (":" + std::to_string(index));
}

void add_video(const command& tool) {
    const command group = tool.add_group("video", "Routing between inputs, channels and outputs");
    group.add("list", "Show the connections", list_connections);
    group.add<connect_options>("connect", "Make a connection, such as: connect input:1 channel:2");
}

}  // namespace lutc_cli
