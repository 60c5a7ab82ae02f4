// What SIGINT, SIGTERM and SIGHUP leave behind: nothing.
#ifndef LUTC_CLI_CONSOLE_INTERRUPT_H
#define LUTC_CLI_CONSOLE_INTERRUPT_H

#include <csignal>
#include <string>

namespace lutc_cli {

// From here on these signals, unless they are ignored, remove the unfinished files and end the program with the exit
// code 128 and their number; and a file that becomes too large is a failure like others.
void take_interrupts();

// Files on their way. One that was added is removed by such a signal until it is dropped: call it before the file is
// made, and after it has got its place or was removed.
void add_unfinished(const std::string& path);
void drop_unfinished(const std::string& path);

// The signals wait while this lives.
class interrupt_pause {
  public:
    interrupt_pause();
    interrupt_pause(const interrupt_pause&) = delete;
    interrupt_pause& operator=(const interrupt_pause&) = delete;
    ~interrupt_pause();

  private:
    sigset_t before_;
};

}  // namespace lutc_cli

#endif
