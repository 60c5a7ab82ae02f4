// The service on its socket: one command and one reply for each connection, on one thread.
#ifndef LUTC_SIMULATOR_SERVER_H
#define LUTC_SIMULATOR_SERVER_H

#include <boost/asio/io_context.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "simulator/listener.h"
#include "simulator/service.h"

namespace simulator {

struct server_options {
    std::string address = "127.0.0.1";
    std::uint16_t port = 54440;  // 0: any free one
    std::size_t max_command_size = 32u << 20;
    std::size_t max_pending_size = 256u << 20;      // of commands half received and replies not read
    std::chrono::milliseconds idle_timeout{30000};  // how long a client may send nothing
    std::chrono::milliseconds deadline{60000};      // from the connection to the whole command
};

class server {
  public:
    // Listens. Throws std::runtime_error when it can't. The service outlives the context.
    server(boost::asio::io_context& context, const server_options& options, service& colour_service);

    std::uint16_t port() const { return listener_.port(); }
    void start();  // accepts connections, as long as this object lives

    struct shared_state;

  private:
    listener listener_;
    std::shared_ptr<shared_state> shared_;  // connections outlive this object
};

}  // namespace simulator

#endif
