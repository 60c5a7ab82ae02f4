// One HTTP connection: requests read, answers written, with their limits and times.
#ifndef LUTC_SIMULATOR_PAGE_HTTP_CONNECTION_H
#define LUTC_SIMULATOR_PAGE_HTTP_CONNECTION_H

#include <boost/asio/ip/tcp.hpp>
#include <memory>

#include "simulator/page/http.h"

namespace simulator {

// It joins the server when it is made, lives as long as something is under way on it, and leaves the server when it
// ends.
class http_connection {
  public:
    virtual ~http_connection() = default;

    virtual void start() = 0;
    virtual void wake() = 0;    // an event stream has something to send
    virtual void detach() = 0;  // the server has ended

    virtual bool is_admitted() const = 0;  // otherwise it is told that there are too many
    virtual bool is_stream() const = 0;
};

std::shared_ptr<http_connection> make_connection(boost::asio::ip::tcp::socket socket, http_server& server,
                                                 bool is_admitted);

}  // namespace simulator

#endif
