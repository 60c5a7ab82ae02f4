// lutc-trace: runs a program, and shows what it sends to the service and what comes back.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "terminal/command_tree.h"
#include "terminal/narrow_help.h"
#include "terminal/text.h"
#include "trace/reporter.h"

namespace {

constexpr int exit_own = 125, exit_not_startable = 126, exit_not_found = 127, exit_by_signal = 128;

const char* const footer =
    "Output:\n"
    "  N < ...  the Nth connection's command and its fields\n"
    "  N > ...  what came back, its code and message, and the milliseconds since the connect;\n"
    "           or why nothing came\n"
    "\n"
    "Exit codes:\n"
    "  125    lutc-trace itself failed, or was used wrongly\n"
    "  126    PROGRAM can't be run\n"
    "  127    there is no such program\n"
    "Else that of PROGRAM; a signal that ends it ends lutc-trace too.\n"
    "\n"
    "Example:\n"
    "  lutc-trace lutc presets list";

[[noreturn]] void fail(const std::string& sentence) {
    throw std::runtime_error(sentence + ": " + std::generic_category().message(errno));
}

void say(const std::string& sentence) {
    std::fprintf(stderr, "lutc-trace: %s\n", lutc_terminal::printable(sentence).c_str());
}

// Lies beside the program's own folder, wherever both were put. The loader takes blanks and colons for the ends of
// names: a path with one of them stands behind a descriptor of ours.
std::string find_library() {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::string path = (program.parent_path() / LUTC_MODULE_FOLDER / "lutc-trace.so").lexically_normal();
    const int opened = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (opened < 0) fail(path);
    if (path.find_first_of(" :;\t") == std::string::npos) {
        close(opened);
        return path;
    }
    return "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(opened);
}

void set_environment(const lutc_trace::reporter& reporter) {
    const char* const before = std::getenv("LD_PRELOAD");
    const std::string also = before != nullptr && *before != '\0' ? std::string(":") + before : "";
    setenv("LD_PRELOAD", (find_library() + also).c_str(), 1);
    setenv(lutc_trace::reporter_variable, reporter.write().c_str(), 1);
}

// The pipe's end, as the program is told of it.
lutc_trace::reporter describe_pipe(int descriptor) {
    struct stat pipe {
    }, error{};
    if (fstat(descriptor, &pipe) != 0) fail("can't make a pipe");
    fstat(STDERR_FILENO, &error);
    return {getpid(), descriptor, pipe.st_ino, error.st_dev, error.st_ino};
}

// Prints the lines that come through the pipe, and learns from its marks.
class trace_printer {
  public:
    explicit trace_printer(int pipe) : pipe_(pipe) {}

    // Prints what has come.
    void print() {
        char bytes[65536];
        for (ssize_t size; (size = ::read(pipe_, bytes, sizeof bytes)) > 0;)
            begun_.append(bytes, static_cast<std::size_t>(size));
        for (std::size_t end; (end = begun_.find('\n')) != std::string::npos; begun_.erase(0, end + 1))
            print(begun_.substr(0, end));
    }

    bool is_loaded = false, has_seen = false;

  private:
    void print(const std::string& line) {
        if (line == lutc_trace::loaded_mark) {
            is_loaded = true;
        } else if (line == lutc_trace::seen_mark) {
            has_seen = true;
        } else {
            std::fprintf(stderr, "%s\n", line.c_str());
        }
    }

    int pipe_;
    std::string begun_;
};

// A program that runs, and the signals that are meant for it.
class traced_program {
  public:
    // With the environment as it is then. An errno value.
    int start(const std::vector<std::string>& command) {
        sigset_t taken, before;
        sigemptyset(&taken);
        for (const int signal : {SIGCHLD, SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2})
            sigaddset(&taken, signal);
        sigprocmask(SIG_BLOCK, &taken, &before);
        signals_ = signalfd(-1, &taken, SFD_CLOEXEC | SFD_NONBLOCK);
        std::vector<char*> arguments;
        for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setsigmask(&attributes, &before);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
        const int error = posix_spawnp(&process_, arguments[0], nullptr, &attributes, arguments.data(), environ);
        posix_spawnattr_destroy(&attributes);
        return error;
    }

    int signals() const { return signals_; }

    // Its status, once it has ended. The terminal sends its signals to both; those of others are passed on.
    std::optional<int> look() const {
        signalfd_siginfo taken{};
        while (::read(signals_, &taken, sizeof taken) == sizeof taken) {
            if (taken.ssi_signo != SIGCHLD && taken.ssi_code <= 0) kill(process_, static_cast<int>(taken.ssi_signo));
        }
        int status = 0;
        return waitpid(process_, &status, WNOHANG) == process_ ? std::optional(status) : std::nullopt;
    }

  private:
    pid_t process_ = 0;
    int signals_ = -1;
};

// Ends as the program did.
int end_with(int status) {
    if (!WIFSIGNALED(status)) return WEXITSTATUS(status);
    const int signal = WTERMSIG(status);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);  // the program's own is enough
    sigset_t all;
    sigfillset(&all);
    ::signal(signal, SIG_DFL);
    raise(signal);
    sigprocmask(SIG_UNBLOCK, &all, nullptr);
    return exit_by_signal + signal;
}

int trace(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) fail("can't make a pipe");
    set_environment(describe_pipe(ends[0]));
    traced_program program;
    if (const int error = program.start(command)) {
        say(command[0] + ": " + std::generic_category().message(error));
        return error == ENOENT ? exit_not_found : exit_not_startable;
    }
    trace_printer printer(ends[0]);
    std::optional<int> status;
    while (!status) {
        pollfd waiting[] = {{ends[0], POLLIN, 0}, {program.signals(), POLLIN, 0}};
        poll(waiting, 2, -1);
        status = program.look();
        printer.print();
    }
    if (!printer.is_loaded)
        say("nothing to trace: " + command[0] +
            " takes no other library, as programs that are linked statically or run with another user's rights do");
    else if (!printer.has_seen)
        say("nothing to trace: no connection to the service was made through the RPC client library");
    return end_with(*status);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Runs a program, and shows what it sends to the colour service and what comes back.", "lutc-trace");
    app.set_version_flag("--version", "lutc-trace " LUTC_VERSION);
    lutc_terminal::narrow_help(app);
    lutc_terminal::add_command_tree_flag(app);
    app.footer(footer);
    std::vector<std::string> command;
    app.add_option("PROGRAM", command, "The program and its arguments");
    int own = 1;  // what stands behind the program is the program's
    while (own < argc && argv[own][0] == '-' && std::strcmp(argv[own], "--") != 0) ++own;
    try {
        app.parse(own, argv);
        if (own < argc && std::strcmp(argv[own], "--") == 0) ++own;
        if (own == argc) throw std::invalid_argument("which PROGRAM? (see --help)");
        return trace({argv + own, argv + argc});
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);
        say(std::string(error.what()) + " (see --help)");
    } catch (const std::exception& error) {
        say(error.what());
    }
    return exit_own;
}
