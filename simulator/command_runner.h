// A command that runs beside the service, which ends with it.
#ifndef LUTC_SIMULATOR_COMMAND_RUNNER_H
#define LUTC_SIMULATOR_COMMAND_RUNNER_H

#include <sys/types.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <string>
#include <vector>

namespace simulator {

class command_runner {
  public:
    // Starts the command, with this in its environment; when it ends, or can't be started, it stops the context.
    // SIGTERM is passed on to it. SIGINT is left to it, for a terminal sends that to both.
    command_runner(boost::asio::io_context& context, const std::vector<std::string>& command, const std::string& name,
                   const std::string& value);

    int exit_code() const { return exit_code_; }  // as a shell tells it

  private:
    void start(const std::vector<std::string>& command);
    void await_signal();

    boost::asio::io_context& context_;
    boost::asio::signal_set signals_;
    pid_t process_ = 0;
    int exit_code_ = 0;
};

}  // namespace simulator

#endif
