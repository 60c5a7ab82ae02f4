#include <malloc.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "simulator/server.h"
#include "terminal/command_tree.h"

namespace {

constexpr int exit_stopped = 0, exit_failed = 1, exit_usage = 2;

const char* const faults_footer = R"(
Faults:
  COMMAND      a command's name, or * for any
  N            the N-th call of that command, from 1; without it every call
  MS           a pause in milliseconds
)";

const char* const codes_footer = R"(
Exit codes:
  0  stopped by SIGINT or SIGTERM
  1  it can't listen, or can't go on
  2  wrong usage)";

struct settings {
    simulator::server_options server;
    std::string media = "lutc-media";
    std::uint64_t seed = 1;
    unsigned random_faults = 0;
    std::vector<std::string> faults;
    bool quiet = false;
};

void describe(CLI::App& app, settings& to) {
    app.set_version_flag("--version", "lutc-simulator " LUTC_VERSION);
    lutc_terminal::add_command_tree_flag(app);
    app.footer(faults_footer + simulator::fault_help() + codes_footer);
    app.option_defaults()->always_capture_default();
    app.add_option("--address", to.server.address, "Address to listen on")->check(CLI::ValidIPV4);
    app.add_option("--port", to.server.port, "Port to listen on; 0 takes a free one");
    app.add_option("--media", to.media, "Folder that presets are saved to and loaded from; made by the first save");
    app.add_option("--max-command", to.server.max_command_size, "Longest command taken, in bytes")
        ->check(CLI::Range(std::size_t{5}, std::size_t{1} << 30));
    app.add_option_function<std::uint32_t>(
           "--idle-timeout", [&to](std::uint32_t seconds) { to.server.idle_timeout = std::chrono::seconds(seconds); },
           "Seconds of silence after which a connection is closed [30]")
        ->always_capture_default(false)
        ->check(CLI::Range(1u, 86400u));
    app.add_option("--fault", to.faults, "COMMAND[:N]=KIND[,MS]: what goes wrong, see below; may be repeated")
        ->always_capture_default(false)
        ->allow_extra_args(false);
    app.add_option("--random-faults", to.random_faults, "Percent of the calls that go wrong in a random way")
        ->check(CLI::Range(0u, 100u));
    app.add_option("--seed", to.seed, "Seed of the random faults");
    app.add_flag("--quiet", to.quiet, "Don't log commands and replies");
}

void print_line(std::uint64_t connection, char mark, const std::string& text) {
    std::printf("%llu %c %s\n", static_cast<unsigned long long>(connection), mark, text.c_str());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    mallopt(M_MMAP_THRESHOLD, 4 << 20);  // keep the memory of one preset's commands for the next
    mallopt(M_TRIM_THRESHOLD, 8 << 20);
    CLI::App app("A simulated colour service, to develop and test clients without the device.", "lutc-simulator");
    settings given;
    describe(app, given);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exit_stopped : exit_usage;
    }
    try {
        simulator::fault_plan faults(given.seed);
        faults.set_random_percent(given.random_faults);
        for (const std::string& fault : given.faults) faults.add(fault);
        simulator::service service(given.media, std::move(faults), given.quiet ? nullptr : print_line);
        simulator::serve(given.server, service);
        return exit_stopped;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "lutc-simulator: --fault: %s\n", error.what());
        return exit_usage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lutc-simulator: %s\n", error.what());
        return exit_failed;
    }
}
