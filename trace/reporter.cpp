#include "trace/reporter.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>

namespace lutc_trace {

namespace {

// Whether all was written; without a SIGPIPE that the program would see.
bool write_quietly(int descriptor, const std::string& text) {
    sigset_t sigpipe, before, pending;
    sigemptyset(&sigpipe);
    sigaddset(&sigpipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &sigpipe, &before);
    const bool is_written = ::write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const timespec now{0, 0};
    if (!is_written && errno == EPIPE && sigismember(&pending, SIGPIPE) == 0) sigtimedwait(&sigpipe, nullptr, &now);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return is_written;
}

}  // namespace

std::string reporter::write() const {
    char text[160];
    std::snprintf(text, sizeof text, "%d %d %lu %lu %lu", process, descriptor, pipe, error_device, error_file);
    return text;
}

reporter reporter::read(const char* text) {
    reporter known;
    const bool is_known = text != nullptr && std::sscanf(text, "%d %d %lu %lu %lu", &known.process, &known.descriptor,
                                                         &known.pipe, &known.error_device, &known.error_file) == 5;
    return is_known ? known : reporter();
}

void reporter::send(const std::string& text) const {
    if (process == 0) return;
    const std::string path = "/proc/" + std::to_string(process) + "/fd/" + std::to_string(descriptor);
    // Open for reading too there is always a reader.
    const int opened = ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (opened < 0) return;
    struct stat about {};
    if (::fstat(opened, &about) == 0 && S_ISFIFO(about.st_mode) && about.st_ino == pipe) write_quietly(opened, text);
    ::close(opened);
}

void reporter::print(const std::string& line) const {
    struct stat about {};
    const bool is_same =
        ::fstat(STDERR_FILENO, &about) == 0 && about.st_dev == error_device && about.st_ino == error_file;
    if (!is_same || !write_quietly(STDERR_FILENO, line + "\n")) send(line + "\n");
}

}  // namespace lutc_trace
