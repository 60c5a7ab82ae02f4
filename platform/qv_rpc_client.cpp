#include <lutc/qv_rpc_client.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>

namespace {

using monotonic = std::chrono::steady_clock;

constexpr std::chrono::milliseconds connect_limit(5000);
constexpr timeval send_limit{15, 0};

// The address, or false when host and port aren't numeric.
bool parse_address(const char* host, const char* port, sockaddr_in& address) {
    char* end = nullptr;
    const long number = std::strtol(port, &end, 10);
    if (end == port || *end != '\0' || number < 1 || number > 65535) return false;
    address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(number));
    return inet_pton(AF_INET, host, &address.sin_addr) == 1;
}

int new_socket(int flags = 0) { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, IPPROTO_TCP); }

// Reading from it fails at once. Leaves the reason in errno, also when no socket could be had.
int unconnected_socket(int reason) {
    const int descriptor = new_socket();
    errno = reason;
    return descriptor;
}

// Waits until the connection is made or has failed; an errno value.
int await_connection(int descriptor) {
    const auto deadline = monotonic::now() + connect_limit;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - monotonic::now());
        if (left.count() <= 0) return ETIMEDOUT;
        pollfd waiting{descriptor, POLLOUT, 0};
        const int ready = poll(&waiting, 1, static_cast<int>(left.count()));
        if (ready > 0) break;
        if (ready < 0 && errno != EINTR) return errno;
    }
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

// The local port; 0 when the connection reaches itself.
std::uint16_t local_port_of(int descriptor, const sockaddr_in& peer) {
    sockaddr_in local{};
    socklen_t size = sizeof local;
    if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &size) != 0) return 0;
    const bool itself = local.sin_port == peer.sin_port && local.sin_addr.s_addr == peer.sin_addr.s_addr;
    return itself ? std::uint16_t{0} : ntohs(local.sin_port);
}

void close_without_trace(int descriptor) {
    const linger abort{1, 0};  // leaves no half-closed connection on the service's own port
    setsockopt(descriptor, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    close(descriptor);
}

// Connects a socket that doesn't block, which it does afterwards; an errno value.
int connect_within(int descriptor, const sockaddr_in& address, std::uint16_t& localPort) {
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno != EINPROGRESS && errno != EINTR) return errno;
        if (const int error = await_connection(descriptor)) return error;
    }
    fcntl(descriptor, F_SETFL, 0);
    localPort = local_port_of(descriptor, address);
    if (localPort == 0) return ECONNREFUSED;
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &send_limit, sizeof send_limit);
    return 0;
}

}  // namespace

int qv_rpc_client_connect(const char* host, const char* port, uint32_t* status, uint32_t* localPort) {
    *localPort = 0;
    sockaddr_in address;
    if (!parse_address(host, port, address)) {
        *status = EINVAL;
        return unconnected_socket(EINVAL);
    }
    const int descriptor = new_socket(SOCK_NONBLOCK);
    if (descriptor < 0) {
        *status = static_cast<uint32_t>(errno);
        return -1;
    }
    std::uint16_t connected_from = 0;
    const int error = connect_within(descriptor, address, connected_from);
    *status = static_cast<uint32_t>(error);
    if (error == 0) {
        *localPort = connected_from;
        return descriptor;
    }
    close_without_trace(descriptor);
    return unconnected_socket(error);
}

void qv_rpc_client_disconnect(int descriptor, uint32_t* status, uint32_t* localPort) {
    if (descriptor >= 0) close(descriptor);
    *status = 0;
    *localPort = 0;
}
