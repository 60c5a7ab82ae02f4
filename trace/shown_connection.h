// A connection as lutc-trace shows it: a line for its command, and one for each message that comes back, or for why
// none came.
#ifndef LUTC_TRACE_SHOWN_CONNECTION_H
#define LUTC_TRACE_SHOWN_CONNECTION_H

#include <chrono>
#include <functional>
#include <string>

#include "trace/byte_stream.h"
#include "trace/connections.h"

namespace lutc_trace {

class shown_connection : public watcher {
  public:
    using printer = std::function<void(const std::string& line)>;

    explicit shown_connection(printer print) : print_(std::move(print)) {}

    void connected(int descriptor, int error) override;
    void wrote(const iovec* pieces, std::size_t count, ssize_t result, int error) override;
    void got(const void* bytes, ssize_t result, int error) override;
    void ends() override;

  private:
    void show_command(const byte_stream& command);
    void show_reply(const std::string& text);
    void peek();
    std::string why_none() const;

    printer print_;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    int descriptor_ = -1;
    int connect_error_ = 0;
    byte_stream sent_, offered_, received_;  // offered: what nothing was taken of
    bool is_command_shown_ = false, is_reply_shown_ = false;
    ssize_t last_read_ = 1;
    int read_error_ = 0;
};

}  // namespace lutc_trace

#endif
