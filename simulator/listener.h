// A listening socket on the event loop, for the service as for the page.
#ifndef LUTC_SIMULATOR_LISTENER_H
#define LUTC_SIMULATOR_LISTENER_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdint>
#include <functional>
#include <string>

namespace simulator {

class listener {
  public:
    // Listens at once; port 0 takes a free one. Throws std::runtime_error when it can't.
    listener(boost::asio::io_context& context, const std::string& address, std::uint16_t port);

    std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

    // Hands over each connection, as long as this object and the context live.
    void start(std::function<void(boost::asio::ip::tcp::socket)> admit);

  private:
    void accept();

    boost::asio::ip::tcp::acceptor acceptor_;
    boost::asio::steady_timer timer_;
    std::function<void(boost::asio::ip::tcp::socket)> admit_;
};

}  // namespace simulator

#endif
