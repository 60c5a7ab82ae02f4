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
    bytes answer_one();

    // Answers every call from now on in processes of their own, one for each processor that this one may use. They end
    // with this object, and with this process at the latest.
    void start();

  private:
    [[noreturn]] void answer_forever();

    int listener_;
    std::vector<pid_t> workers_;
    bytes small_reply_ = small_reply();
    bytes list_reply_ = preset_list();
    bytes preset_reply_ = preset();
};

}  // namespace lutc_bench

#endif
