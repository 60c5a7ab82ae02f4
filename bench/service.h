// The least that answers the library: it reads one command, writes the reply that belongs to its name, and closes.
#ifndef LUTC_BENCH_SERVICE_H
#define LUTC_BENCH_SERVICE_H

#include <sys/types.h>

#include <vector>

#include "bench/samples.h"

namespace lutc_bench {

class service {
  public:
    service();  // listens on the service's port; throws std::runtime_error when it can't
    ~service();
    service(const service&) = delete;
    service& operator=(const service&) = delete;

    // Answers one call, here, and returns its command.
    bytes answerOne();

    // Answers every call from now on in processes of their own, one for each processor that this one may use. They end
    // with this object, and with this process at the latest.
    void start();

  private:
    [[noreturn]] void answerForever();

    int listener_;
    std::vector<pid_t> workers_;
    bytes smallReply_ = smallReply();
    bytes listReply_ = presetList();
    bytes presetReply_ = preset();
};

}  // namespace lutc_bench

#endif
