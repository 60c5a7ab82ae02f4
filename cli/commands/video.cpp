// lutc video list|connect
#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <memory>
#include <nlohmann/json.hpp>

#include <lutc/lutc.h>
#include "cli/commands.h"
#include "cli/output.h"
#include "cli/service.h"

namespace lutc_cli {
namespace {

using nlohmann::ordered_json;

// By their type code.
constexpr std::array<const char*, 3> end_names = {"input", "channel", "output"};

struct End {
    int type = -1;
    int index = 0;
};

// "input:1" and the like.
End read_end(const std::string& text) {
    const std::size_t colon = text.find(':');
    End end;
    for (std::size_t i = 0; i < end_names.size(); ++i) {
        if (text.substr(0, colon) == end_names[i]) end.type = static_cast<int>(i);
    }
    const char* last = text.data() + text.size();
    const char* first = colon == std::string::npos ? last : text.data() + colon + 1;
    const auto [stop, error] = std::from_chars(first, last, end.index);
    if (end.type < 0 || error != std::errc() || stop != last) {
        throw Failure(exit_usage, "'" + text + "' is no end of a connection such as input:1, channel:2 or output:1");
    }
    return end;
}

std::string shown_end(int type, int index) {
    const bool known = type >= 0 && type < static_cast<int>(end_names.size());
    return (known ? end_names[static_cast<std::size_t>(type)] : "unknown") + (":" + std::to_string(index));
}

void list_connections(const Context& context) {
    // A type that the library doesn't know leaves its field alone.
    std::array<videoConnection, LUTC_MAX_VIDEO_CONNECTIONS> connections;
    connections.fill(videoConnection{-1, 0, -1, 0});
    int count = 0;
    require_success("video list", lutc_get_video_connections(connections.data(), &count));
    ordered_json list = ordered_json::array();
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const videoConnection& record = connections[i];
        list.push_back({{"source", shown_end(record.sourceType, record.sourceIndex)},
                        {"destination", shown_end(record.destinationType, record.destinationIndex)}});
    }
    print_result(context, {{"videoConnections", list}});
}

void connect_ends(const std::string& from, const std::string& to) {
    const End source = read_end(from);
    const End destination = read_end(to);
    if (source.type == LUTC_VIDEO_OUTPUT) {
        throw Failure(exit_usage, "'" + from + "' can't be a source: give an input or a channel");
    }
    if (destination.type == LUTC_VIDEO_INPUT) {
        throw Failure(exit_usage, "'" + to + "' can't be a destination: give a channel or an output");
    }
    const videoConnection connection{source.type, source.index, destination.type, destination.index};
    require_success("video connect " + from + " " + to, lutc_set_video_connection(&connection));
}

}  // namespace

void add_video_commands(CLI::App& app, Context& context) {
    CLI::App* group = app.add_subcommand("video", "Routing between inputs, channels and outputs");
    group->require_subcommand(1);
    group->add_subcommand("list", "Show the connections")->callback([&context] { list_connections(context); });

    struct Options {
        std::string source;
        std::string destination;
    };
    auto options = std::make_shared<Options>();
    CLI::App* connect = group->add_subcommand("connect", "Make a connection, such as: connect input:1 channel:2");
    connect->add_option("source", options->source, "input:N or channel:N")->required();
    connect->add_option("destination", options->destination, "channel:N or output:N")->required();
    connect->callback([options, &context] {
        connect_ends(options->source, options->destination);
        print_done(context);
    });
}

}  // namespace lutc_cli
