#include "cli/console/service.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "cli/console/output.h"

namespace lutc_cli {
namespace {

constexpr int service_port = 54440;
constexpr int probe_timeout_ms = 1000;

// The port lies in the range of local ports, so that a connect with nobody listening may reach itself.
bool reached_itself(int descriptor) {
    sockaddr_in here{};
    sockaddr_in there{};
    socklen_t here_size = sizeof here;
    socklen_t there_size = sizeof there;
    return getsockname(descriptor, reinterpret_cast<sockaddr*>(&here), &here_size) == 0 &&
           getpeername(descriptor, reinterpret_cast<sockaddr*>(&there), &there_size) == 0 &&
           here.sin_port == there.sin_port && here.sin_addr.s_addr == there.sin_addr.s_addr;
}

bool connects(int descriptor) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(service_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        if (errno != EINPROGRESS) return false;
        pollfd wait{descriptor, POLLOUT, 0};
        // No answer at all is a listener whose queue is full: an absent one refuses at once.
        if (poll(&wait, 1, probe_timeout_ms) < 1) return true;
        int error = 0;
        socklen_t size = sizeof error;
        if (getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0) return false;
    }
    return !reached_itself(descriptor);
}

}  // namespace

bool service_listens() {
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) return false;
    const bool listens = connects(descriptor);
    close(descriptor);
    return listens;
}

void require_success(const std::string& task, int result) {
    if (result == 0) return;
    if (!service_listens()) {
        throw failure(exit_nobody, task + ": no service listens on 127.0.0.1:" + std::to_string(service_port));
    }
    throw failure(exit_refused, task + ": the service refused or gave no usable answer");
}

}  // namespace lutc_cli
