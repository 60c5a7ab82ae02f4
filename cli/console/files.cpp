#include "cli/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "cli/output.h"

namespace lutc_cli {
namespace {

class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { shut(); }
    int number() const { return number_; }
    bool shut() {
        const int number = number_;
        number_ = -1;
        return number < 0 || close(number) == 0;
    }

  private:
    int number_;
};

Failure failed(const std::string& path, const char* what) {
    return Failure(exit_refused, path + ": " + what + ": " + std::strerror(errno));
}

std::vector<unsigned char> read_all(int descriptor, const std::string& path, std::size_t limit) {
    constexpr std::size_t step = 1 << 16;
    std::vector<unsigned char> bytes;
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        static_cast<std::size_t>(status.st_size) < limit) {
        bytes.reserve(static_cast<std::size_t>(status.st_size) + step);
    }
    for (;;) {
        const std::size_t size = bytes.size();
        bytes.resize(size + step);
        const ssize_t count = read(descriptor, bytes.data() + size, step);
        if (count < 0 && errno == EINTR) {
            bytes.resize(size);
            continue;
        }
        if (count < 0) throw failed(path, "can't be read");
        bytes.resize(size + static_cast<std::size_t>(count));
        if (bytes.size() > limit) {
            throw Failure(exit_usage, path + ": has more than " + std::to_string(limit) + " bytes");
        }
        if (count == 0) return bytes;
    }
}

bool write_all(int descriptor, const void* bytes, std::size_t size) {
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t count = write(descriptor, next, size);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        next += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

std::string part_of(const std::string& path) { return path + ".part" + std::to_string(getpid()); }

void write_part(const NewFile& content) {
    struct stat status {};
    if (stat(content.path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        throw failed(content.path, "can't be written");
    }
    const std::string part = part_of(content.path);
    Descriptor file(open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file.number() < 0) throw failed(content.path, "can't be created");
    if (write_all(file.number(), content.bytes, content.size) && fsync(file.number()) == 0 && file.shut()) return;
    const Failure failure = failed(content.path, "can't be written");
    unlink(part.c_str());
    throw failure;
}

}  // namespace

std::vector<unsigned char> read_file(const std::string& path, std::size_t limit) {
    if (path == "-") return read_all(STDIN_FILENO, "standard input", limit);
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.number() < 0) throw failed(path, "can't be opened");
    return read_all(file.number(), path, limit);
}

void write_files(const std::vector<NewFile>& files) {
    std::size_t written = 0;
    std::size_t placed = 0;
    try {
        for (; written < files.size(); ++written) write_part(files[written]);
        for (; placed < files.size(); ++placed) {
            const std::string& path = files[placed].path;
            if (rename(part_of(path).c_str(), path.c_str()) != 0) throw failed(path, "can't be written");
        }
    } catch (const Failure&) {
        for (std::size_t i = placed; i < written; ++i) unlink(part_of(files[i].path).c_str());
        throw;
    }
}

void write_file(const std::string& path, const void* bytes, std::size_t size) {
    write_files({NewFile{path, bytes, size}});
}

}  // namespace lutc_cli
