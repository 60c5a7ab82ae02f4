#include "bench/service.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include "bson/wire_format.h"

namespace lutc_bench {
namespace {

constexpr std::uint16_t service_port = 54440;

std::runtime_error failure(const std::string& what) {
    return std::runtime_error("the service's port " + std::to_string(service_port) + ": " + what + ": " +
                              std::strerror(errno));
}

// One document, by the length in its first four bytes. Shorter when the client hung up.
bytes read_document(int descriptor) {
    bytes document(4);
    for (std::size_t count = 0; count < document.size();) {
        const ssize_t more = read(descriptor, document.data() + count, document.size() - count);
        if (more <= 0) return {};
        count += static_cast<std::size_t>(more);
        if (count != 4 || document.size() != 4) continue;
        document.resize(std::max<std::size_t>(lutc_bson::load32(document.data()), 5));
    }
    return document;
}

void write_all(int descriptor, const bytes& reply) {
    for (std::size_t count = 0; count < reply.size();) {
        const ssize_t more = send(descriptor, reply.data() + count, reply.size() - count, MSG_NOSIGNAL);
        if (more <= 0) return;
        count += static_cast<std::size_t>(more);
    }
}

bool names(const bytes& command, std::string_view name) {
    constexpr std::size_t envelope_size = 128;
    const std::string_view head(reinterpret_cast<const char*>(command.data()), std::min(command.size(), envelope_size));
    const std::size_t at = head.find(name);
    return at != std::string_view::npos && at + name.size() < head.size() && head[at + name.size()] == 0;
}

unsigned usable_processors() {
    cpu_set_t set;
    return sched_getaffinity(0, sizeof set, &set) == 0 ? static_cast<unsigned>(CPU_COUNT(&set)) : 1;
}

}  // namespace

service::service() : listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(service_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener_, 256) != 0) {
        const std::runtime_error error = failure("can't listen");
        close(listener_);
        throw error;
    }
}

service::~service() {
    for (const pid_t worker : workers_) kill(worker, SIGKILL);
    for (const pid_t worker : workers_) waitpid(worker, nullptr, 0);
    close(listener_);
}

bytes service::answer_one() {
    const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (descriptor < 0) throw failure("can't accept");
    bytes command = read_document(descriptor);
    const bool list = names(command, "getPresetsList");
    write_all(descriptor, list ? list_reply_ : names(command, "getPreset") ? preset_reply_ : small_reply_);
    close(descriptor);
    return command;
}

void service::answer_forever() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;) answer_one();
}

void service::start() {
    for (unsigned i = 0; i < usable_processors(); ++i) {
        const pid_t worker = fork();
        if (worker < 0) throw failure("can't fork");
        if (worker == 0) {
            try {
                answer_forever();
            } catch (...) {
                _exit(1);
            }
        }
        workers_.push_back(worker);
    }
}

}  // namespace lutc_bench
