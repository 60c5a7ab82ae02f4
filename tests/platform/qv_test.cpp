// The stand-in for the RPC client library, against listeners on ports of their own.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <list>
#include <string>

#include <lutc/qv_rpc_client.h>

namespace {

// A loopback socket on a port of its own; it listens if a backlog is given.
class loopback_port {
  public:
    explicit loopback_port(int backlog) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
        text_ = std::to_string(ntohs(address.sin_port));
        if (backlog >= 0) listen(socket_, backlog);
    }
    ~loopback_port() { close(socket_); }

    int listener() const { return socket_; }
    const std::string& text() const { return text_; }

  private:
    int socket_;
    std::string text_;
};

struct qv_connection {
    std::uint32_t status = 99, local_port = 99;
    int descriptor, error;

    explicit qv_connection(const std::string& port, const char* host = "127.0.0.1")
        : descriptor(qv_rpc_client_connect(host, port.c_str(), &status, &local_port)), error(errno) {}
    ~qv_connection() {
        qv_rpc_client_disconnect(descriptor, &status, &local_port);
        EXPECT_EQ(status, 0u);
        EXPECT_EQ(local_port, 0u);
        EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
    }

    // What a call sees when the service can't be reached for that reason.
    bool fails_at_once(int reason) const {
        char byte;
        pollfd waiting{descriptor, POLLIN, 0};
        return error == reason && status == static_cast<std::uint32_t>(reason) &&
               (descriptor < 0 || (poll(&waiting, 1, 0) != 0 && read(descriptor, &byte, 1) <= 0));
    }
};

TEST(Qv, connects) {
    const loopback_port port(4);
    const qv_connection connection(port.text());
    ASSERT_EQ(connection.status, 0u);
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    const int accepted = accept(port.listener(), reinterpret_cast<sockaddr*>(&peer), &size);
    ASSERT_GE(accepted, 0);
    EXPECT_EQ(connection.local_port, ntohs(peer.sin_port));

    int no_delay = 0;
    size = sizeof no_delay;
    getsockopt(connection.descriptor, IPPROTO_TCP, TCP_NODELAY, &no_delay, &size);
    EXPECT_NE(no_delay, 0);
    EXPECT_EQ(fcntl(connection.descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    EXPECT_EQ(fcntl(connection.descriptor, F_GETFL) & O_NONBLOCK, 0);
    close(accepted);
}

TEST(Qv, failsAtOnceWhereNobodyListens) {
    const loopback_port port(-1);
    const qv_connection connection(port.text());
    EXPECT_TRUE(connection.fails_at_once(ECONNREFUSED));
    EXPECT_EQ(connection.local_port, 0u);
    for (const char* bad : {"", "x", "0", "65536", "80x", "-1"}) {
        EXPECT_TRUE(qv_connection(bad).fails_at_once(EINVAL)) << bad;
    }
}

TEST(Qv, aFullBacklogIsGivenUp) {
    const loopback_port port(0);
    const auto begin = std::chrono::steady_clock::now();
    std::list<qv_connection> connections;
    while (connections.size() < 4 && (connections.empty() || connections.back().status == 0)) {  // nobody accepts
        connections.emplace_back(port.text());
    }
    EXPECT_TRUE(connections.back().fails_at_once(ETIMEDOUT));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

}  // namespace
