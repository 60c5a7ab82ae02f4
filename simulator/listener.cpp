#include "simulator/listener.h"

#include <fcntl.h>

#include <chrono>
#include <stdexcept>
#include <utility>

namespace simulator {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

constexpr std::chrono::milliseconds accept_pause{50};  // when there is no descriptor for a new connection

}  // namespace

listener::listener(asio::io_context& context, const std::string& address, std::uint16_t port)
    : acceptor_(context), timer_(context) {
    try {
        const tcp::endpoint wanted(asio::ip::make_address(address), port);
        acceptor_.open(wanted.protocol());
        ::fcntl(acceptor_.native_handle(), F_SETFD, FD_CLOEXEC);
        acceptor_.set_option(tcp::acceptor::reuse_address(true));
        acceptor_.bind(wanted);
        acceptor_.listen();
    } catch (const boost::system::system_error& error) {
        throw std::runtime_error("can't listen on " + address + ":" + std::to_string(port) + ": " +
                                 error.code().message());
    }
}

void listener::start(std::function<void(tcp::socket)> admit) {
    admit_ = std::move(admit);
    accept();
}

void listener::accept() {
    acceptor_.async_accept([this](error_code error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) return;
        if (!error) {
            admit_(std::move(socket));
            return accept();
        }
        timer_.expires_after(accept_pause);
        timer_.async_wait([this](error_code stopped) {
            if (!stopped) accept();
        });
    });
}

}  // namespace simulator
