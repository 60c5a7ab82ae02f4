#include "interface/exchange.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <initializer_list>

#include <lutc/qv_rpc_client.h>

namespace lutc_calls {
namespace {

constexpr const char* service_host = "127.0.0.1";
constexpr const char* service_port = "54440";

using monotonic = std::chrono::steady_clock;
constexpr std::chrono::milliseconds send_limit(15000);        // for each piece of the command that the service takes
constexpr std::chrono::milliseconds first_byte_limit(15000);  // for each message
constexpr std::chrono::milliseconds silence_ends_message(10);
constexpr std::size_t most_pieces = 64;  // in one write

// Waits for the event; false with errno. Interruptions don't change when the wait ends.
bool wait_for(int descriptor, short event, monotonic::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - monotonic::now());
        pollfd waiting{descriptor, event, 0};
        const int ready = poll(&waiting, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
        if (ready > 0) return true;
        if (ready == 0) errno = ETIMEDOUT;
        if (errno != EINTR) return false;
    }
}

// Keeps the SIGPIPE of a write from the host: blocks it in this thread alone and takes away the one that the write
// raised. One that was pending before stays pending.
class sigpipe_shield {
  public:
    sigpipe_shield() {
        sigemptyset(&sigpipe_);
        sigaddset(&sigpipe_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        was_pending_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &sigpipe_, &previous_);
    }

    ~sigpipe_shield() {
        const int error = errno;
        if (!was_pending_ && error == EPIPE) {
            const timespec now{0, 0};
            while (sigtimedwait(&sigpipe_, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
        errno = error;
    }

    sigpipe_shield(const sigpipe_shield&) = delete;
    sigpipe_shield& operator=(const sigpipe_shield&) = delete;

  private:
    sigset_t sigpipe_;
    sigset_t previous_;
    bool was_pending_;
};

// One write of what fits now; -1 with errno. A descriptor that is no socket may block.
ssize_t write_some(int descriptor, std::vector<iovec>& pieces) {
    msghdr message{};
    message.msg_iov = pieces.data();
    message.msg_iovlen = std::min<std::size_t>(pieces.size(), most_pieces);
    const ssize_t sent = sendmsg(descriptor, &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0 || errno != ENOTSOCK) return sent;
    const sigpipe_shield shield;
    return writev(descriptor, pieces.data(), static_cast<int>(message.msg_iovlen));
}

void drop_front(std::vector<iovec>& pieces, std::size_t size) {
    auto first = pieces.begin();
    for (; first != pieces.end() && size >= first->iov_len; ++first) size -= first->iov_len;
    if (size > 0) *first = {static_cast<unsigned char*>(first->iov_base) + size, first->iov_len - size};
    pieces.erase(pieces.begin(), first);
}

// Reads what is there, once something is. 0: the end; -1 with errno.
ssize_t read_some(int descriptor, unsigned char* bytes, std::size_t room, monotonic::time_point deadline) {
    for (;;) {
        if (!wait_for(descriptor, POLLIN, deadline)) return -1;
        const ssize_t count = read(descriptor, bytes, room);
        if (count >= 0 || errno != EINTR) return count;
    }
}

// Why there is no connection. The stand-in leaves the reason in errno; another library may leave anything there.
int connect_failure(int error) {
    for (const int reason : {ETIMEDOUT, EMFILE, ENFILE, ENOMEM, ENOBUFS, EACCES, EPERM, EADDRNOTAVAIL, ENETUNREACH,
                             ENETDOWN, EHOSTUNREACH}) {
        if (error == reason) return reason;
    }
    return ECONNREFUSED;
}

}  // namespace

exchange::exchange(std::uint32_t capacity) : capacity_(capacity) {
    errno = 0;
    descriptor_ = qv_rpc_client_connect(service_host, service_port, &first_, &second_);
    connect_error_ = errno;
}

exchange::~exchange() { qv_rpc_client_disconnect(descriptor_, &first_, &second_); }

int exchange::send(std::vector<iovec> pieces) {
    if (descriptor_ < 0) return connect_failure(connect_error_);
    auto deadline = monotonic::now() + send_limit;
    while (!pieces.empty()) {
        const ssize_t written = write_some(descriptor_, pieces);
        if (written > 0) {
            drop_front(pieces, static_cast<std::size_t>(written));
            deadline = monotonic::now() + send_limit;
        } else if (written == 0 || (errno != EAGAIN && errno != EINTR)) {
            return 0;
        } else if (!wait_for(descriptor_, POLLOUT, deadline)) {
            return errno;
        }
    }
    return 0;
}

int exchange::receive(message& next) {
    if (buffer_ == nullptr) buffer_.reset(lutc_bson::new_bytes(capacity_));
    next = {buffer_.get(), 0};
    while (next.size < capacity_) {
        const auto limit = next.size == 0 ? first_byte_limit : silence_ends_message;
        const ssize_t more =
            read_some(descriptor_, buffer_.get() + next.size, capacity_ - next.size, monotonic::now() + limit);
        if (more > 0) {
            next.size += static_cast<std::uint32_t>(more);
        } else if (next.size > 0) {
            break;
        } else {
            return more == 0 ? ECONNRESET : reason_of(errno);
        }
    }
    return 0;
}

// Why nothing could be read. What can't be read at all was never connected.
int exchange::reason_of(int error) const {
    const bool connected = error != ENOTCONN && error != EINVAL && error != EBADF;
    return connected ? error : connect_failure(connect_error_);
}

}  // namespace lutc_calls
