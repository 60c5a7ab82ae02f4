#include "cli/console/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "cli/console/output.h"

namespace lutc_cli {
namespace {

failure make_failure(const std::string& path, const char* message, int cause = errno) {
    return failure(exit_refused, path + ": " + message + ": " + std::strerror(cause));
}

std::vector<unsigned char> read_all(std::FILE* file, const std::string& path, std::size_t limit) {
    constexpr std::size_t step = 1 << 16;
    std::vector<unsigned char> bytes;
    struct stat status {};
    if (fstat(fileno(file), &status) == 0 && S_ISREG(status.st_mode) &&
        static_cast<std::size_t>(status.st_size) < limit) {
        bytes.reserve(static_cast<std::size_t>(status.st_size) + step);
    }
    for (std::size_t count = step; count == step;) {
        const std::size_t size = bytes.size();
        bytes.resize(size + step);
        count = std::fread(bytes.data() + size, 1, step, file);
        bytes.resize(size + count);
        if (bytes.size() > limit) {
            throw failure(exit_usage, path + ": has more than " + std::to_string(limit) + " bytes");
        }
    }
    if (std::ferror(file) != 0) throw make_failure(path, "can't be read");
    return bytes;
}

std::string part_of(const std::string& path) { return path + ".part" + std::to_string(getpid()); }

void write_part(const new_file& content) {
    struct stat status {};
    if (stat(content.path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        throw make_failure(content.path, "can't be written", EISDIR);
    }
    const std::string part = part_of(content.path);
    std::FILE* const file = std::fopen(part.c_str(), "wbxe");
    if (file == nullptr) throw make_failure(content.path, "can't be created");
    const bool is_written = std::fwrite(content.bytes, 1, content.size, file) == content.size &&
                            std::fflush(file) == 0 && fsync(fileno(file)) == 0;
    const int cause = errno;
    if (std::fclose(file) == 0 && is_written) return;
    const failure reported = make_failure(content.path, "can't be written", is_written ? errno : cause);
    unlink(part.c_str());
    throw reported;
}

}  // namespace

std::vector<unsigned char> read_file(const std::string& path, std::size_t limit) {
    if (path == "-") return read_all(stdin, "standard input", limit);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file) throw make_failure(path, "can't be opened");
    return read_all(file.get(), path, limit);
}

void write_files(const std::vector<new_file>& files) {
    std::size_t written = 0;
    std::size_t placed = 0;
    try {
        for (; written < files.size(); ++written) write_part(files[written]);
        for (; placed < files.size(); ++placed) {
            const std::string& path = files[placed].path;
            if (rename(part_of(path).c_str(), path.c_str()) != 0) throw make_failure(path, "can't be written");
        }
    } catch (const failure&) {
        for (std::size_t i = placed; i < written; ++i) unlink(part_of(files[i].path).c_str());
        throw;
    }
}

}  // namespace lutc_cli
