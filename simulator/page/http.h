// HTTP for one page on this machine: requests in, answers out, and streams of events. It knows no device.
//
// Limits: request line and headers 8 KiB (431), bodies 64 KiB (413), 10 s for a whole request, 10 s without progress of
// an answer, 64 connections of which 16 are event streams (503). A request whose Host is neither an address of ours nor
// localhost, or whose Origin isn't the page's own, is answered with 403: no other web page may drive or read the page.
#ifndef LUTC_SIMULATOR_PAGE_HTTP_H
#define LUTC_SIMULATOR_PAGE_HTTP_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/listener.h"

namespace simulator {

struct http_request {
    std::string method;                        // HEAD arrives as GET; its answer is cut behind the headers
    std::string path;                          // decoded, without the query
    std::map<std::string, std::string> query;  // decoded
    std::string body;
    std::string if_none_match, last_event_id;  // headers; empty when they are missing
};

// Bytes that may go to many clients, and be kept.
class http_body {
  public:
    http_body() = default;
    template <class Bytes>
    explicit http_body(Bytes bytes) {
        const auto owned = std::make_shared<const Bytes>(std::move(bytes));
        view_ = {reinterpret_cast<const char*>(owned->data()), owned->size()};
        owner_ = owned;
    }
    std::string_view view() const { return view_; }

  private:
    std::shared_ptr<const void> owner_;
    std::string_view view_;
};

struct http_answer {
    unsigned status = 200;
    std::string type = "text/plain; charset=utf-8";
    http_body body = {};
    std::string etag = {}, allow = {};  // headers; left out when empty
    // An event stream: what is to be sent next, empty when there is nothing now. Asked again after http_server::wake().
    std::function<std::string()> next = nullptr;
};

// An answer with this line of text: why a request can't be served.
http_answer http_failure(unsigned status, const std::string& why);

// Whether the client's copy is still right; and the answer that says so.
bool is_current(const std::string& if_none_match, const std::string& etag);
http_answer http_unchanged(const std::string& etag);

// A request that waits for its answer, which may come later. A client that went away costs nothing: its answer goes
// nowhere.
class http_exchange {
  public:
    virtual ~http_exchange() = default;
    virtual void answer(http_answer given) = 0;  // once
    virtual bool wanted() const = 0;             // whether the client is still there
};

using http_handler = std::function<void(const http_request&, const std::shared_ptr<http_exchange>&)>;

class http_connection;

class http_server {
  public:
    static constexpr std::size_t max_connections = 64, max_streams = 16;

    // Listens at once; port 0 takes a free one. Throws std::runtime_error when it can't.
    http_server(boost::asio::io_context& context, const std::string& address, std::uint16_t port, http_handler handler);
    ~http_server();

    std::uint16_t port() const { return listener_.port(); }
    void start();  // accepts connections, as long as this object and the context live
    void wake();   // there may be something new for the event streams

    // For its connections:
    void join(http_connection& connection) { connections_.push_back(&connection); }
    void leave(http_connection& connection);
    void handle(const http_request& request, const std::shared_ptr<http_exchange>& exchange) const {
        handler_(request, exchange);
    }
    std::size_t stream_count() const;

  private:
    void admit(boost::asio::ip::tcp::socket socket);

    listener listener_;
    boost::asio::steady_timer wake_timer_;
    bool wake_planned_ = false;
    http_handler handler_;
    std::vector<http_connection*> connections_;
};

}  // namespace simulator

#endif
