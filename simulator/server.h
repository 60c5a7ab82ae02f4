// The service on its socket: one command and one reply for each connection, on one thread.
#ifndef LUTC_SIMULATOR_SERVER_H
#define LUTC_SIMULATOR_SERVER_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "simulator/service.h"

namespace simulator {

struct server_options {
    std::string address = "127.0.0.1";
    std::uint16_t port = 54440;  // 0: any free one
    std::size_t max_command_size = 64u << 20;
    std::chrono::milliseconds idle_timeout{30000};  // how long a client may send nothing
};

// Listens, prints where, and serves until SIGINT or SIGTERM arrives. Throws std::runtime_error when the address can't
// be listened on.
void serve(const server_options& options, service& colour_service);

}  // namespace simulator

#endif
