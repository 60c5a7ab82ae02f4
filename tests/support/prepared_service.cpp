#include "tests/support/prepared_service.h"

#include <sys/socket.h>
#include <unistd.h>

#include "platform/qv_rpc_client.h"

std::vector<unsigned char> preparedReply;

namespace {
int peer = -1;
}

bool isConnected() { return peer >= 0; }

int qv_rpc_client_connect(const char*, const char*, std::uint32_t*, std::uint32_t*) {
    int ends[2];
    CHECK(peer < 0 && socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    peer = ends[0];
    const ssize_t sent = send(peer, preparedReply.data(), preparedReply.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    CHECK(sent == static_cast<ssize_t>(preparedReply.size()));
    CHECK(shutdown(peer, SHUT_WR) == 0);
    return ends[1];
}

void qv_rpc_client_disconnect(int descriptor, std::uint32_t*, std::uint32_t*) {
    CHECK(close(descriptor) == 0 && close(peer) == 0);
    peer = -1;
}

std::vector<unsigned char> framed(std::vector<unsigned char> elements) {
    elements.insert(elements.begin(), 4, 0);
    elements.push_back(0);
    for (std::size_t i = 0; i < 4; ++i) elements[i] = static_cast<unsigned char>(elements.size() >> (8 * i));
    return elements;
}

std::vector<unsigned char> successWith(const std::uint8_t* results, std::size_t size) {
    static const char envelope[] =
        "\x02type\0\x09\0\0\0response\0\x10"
        "code\0\0\0\0";
    std::vector<unsigned char> elements(envelope, envelope + sizeof envelope);
    elements.insert(elements.end(), results, results + size);
    return framed(elements);
}
