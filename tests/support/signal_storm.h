// A signal every millisecond to the thread that makes it. A handler counts them.
#ifndef LUTC_TESTS_SUPPORT_SIGNAL_STORM_H
#define LUTC_TESTS_SUPPORT_SIGNAL_STORM_H

#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <atomic>

class signal_storm {
  public:
    signal_storm() {
        struct sigaction action {};
        action.sa_handler = [](int) { ++signals; };
        sigaction(SIGUSR1, &action, nullptr);
        sigevent target{};
        target.sigev_notify = SIGEV_THREAD_ID;
        target.sigev_signo = SIGUSR1;
        target._sigev_un._tid = static_cast<pid_t>(syscall(SYS_gettid));
        timer_create(CLOCK_MONOTONIC, &target, &timer_);
        const itimerspec every_millisecond{{0, 1000000}, {0, 1000000}};
        timer_settime(timer_, 0, &every_millisecond, nullptr);
    }
    ~signal_storm() { timer_delete(timer_); }

    static int count() { return signals; }

  private:
    static inline std::atomic<int> signals{0};
    timer_t timer_{};
};

#endif
