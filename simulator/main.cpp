#include <malloc.h>

#include <CLI/CLI.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "simulator/command_runner.h"
#include "simulator/page/page.h"
#include "simulator/server.h"
#include "simulator/start_files.h"
#include "terminal/command_tree.h"
#include "terminal/narrow_help.h"
#include "terminal/text.h"

namespace {

constexpr int exit_stopped = 0, exit_failed = 1, exit_usage = 2;

const char* const faults_footer = R"(
Faults:
  COMMAND      a command's name, or * for any
  N            the N-th call of that command, from 1; N-M: from the N-th to the M-th; without it every call
  before-      the command isn't performed; where there is a reply, it is a refusal
  MS           a pause in milliseconds
)";

const char* const codes_footer = R"(
Exit codes:
  0  stopped by SIGINT or SIGTERM
  1  it can't listen, or can't go on
  2  wrong usage
With --run: that of COMMAND; 128 and the number of the signal that ended it, 126 when it can't be run, 127 when there is
no such command

Example:
  lutc-simulator --page 8080 --input 1=shot.png --fault 'sendPreset:2=close')";

struct settings {
    simulator::server_options server;
    std::string media = "lutc-media";
    std::string device, backup;
    std::uint64_t seed = 1;
    unsigned random_faults = 0;
    std::vector<std::string> faults;
    bool quiet = false;
    std::string page;  // [ADDRESS:]PORT; empty: none
    std::vector<std::string> inputs;
    bool run = false;
    std::vector<std::string> command;
};

void describe_page(CLI::App& app, settings& to) {
    const auto plain = [](CLI::Option* option) { option->always_capture_default(false)->allow_extra_args(false); };
    plain(app.add_option("--page", to.page,
                         "[ADDRESS:]PORT: serve the device and its pictures over HTTP; 0 takes a free port"));
    plain(app.add_option("--input", to.inputs, "N=FILE or N=none: the picture of input N, a PNG; with --page"));
    app.add_flag("--run", to.run, "Run COMMAND with LUTC_PAGE in its environment, and end with it; implies --page 0");
    app.add_option("COMMAND", to.command, "After --, with --run: the command and its arguments")
        ->always_capture_default(false);
}

void describe(CLI::App& app, settings& to) {
    app.set_version_flag("--version", "lutc-simulator " LUTC_VERSION);
    lutc_terminal::narrow_help(app);
    lutc_terminal::add_command_tree_flag(app);
    app.footer(faults_footer + simulator::fault_help() + codes_footer);
    app.option_defaults()->always_capture_default();
    app.add_option("--address", to.server.address, "Address to listen on")->check(CLI::ValidIPV4);
    app.add_option("--port", to.server.port, "Port to listen on; 0 takes a free one");
    app.add_option("--media", to.media, "Folder that presets are saved to and loaded from; made by the first save");
    app.add_option("--device", to.device, "JSON file of another device, with fields as in lutc model --json")
        ->always_capture_default(false);
    app.add_option("--library", to.backup, "Folder of a backup whose presets the library has at the start")
        ->always_capture_default(false);
    app.add_option("--max-command", to.server.max_command_size, "Longest command taken, in bytes")
        ->check(CLI::Range(std::size_t{5}, std::size_t{1} << 30));
    app.add_option("--max-pending", to.server.max_pending_size,
                   "Most bytes of commands half received and replies not read, in all")
        ->check(CLI::Range(std::size_t{65536}, std::size_t{1} << 40));
    const auto add_seconds = [&app](const char* name, std::chrono::milliseconds& value, const char* help) {
        app.add_option_function<std::uint32_t>(
               name, [&value](std::uint32_t seconds) { value = std::chrono::seconds(seconds); }, help)
            ->always_capture_default(false)
            ->check(CLI::Range(1u, 86400u));
    };
    add_seconds("--idle-timeout", to.server.idle_timeout, "Seconds of silence after which a connection is closed [30]");
    add_seconds("--deadline", to.server.deadline,
                "Seconds after which a connection without a whole command is closed [60]");
    app.add_option("--fault", to.faults,
                   "COMMAND[:N[-M]]=[before-]KIND[,MS]: what goes wrong, see below; may be repeated")
        ->always_capture_default(false)
        ->allow_extra_args(false);
    app.add_option("--random-faults", to.random_faults, "Percent of the calls that go wrong in a random way")
        ->check(CLI::Range(0u, 100u));
    app.add_option("--seed", to.seed, "Seed of the random faults");
    app.add_flag("--quiet", to.quiet, "Don't log commands and replies");
    describe_page(app, to);
}

// The first lines, and then the log. With --run standard output is the command's own.
class printer {
  public:
    explicit printer(std::FILE* to) : to_(to) {}

    void operator()(std::uint64_t connection, char mark, const std::string& text) const {
        timespec now{};
        tm local{};
        char clock[16];
        ::clock_gettime(CLOCK_REALTIME, &now);
        std::strftime(clock, sizeof clock, "%H:%M:%S", ::localtime_r(&now.tv_sec, &local));
        std::fprintf(to_, "%s.%03ld %llu %c %s\n", clock, now.tv_nsec / 1000000,
                     static_cast<unsigned long long>(connection), mark, text.c_str());
        std::fflush(to_);
    }
    void say(const std::string& text) const {
        std::fprintf(to_, "lutc-simulator: %s\n", lutc_terminal::printable(text).c_str());
        std::fflush(to_);
    }

  private:
    std::FILE* to_;
};

void check(settings& given) {
    if (given.run == given.command.empty()) throw std::invalid_argument("--run and a COMMAND behind -- go together");
    if (given.run && given.page.empty()) given.page = "0";
    if (!given.inputs.empty() && given.page.empty()) throw std::invalid_argument("--input needs --page");
}

simulator::device_start read_start(const settings& given) {
    simulator::device_start start;
    if (!given.device.empty()) start.model = simulator::read_device(given.device);
    if (!given.backup.empty()) start.presets = simulator::read_backup(given.backup, start.model);
    return start;
}

void add_faults(simulator::fault_plan& to, const std::vector<std::string>& faults) {
    try {
        for (const std::string& fault : faults) to.add(fault);
    } catch (const std::invalid_argument& error) {
        throw std::invalid_argument(std::string("--fault: ") + error.what());
    }
}

int run(const settings& given, simulator::service& service, const printer& print) {
    boost::asio::io_context context(1);
    simulator::server connections(context, given.server, service);
    std::optional<simulator::page> page;
    if (!given.page.empty()) {
        simulator::page_options options = simulator::read_page_place(given.page);
        options.inputs = given.inputs;
        page.emplace(context, options, service);
        if (page->is_open_to_others()) {
            std::fputs(
                "lutc-simulator: warning: whoever reaches this machine can read and change the device by its page\n",
                stderr);
        }
        print.say("page at " + page->url() + "/");
        page->start();
    }
    boost::asio::signal_set signals(context);  // ahead of the line that tells others that it may be stopped
    if (!given.run) {
        signals.add(SIGINT);
        signals.add(SIGTERM);
        signals.async_wait([&](boost::system::error_code, int) { context.stop(); });
    }
    if (!boost::asio::ip::make_address(given.server.address).is_loopback())
        std::fputs("lutc-simulator: warning: whoever reaches this machine can command the device\n", stderr);
    print.say("listening on " + given.server.address + ":" + std::to_string(connections.port()));
    connections.start();
    if (given.run) {
        simulator::command_runner command(context, given.command, "LUTC_PAGE", page->url());
        context.run();
        return command.exit_code();
    }
    context.run();
    return exit_stopped;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);       // writing more than a file may hold fails
    mallopt(M_MMAP_THRESHOLD, 4 << 20);  // keep the memory of one preset's commands for the next
    mallopt(M_TRIM_THRESHOLD, 8 << 20);
    CLI::App app("A simulated colour service, to develop and test clients without the device.", "lutc-simulator");
    settings given;
    describe(app, given);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        std::fprintf(stderr, "lutc-simulator: %s (see --help)\n", lutc_terminal::printable(error.what()).c_str());
        return exit_usage;
    }
    try {
        check(given);
        simulator::fault_plan faults(given.seed);
        faults.set_random_percent(given.random_faults);
        add_faults(faults, given.faults);
        const printer print(given.run ? stderr : stdout);
        simulator::service::log_sink log;
        if (!given.quiet) log = print;
        simulator::service service(given.media, std::move(faults), log, read_start(given));
        return run(given, service, print);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "lutc-simulator: %s\n", lutc_terminal::printable(error.what()).c_str());
        return exit_usage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "lutc-simulator: %s\n", lutc_terminal::printable(error.what()).c_str());
        return exit_failed;
    }
}
