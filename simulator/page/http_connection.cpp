#include "simulator/page/http_connection.h"

#include <algorithm>
#include <array>
#include <boost/asio/buffer.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "simulator/connection_waits.h"
#include "simulator/page/http_target.h"

namespace simulator {

namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint32_t max_header_size = 8 * 1024;
constexpr std::uint64_t max_body_size = 64 * 1024;
constexpr std::size_t buffer_size = 16 * 1024;
constexpr seconds request_time{10}, progress_time{10}, comment_time{15};

// On every answer. Nothing of the page is for another page, in a frame or out of it, and it runs no script but its own.
constexpr std::pair<const char*, const char*> guarding_headers[] = {
    {"Cache-Control", "no-cache"},
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
    {"Referrer-Policy", "no-referrer"},
    {"X-Content-Type-Options", "nosniff"},
};

// One connection. It lives as long as something is under way on it.
class connection : public http_connection, public std::enable_shared_from_this<connection> {
  public:
    connection(tcp::socket socket, http_server& server, bool is_admitted)
        : socket_(std::move(socket)),
          timer_(socket_.get_executor()),
          buffer_(buffer_size),
          server_(&server),
          is_admitted_(is_admitted) {
        server.join(*this);
    }
    ~connection() override { leave(); }
    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;

    bool is_admitted() const override { return is_admitted_; }
    bool is_stream() const override { return next_ != nullptr; }
    void detach() override { server_ = nullptr; }

    void start() override {
        error_code ignored;
        socket_.set_option(tcp::no_delay(true), ignored);
        local_ = socket_.local_endpoint(ignored).address();
        if (is_admitted_) return read_request();
        refuse(503, "there are " + std::to_string(http_server::max_connections) + " connections already");
    }

    void wake() override {
        if (!idle_) return;
        idle_ = false;
        stream_next();
    }

    void close() {
        error_code ignored;
        timer_.cancel();
        socket_.close(ignored);
        leave();
    }

  private:
    class exchange : public http_exchange {
      public:
        explicit exchange(std::shared_ptr<connection> asked) : connection_(std::move(asked)) {}
        void answer(http_answer given) override {
            if (const auto asked = std::exchange(connection_, nullptr)) asked->answer(std::move(given));
        }
        bool wanted() const override { return connection_ && connection_->socket_.is_open(); }

      private:
        std::shared_ptr<connection> connection_;
    };

    void read_request() {
        parser_.emplace();
        parser_->header_limit(max_header_size);
        parser_->body_limit(max_body_size);
        run_after(timer_, request_time, shared_from_this(), [this] { close(); });
        http::async_read_header(socket_, buffer_, *parser_,
                                [self = shared_from_this()](error_code error, std::size_t size) {
                                    if (!error && size > max_header_size)
                                        error = http::error::header_limit;  // the parser's limit is a rough one
                                    if (error) return self->fail(error);
                                    self->take_header();
                                });
    }

    void take_header() {
        const auto& request = parser_->get();
        if (request.count(http::field::host) != 1) return refuse(400, "a request has one \"Host\"");
        const std::string host(request[http::field::host]);
        if (!is_own_host(host, local_)) return refuse(403, "this is not the host \"" + host + "\"");
        if (request.count(http::field::origin) != 0 && request[http::field::origin] != "http://" + host)
            return refuse(403, "pages of other origins have no access");
        if (request[http::field::expect] != "100-continue") return read_body();
        asio::async_write(socket_, asio::buffer("HTTP/1.1 100 Continue\r\n\r\n", 25),
                          [self = shared_from_this()](error_code error, std::size_t) {
                              if (error) return self->close();
                              self->read_body();
                          });
    }

    void read_body() {
        http::async_read(socket_, buffer_, *parser_, [self = shared_from_this()](error_code error, std::size_t) {
            if (error) return self->fail(error);
            self->timer_.cancel();
            self->handle();
        });
    }

    // A request that can't be read. Where the connection itself failed nobody waits for an answer.
    void fail(error_code error) {
        if (error == http::error::body_limit)
            return refuse(413, "a body has at most " + std::to_string(max_body_size) + " bytes");
        if (error == http::error::header_limit || (error == http::error::buffer_overflow && !parser_->is_header_done()))
            return refuse(431, "request line and headers have at most " + std::to_string(max_header_size) + " bytes");
        if (error == http::error::end_of_stream || error.category() != make_error_code(http::error()).category())
            return close();
        refuse(400, "this is no HTTP request: " + error.message());
    }

    void handle() {
        auto& message = parser_->get();
        http_request request;
        request.method = message.method_string();
        head_only_ = request.method == "HEAD";
        if (head_only_) request.method = "GET";
        keep_alive_ = message.keep_alive();
        const auto waiting = std::make_shared<exchange>(shared_from_this());
        ++requests_;
        try {
            const auto text = message.target();
            http_target target = read_target({text.data(), text.size()});
            request.path = std::move(target.path);
            request.query = std::move(target.query);
            request.body = std::move(message.body());
            request.if_none_match = message[http::field::if_none_match];
            request.last_event_id = message["Last-Event-ID"];
            waiting_ = true;
            if (server_ != nullptr) server_->handle(request, waiting);
            if (waiting_) watch();
        } catch (const std::invalid_argument& error) {
            waiting->answer(http_failure(400, error.what()));
        } catch (const std::exception& error) {
            waiting->answer(http_failure(500, error.what()));
        }
    }

    // Notices that the client goes away while it waits for something.
    void watch() {
        socket_.async_wait(tcp::socket::wait_read, [self = shared_from_this(), request = requests_](error_code error) {
            if (error || request != self->requests_ || !(self->waiting_ || self->is_stream())) return;
            char byte = 0;
            error_code failed;
            self->socket_.receive(asio::buffer(&byte, 1), tcp::socket::message_peek, failed);
            // Another request behind this: it is read when its turn comes.
            if (failed && failed != asio::error::would_block) self->close();
        });
    }

    void refuse(unsigned status, const std::string& why) {
        keep_alive_ = false;
        answer(http_failure(status, why));
    }

    void answer(http_answer given) {
        waiting_ = false;
        if (!socket_.is_open()) return;
        if (given.next && !head_only_ && server_ != nullptr && server_->stream_count() >= http_server::max_streams)
            given =
                http_failure(503, "there are " + std::to_string(http_server::max_streams) + " event streams already");
        if (given.next) keep_alive_ = false;
        head_ = head_of(given);
        if (!head_only_) {
            body_ = given.body;
            next_ = std::move(given.next);
        }
        if (is_stream()) watch();
        write();
    }

    std::string head_of(const http_answer& given) const {
        http::response<http::empty_body> head(http::int_to_status(given.status), 11);
        for (const auto& [name, value] : guarding_headers) head.set(name, value);
        if (!given.etag.empty()) head.set(http::field::etag, given.etag);
        if (!given.allow.empty()) head.set(http::field::allow, given.allow);
        if (given.status != 304) head.set(http::field::content_type, given.type);
        if (given.status != 304 && !given.next) head.content_length(given.body.view().size());
        head.keep_alive(keep_alive_);
        std::ostringstream text;
        text << head.base();
        return text.str();
    }

    // What is left of the head and the body, however many pieces it takes.
    void write() {
        const std::string_view body = body_.view();
        const std::size_t of_head = std::min(written_, head_.size());
        const std::array<asio::const_buffer, 2> rest{
            asio::buffer(head_) + of_head, asio::const_buffer(body.data(), body.size()) + (written_ - of_head)};
        if (asio::buffer_size(rest) == 0) return finish();
        run_after(timer_, progress_time, shared_from_this(), [this] { close(); });
        socket_.async_write_some(rest, [self = shared_from_this()](error_code error, std::size_t count) {
            if (error) return self->close();
            self->written_ += count;
            self->write();
        });
    }

    void finish() {
        timer_.cancel();
        body_ = http_body();
        written_ = 0;
        if (is_stream()) return stream_next();
        if (keep_alive_) return read_request();
        // Only this side is closed: closing with bytes unread would reset the connection, and the answer with it.
        error_code ignored;
        socket_.shutdown(tcp::socket::shutdown_send, ignored);
        run_after(timer_, linger_time, shared_from_this(), [this] { close(); });
        buffer_.clear();
        drain(socket_, buffer_.prepare(buffer_size), shared_from_this());
    }

    void stream_next() {
        head_ = next_();
        if (!head_.empty()) return write();
        idle_ = true;
        run_after(timer_, comment_time, shared_from_this(), [this] {
            idle_ = false;
            head_ = ":\n\n";
            write();
        });
    }

    void leave() {
        if (server_ != nullptr) server_->leave(*this);
        server_ = nullptr;
    }

    tcp::socket socket_;
    asio::steady_timer timer_;
    boost::beast::flat_buffer buffer_;
    http_server* server_;  // null when it has ended, or this has left it
    const bool is_admitted_;
    asio::ip::address local_;
    std::optional<http::request_parser<http::string_body>> parser_;
    std::uint64_t requests_ = 0;
    bool waiting_ = false, head_only_ = false, keep_alive_ = false;
    bool idle_ = false;  // an event stream that has nothing to send
    std::string head_;
    http_body body_;
    std::function<std::string()> next_;  // of an event stream
    std::size_t written_ = 0;            // of head and body
};

}  // namespace

std::shared_ptr<http_connection> make_connection(tcp::socket socket, http_server& server, bool is_admitted) {
    return std::make_shared<connection>(std::move(socket), server, is_admitted);
}

}  // namespace simulator
