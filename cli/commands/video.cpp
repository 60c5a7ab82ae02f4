// lutc video list|connect
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands/commands.h"
#include "cli/console/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

// By their type code.
constexpr std::array<const char*, 3> end_names = {"input", "channel", "output"};

struct connection_end {
    int type = -1;
    int index = 0;
};

// "input:1" and the like.
connection_end read_end(const std::string& text) {
    const std::size_t colon = text.find(':');
    connection_end end;
    for (std::size_t i = 0; i < end_names.size(); ++i) {
        if (text.substr(0, colon) == end_names[i]) end.type = static_cast<int>(i);
    }
    const char* last = text.data() + text.size();
    const char* first = colon == std::string::npos ? last : text.data() + colon + 1;
    const auto [stop, error] = std::from_chars(first, last, end.index);
    if (end.type < 0 || error != std::errc() || stop != last) {
        throw failure(exit_usage, "'" + text + "' is no end of a connection such as input:1, channel:2 or output:1");
    }
    return end;
}

std::string show_end(int type, int index) {
    const bool is_known = type >= 0 && type < static_cast<int>(end_names.size());
    return (is_known ? end_names[static_cast<std::size_t>(type)] : "unknown") + (":" + std::to_string(index));
}

ordered_json list_connections() {
    // A type that the library doesn't know leaves its field alone.
    std::array<videoConnection, LUTC_MAX_VIDEO_CONNECTIONS> connections;
    connections.fill(videoConnection{-1, 0, -1, 0});
    int count = 0;
    require_success("video list", lutc_get_video_connections(connections.data(), &count));
    ordered_json list = ordered_json::array();
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const videoConnection& record = connections[i];
        list.push_back({{"source", show_end(record.sourceType, record.sourceIndex)},
                        {"destination", show_end(record.destinationType, record.destinationIndex)}});
    }
    return {{"videoConnections", list}};
}

struct connect_options {
    std::string source;
    std::string destination;

    void declare(const command& connect) {
        connect.add_text("source", source, "input:N or channel:N").require();
        connect.add_text("destination", destination, "channel:N or output:N").require();
    }

    void run() const {
        const connection_end from = read_end(source);
        const connection_end to = read_end(destination);
        if (from.type == LUTC_VIDEO_OUTPUT) {
            throw failure(exit_usage, "'" + source + "' can't be a source: give an input or a channel");
        }
        if (to.type == LUTC_VIDEO_INPUT) {
            throw failure(exit_usage, "'" + destination + "' can't be a destination: give a channel or an output");
        }
        const videoConnection connection{from.type, from.index, to.type, to.index};
        require_success("video connect " + source + " " + destination, lutc_set_video_connection(&connection));
    }
};

}  // namespace

void add_video(const command& tool) {
    const command group = tool.add_group("video", "Routing between inputs, channels and outputs");
    group.add("list", "Show the connections", list_connections);
    group.add<connect_options>("connect", "Make a connection, such as: connect input:1 channel:2");
}

}  // namespace lutc_cli
