#include "tests/support/prepared_service.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

#include <lutc/qv_rpc_client.h>
#include "tests/support/check.h"

std::vector<unsigned char> prepared_reply;

namespace {
int peer = -1;
}

bool is_connected() { return peer >= 0; }

int qv_rpc_client_connect(const char*, const char*, std::uint32_t*, std::uint32_t*) {
    int ends[2];
    CHECK(peer < 0 && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    peer = ends[0];
    const ssize_t sent = send(peer, prepared_reply.data(), prepared_reply.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    CHECK(sent == static_cast<ssize_t>(prepared_reply.size()));
    CHECK(shutdown(peer, SHUT_WR) == 0);
    return ends[1];
}

void qv_rpc_client_disconnect(int descriptor, std::uint32_t*, std::uint32_t*) {
    CHECK(close(descriptor) == 0 && close(peer) == 0);
    peer = -1;
}
