#include "trace/shown_connection.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <system_error>

#include <lutc/bsonDocument.h>
#include "terminal/description.h"
#include "terminal/text.h"

namespace lutc_trace {

namespace {

void add(byte_stream& to, const iovec* pieces, std::size_t count, std::uint64_t size) {
    for (std::size_t i = 0; i < count && size > 0; ++i) {
        const std::uint64_t part = std::min<std::uint64_t>(size, pieces[i].iov_len);
        to.add(pieces[i].iov_base, part);
        size -= part;
    }
}

// A message, or the part of one that there is.
std::string describe(const byte_stream& from) {
    const std::size_t size = std::min<std::uint64_t>(from.kept.size(), from.claimed());
    bsonDocument document(reinterpret_cast<const unsigned char*>(from.kept.data()), static_cast<std::uint32_t>(size),
                          false, false);
    const bool is_complete = size == from.claimed();
    const bool is_read = document.convertMessageToElementList(is_complete) == 1;
    if (from.is_no_message() || (is_complete && !is_read))
        return std::to_string(from.total) + " bytes that are no message";
    std::string name;
    document.getStringWithKey("command", name);
    const std::string content = lutc_terminal::describe(document);
    std::string text = lutc_terminal::escape(name);
    if (!text.empty() && !content.empty()) text += ' ';
    text += content;
    if (is_complete) return text;
    return text + (text.empty() ? "" : " ") + "(" + std::to_string(from.total) + " of " +
           std::to_string(from.claimed()) + " bytes)";
}

std::string reason(int error) { return std::generic_category().message(error); }

}  // namespace

void shown_connection::connected(int descriptor, int error) {
    descriptor_ = descriptor;
    connect_error_ = error;
}

void shown_connection::wrote(const iovec* pieces, std::size_t count, ssize_t result, int) {
    if (result <= 0) {
        if (sent_.total == 0 && offered_.total == 0) add(offered_, pieces, count, byte_stream::most_kept);
        return;
    }
    add(sent_, pieces, count, static_cast<std::uint64_t>(result));
    if (sent_.is_whole() && !is_command_shown_) show_command(sent_);
}

void shown_connection::got(const void* bytes, ssize_t result, int error) {
    last_read_ = result;
    read_error_ = error;
    if (result <= 0) return;
    received_.add(bytes, static_cast<std::size_t>(result));
    for (; received_.is_whole() && received_.claimed() <= received_.kept.size(); received_.drop_message())
        show_reply(describe(received_));
}

void shown_connection::ends() {
    if (!is_command_shown_) show_command(sent_.total > 0 ? sent_ : offered_);
    const std::uint64_t taken = received_.total;
    if (taken > 0) {
        peek();
        std::string text = describe(received_);
        if (received_.is_whole()) text += " (" + std::to_string(taken) + " bytes of it were read)";
        show_reply(text);
    } else if (!is_reply_shown_) {
        show_reply(why_none());
    }
}

void shown_connection::show_command(const byte_stream& command) {
    is_command_shown_ = true;
    print_("< " + describe(command));
}

void shown_connection::show_reply(const std::string& text) {
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start_;
    char milliseconds[40];
    std::snprintf(milliseconds, sizeof milliseconds, " (%.1f ms)", taken.count());
    is_reply_shown_ = true;
    print_("> " + text + milliseconds);
}

// Adds what has come of a message that was read in part; it stays where it is.
void shown_connection::peek() {
    std::string more(std::min<std::uint64_t>(received_.claimed(), byte_stream::most_kept), '\0');
    const ssize_t size = ::recv(descriptor_, more.data(), more.size(), MSG_PEEK | MSG_DONTWAIT);
    if (size > 0) received_.add(more.data(), static_cast<std::size_t>(size));
}

std::string shown_connection::why_none() const {
    const bool is_connected = descriptor_ >= 0 && (last_read_ >= 0 || read_error_ != ENOTCONN);
    if (!is_connected) return "no connection" + (connect_error_ != 0 ? ": " + reason(connect_error_) : "");
    if (last_read_ == 0) return "no reply: the connection ended";
    return "no reply" + (last_read_ < 0 ? ": " + reason(read_error_) : "");
}

}  // namespace lutc_trace
