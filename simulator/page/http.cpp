#include "simulator/page/http.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "simulator/page/http_connection.h"

namespace simulator {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using std::chrono::milliseconds;

constexpr std::size_t max_refused = 64;  // connections that are being told that there are too many
constexpr milliseconds wake_pause{20};   // what happens within it goes to the streams together

}  // namespace

http_answer http_failure(unsigned status, const std::string& why) {
    http_answer answer;
    answer.status = status;
    answer.body = http_body(why + "\n");
    return answer;
}

bool is_current(const std::string& if_none_match, const std::string& etag) {
    return if_none_match.find(etag) != std::string::npos || if_none_match == "*";
}

http_answer http_unchanged(const std::string& etag) {
    http_answer answer;
    answer.status = 304;
    answer.etag = etag;
    return answer;
}

http_server::http_server(asio::io_context& context, const std::string& address, std::uint16_t port,
                         http_handler handler)
    : listener_(context, address, port), wake_timer_(context), handler_(std::move(handler)) {}

http_server::~http_server() {
    for (http_connection* connection : connections_) connection->detach();
}

std::size_t http_server::stream_count() const {
    return static_cast<std::size_t>(
        std::count_if(connections_.begin(), connections_.end(), [](auto* each) { return each->is_stream(); }));
}

void http_server::start() {
    listener_.start([this](tcp::socket socket) { admit(std::move(socket)); });
}

void http_server::admit(tcp::socket socket) {
    const auto admitted =
        std::count_if(connections_.begin(), connections_.end(), [](auto* each) { return each->is_admitted(); });
    const bool is_full = static_cast<std::size_t>(admitted) >= max_connections;
    if (is_full && connections_.size() >= max_connections + max_refused) return;
    make_connection(std::move(socket), *this, !is_full)->start();
}

void http_server::leave(http_connection& connection) {
    connections_.erase(std::remove(connections_.begin(), connections_.end(), &connection), connections_.end());
}

void http_server::wake() {
    if (wake_planned_) return;
    wake_planned_ = true;
    wake_timer_.expires_after(wake_pause);
    wake_timer_.async_wait([this](error_code stopped) {
        if (stopped) return;
        wake_planned_ = false;
        const auto all = connections_;
        for (http_connection* connection : all) connection->wake();
    });
}

}  // namespace simulator
