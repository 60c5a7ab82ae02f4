// What every connection of the simulator waits for. self keeps the connection alive meanwhile.
#ifndef LUTC_SIMULATOR_CONNECTION_WAITS_H
#define LUTC_SIMULATOR_CONNECTION_WAITS_H

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <memory>

namespace simulator {

constexpr std::chrono::milliseconds linger_time{2000};  // for a client to take the answer and close

// Calls action after the time, unless another time is set or the timer cancelled before.
template <class Connection, class Action>
void run_after(boost::asio::steady_timer& timer, std::chrono::milliseconds time, std::shared_ptr<Connection> self,
               Action action) {
    timer.expires_after(time);
    timer.async_wait([&timer, self, action](boost::system::error_code error) {
        // A wait that had ended when another time was set is delivered without an error.
        if (!error && timer.expiry() <= std::chrono::steady_clock::now()) action();
    });
}

// Reads and drops whatever the client still sends, until it closes or the socket is closed here; then self is closed.
template <class Connection>
void drain(boost::asio::ip::tcp::socket& socket, boost::asio::mutable_buffer scratch,
           std::shared_ptr<Connection> self) {
    socket.async_read_some(scratch, [&socket, scratch, self](boost::system::error_code error, std::size_t) {
        if (error) return self->close();
        drain(socket, scratch, self);
    });
}

}  // namespace simulator

#endif
