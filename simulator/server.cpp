#include "simulator/server.h"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <csignal>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "simulator/connection_waits.h"
#include "simulator/framing.h"

namespace simulator {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;

constexpr std::size_t read_size = 64 * 1024;

}  // namespace

// What all connections share.
struct server::shared_state {
    server_options options;
    service& colour_service;
    std::uint64_t connections = 0;
    std::size_t pending = 0;  // bytes of commands on their way in and of replies on their way out
    std::array<unsigned char, read_size> scratch{};  // every connection reads into it
};

namespace {

// One connection. It lives as long as something is under way on it.
class session : public std::enable_shared_from_this<session> {
  public:
    session(tcp::socket socket, std::shared_ptr<server::shared_state> shared)
        : socket_(std::move(socket)),
          timer_(socket_.get_executor()),
          lifetime_(std::move(shared)),
          shared_(*lifetime_),
          number_(++shared_.connections),
          framing_(shared_.options.max_command_size),
          deadline_(std::chrono::steady_clock::now() + shared_.options.deadline) {}

    ~session() { shared_.pending -= pending_; }
    session(const session&) = delete;
    session& operator=(const session&) = delete;

    void start() {
        error_code ignored;
        socket_.non_blocking(true, ignored);
        socket_.set_option(tcp::no_delay(true), ignored);
        await_command();
    }

    void close() {
        error_code ignored;
        timer_.cancel();
        socket_.close(ignored);
    }

  private:
    // Waits for readability rather than with a buffer of its own, so that silent connections cost next to nothing.
    void await_command() {
        const auto left = std::chrono::ceil<milliseconds>(deadline_ - std::chrono::steady_clock::now());
        run_after(timer_, std::min(shared_.options.idle_timeout, left), shared_from_this(), [this] {
            shared_.colour_service.log(number_, '-', "closed: no whole command in time");
            close();
        });
        socket_.async_wait(tcp::socket::wait_read, [self = shared_from_this()](error_code error) {
            if (!error) self->read_command();
        });
    }

    void read_command() {
        error_code error;
        const std::size_t count = socket_.read_some(asio::buffer(shared_.scratch), error);
        if (error == asio::error::would_block || error == asio::error::interrupted) return await_command();
        if (error) {
            if (!framing_.is_empty()) shared_.colour_service.log(number_, '-', "closed by the client within a command");
            return close();
        }
        try {
            const bool is_whole = framing_.add(shared_.scratch.data(), count);
            count_pending();
            if (shared_.pending > shared_.options.max_pending_size)
                throw refusal(reason::internal, "out of memory: too much is half received, or not read by its client");
            if (is_whole)
                deliver(shared_.colour_service.answer(number_, framing_.take()));
            else
                await_command();
        } catch (const refusal& why) {
            refuse(why);
        } catch (const std::bad_alloc&) {
            refuse(refusal(reason::internal, "out of memory"));
        }
    }

    void refuse(const refusal& why) {
        framing_ = command_framing(shared_.options.max_command_size);
        deliver(shared_.colour_service.refuse(number_, why));
    }

    void count_pending() {
        std::size_t held = framing_.memory();
        for (const delivery::piece& each : delivery_.pieces) held += each.bytes.size();
        shared_.pending += held - pending_;
        pending_ = held;
    }

    void deliver(delivery planned) {
        timer_.cancel();
        delivery_ = std::move(planned);
        count_pending();
        next_piece_ = 0;
        deliver_next();
    }

    void deliver_next() {
        if (next_piece_ == delivery_.pieces.size()) return finish();
        const std::uint32_t pause = delivery_.pieces[next_piece_].pause_milliseconds;
        if (pause == 0) return write_piece();
        timer_.expires_after(milliseconds(pause));
        timer_.async_wait([self = shared_from_this()](error_code error) {
            if (!error) self->write_piece();
        });
    }

    void write_piece() {
        run_after(timer_, shared_.options.idle_timeout, shared_from_this(), [this] { close(); });
        asio::async_write(socket_, asio::buffer(delivery_.pieces[next_piece_].bytes),
                          [self = shared_from_this()](error_code error, std::size_t) {
                              self->timer_.cancel();
                              if (error) return self->close();
                              ++self->next_piece_;
                              self->deliver_next();
                          });
    }

    void finish() {
        delivery_.pieces.clear();
        count_pending();
        error_code ignored;
        switch (delivery_.end) {
            case delivery::ending::reset:
                socket_.set_option(asio::socket_base::linger(true, 0), ignored);
                return close();
            case delivery::ending::hold:
                return drain_for(milliseconds(delivery_.hold_milliseconds));
            case delivery::ending::close:
                // Only this side is closed: closing with bytes unread would reset the connection, and the reply with it.
                socket_.shutdown(tcp::socket::shutdown_send, ignored);
                return drain_for(linger_time);
        }
    }

    void drain_for(milliseconds time) {
        run_after(timer_, time, shared_from_this(), [this] { close(); });
        drain(socket_, asio::buffer(shared_.scratch), shared_from_this());
    }

    tcp::socket socket_;
    asio::steady_timer timer_;
    const std::shared_ptr<server::shared_state> lifetime_;
    server::shared_state& shared_;
    const std::uint64_t number_;
    command_framing framing_;
    std::size_t pending_ = 0;  // what of shared_.pending is this connection's
    const std::chrono::steady_clock::time_point deadline_;
    delivery delivery_;
    std::size_t next_piece_ = 0;
};

}  // namespace

server::server(asio::io_context& context, const server_options& options, service& colour_service)
    : listener_(context, options.address, options.port), shared_(new shared_state{options, colour_service}) {}

void server::start() {
    listener_.start([this](tcp::socket socket) { std::make_shared<session>(std::move(socket), shared_)->start(); });
}

}  // namespace simulator
