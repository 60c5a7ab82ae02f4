#include "tests/support/scripted_service.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include <lutc/qv_rpc_client.h>

namespace {

thread_local scripted_service* current = nullptr;
constexpr std::uint32_t first_mark = 0xC0FFEE01, second_mark = 0xC0FFEE02;

}  // namespace

int qv_rpc_client_connect(const char* host, const char* port, std::uint32_t* status, std::uint32_t* localPort) {
    if (current) {
        const int descriptor = current->connect(host, port, status, localPort);
        errno = current->left_by_connect();
        return descriptor;
    }
    ADD_FAILURE() << "a call connected that must not";
    return -1;
}

void qv_rpc_client_disconnect(int descriptor, std::uint32_t* status, std::uint32_t* localPort) {
    if (current) current->disconnect(descriptor, status, localPort);
    errno = ENOEXEC;
}

std::vector<step> dribble(const std::string& bytes, std::size_t piece, int milliseconds) {
    std::vector<step> steps;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        if (at != 0) steps.push_back(pause(milliseconds));
        steps.push_back(send(bytes.substr(at, piece)));
    }
    return steps;
}

scripted_service::scripted_service(std::vector<step> script, line_kind line, int left)
    : script_(std::move(script)), line_(line), left_(left) {
    current = this;
}

scripted_service::~scripted_service() {
    finish();
    current = nullptr;
    EXPECT_EQ(disconnects_, connects_);
}

int scripted_service::connect(const char* host, const char* port, std::uint32_t* first, std::uint32_t* second) {
    EXPECT_STREQ(host, "127.0.0.1");
    EXPECT_STREQ(port, "54440");
    EXPECT_EQ(*first, 0u);
    EXPECT_EQ(*second, 0u);
    EXPECT_LE(++connects_, times_);
    finish();  // the connection before
    command_.clear();
    values_[0] = first;
    values_[1] = second;
    *first = first_mark;
    *second = second_mark;
    if (line_ == line_kind::refused) return descriptor_ = -1;
    if (line_ == line_kind::unconnected) return descriptor_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);

    int ends[2];
    const int made = line_ == line_kind::closed_pipe ? pipe2(ends, O_CLOEXEC)
                                                     : socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends);
    if (made != 0) {
        ADD_FAILURE() << "no connection: " << strerror(errno);
        return descriptor_ = -1;
    }
    peer_ = ends[0];
    descriptor_ = ends[1];
    if (line_ == line_kind::closed_socket || line_ == line_kind::closed_pipe) {
        for (const step& each : script_) send_in_chunks(each.bytes);
        close(peer_.exchange(-1));
    } else if (line_ != line_kind::unread) {
        sigset_t all, before;  // signals of the tests are for the calling threads
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        thread_ = std::thread([this] { run(); });
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    return descriptor_;
}

void scripted_service::disconnect(int descriptor, const std::uint32_t* first, const std::uint32_t* second) {
    EXPECT_EQ(descriptor, descriptor_);
    EXPECT_EQ(++disconnects_, connects_);
    EXPECT_EQ(first, values_[0]);
    EXPECT_EQ(second, values_[1]);
    EXPECT_EQ(*first, first_mark);
    EXPECT_EQ(*second, second_mark);
    if (descriptor >= 0) close(descriptor);
}

const std::string& scripted_service::command() {
    finish();
    return command_;
}

bool scripted_service::punctual() {
    finish();
    return longest_gap_ <= std::chrono::milliseconds(9);
}

// The call has returned: what it wrote is still read, anything else that the service waits for ends.
void scripted_service::finish() {
    if (peer_ >= 0) shutdown(peer_, SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
    if (peer_ >= 0) close(peer_.exchange(-1));
}

// A socket that is closed before everything was read is reset, so a script with a reset leaves half of it unread.
void scripted_service::read_command() {
    const bool leaves_half =
        std::any_of(script_.begin(), script_.end(), [](const step& each) { return each.kind == step::reset; });
    std::size_t wanted = 4;
    while (command_.size() < wanted) {
        char buffer[65536];
        if (line_ == line_kind::slow) std::this_thread::sleep_for(std::chrono::milliseconds(300));
        const ssize_t got = recv(peer_, buffer, std::min(sizeof buffer, wanted - command_.size()), 0);
        if (got <= 0) return;
        command_.append(buffer, static_cast<std::size_t>(got));
        if (command_.size() == 4) {
            std::uint32_t length;
            memcpy(&length, command_.data(), 4);
            wanted = leaves_half ? length / 2 : length;
        }
    }
}

bool scripted_service::send_in_chunks(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const auto begin = monotonic::now();
        const ssize_t sent =
            ::send(peer_, bytes.data() + at, std::min<std::size_t>(bytes.size() - at, 65536), MSG_NOSIGNAL);
        // Also when the client is gone: it may have taken this very gap for the end.
        if (last_send_ != monotonic::time_point()) longest_gap_ = std::max(longest_gap_, monotonic::now() - last_send_);
        last_send_ = begin;
        if (sent < 0) return false;
        at += static_cast<std::size_t>(sent);
    }
    return true;
}

void scripted_service::run() {
    read_command();
    for (const step& each : script_) {
        switch (each.kind) {
            case step::send:
                if (!send_in_chunks(each.bytes)) return;
                break;
            case step::pause:
                for (int unread = 1; ioctl(peer_, SIOCOUTQ, &unread) == 0 && unread > 0;) {
                    std::this_thread::sleep_for(std::chrono::microseconds(100));
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(each.milliseconds));
                break;
            case step::close:
            case step::reset:
                close(peer_.exchange(-1));
                return;
        }
    }
    char more[256];  // a call writes its command and nothing else
    for (ssize_t got; (got = recv(peer_, more, sizeof more, 0)) > 0;) {
        command_.append(more, static_cast<std::size_t>(got));
    }
}

int outcome_of(const std::function<int()>& call) {
    errno = EXDEV;
    const int result = call(), error = errno;
    EXPECT_TRUE(result == -1 || (result == 0 && error == EXDEV)) << result << " " << error;
    return result == 0 ? 0 : error;
}

int punctually(const std::vector<step>& script, const std::function<int()>& call) {
    for (int attempt = 0; attempt < 50; ++attempt) {
        scripted_service service(script);
        const int result = outcome_of(call);
        if (service.punctual()) return result;
    }
    ADD_FAILURE() << "the machine is too busy: no attempt had its pieces sent in time";
    return -2;
}
