// What a request asks for, and whether it may come from where it says.
#ifndef LUTC_SIMULATOR_PAGE_HTTP_TARGET_H
#define LUTC_SIMULATOR_PAGE_HTTP_TARGET_H

#include <boost/asio/ip/address.hpp>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>

namespace simulator {

struct http_target {
    std::string path;                          // decoded
    std::map<std::string, std::string> query;  // decoded
};

// Throws std::invalid_argument that says what is wrong with the target of a request line.
http_target read_target(std::string_view text);

// Whether a Host header names this machine: the address that the connection came in at, a loopback address, or
// localhost. Names of others could be bound to our address by whoever owns them.
bool is_own_host(std::string_view host, const boost::asio::ip::address& local);

}  // namespace simulator

#endif
