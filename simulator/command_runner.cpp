#include "simulator/command_runner.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "terminal/text.h"

namespace simulator {

namespace {

constexpr int not_found = 127, not_startable = 126, by_signal = 128;

}  // namespace

command_runner::command_runner(boost::asio::io_context& context, const std::vector<std::string>& command,
                               const std::string& name, const std::string& value)
    : context_(context), signals_(context, SIGCHLD, SIGINT, SIGTERM) {
    ::setenv(name.c_str(), value.c_str(), 1);
    start(command);
}

void command_runner::start(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    // SIGPIPE is ignored here, and would be there.
    posix_spawnattr_t attributes;
    sigset_t defaults;
    ::sigemptyset(&defaults);
    ::sigaddset(&defaults, SIGPIPE);
    ::sigaddset(&defaults, SIGXFSZ);
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigdefault(&attributes, &defaults);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int error = ::posix_spawnp(&process_, arguments[0], nullptr, &attributes, arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    if (error == 0) return await_signal();
    std::fprintf(stderr, "lutc-simulator: can't run %s: %s\n", lutc_terminal::printable(arguments[0]).c_str(),
                 std::strerror(error));
    exit_code_ = error == ENOENT ? not_found : not_startable;
    context_.stop();
}

void command_runner::await_signal() {
    signals_.async_wait([this](boost::system::error_code error, int signal) {
        if (error) return;
        int status = 0;
        if (signal == SIGTERM) ::kill(process_, SIGTERM);
        if (signal != SIGCHLD || ::waitpid(process_, &status, WNOHANG) != process_) return await_signal();
        exit_code_ = WIFSIGNALED(status) ? by_signal + WTERMSIG(status) : WEXITSTATUS(status);
        context_.stop();
    });
}

}  // namespace simulator
