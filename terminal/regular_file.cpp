#include "terminal/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include "terminal/json_value.h"

namespace lutc_terminal {

std::vector<unsigned char> read_regular_file(const std::string& path, std::size_t limit, links allowed) {
    const auto fail = [&path] { throw std::system_error(errno, std::generic_category(), path); };
    const bool is_followed = allowed == links::followed;
    const int file =
        ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | (is_followed ? 0 : O_NOFOLLOW));
    if (file < 0 && errno == ELOOP && !is_followed)
        throw content_error(path + ": is a symbolic link; only files count");
    if (file < 0) fail();
    const auto close_file = [](const int* open) { ::close(*open); };
    const std::unique_ptr<const int, decltype(close_file)> closing(&file, close_file);
    struct stat about {};
    if (::fstat(file, &about) != 0) fail();
    if (!S_ISREG(about.st_mode)) throw content_error(path + ": is no regular file");
    std::vector<unsigned char> bytes;
    constexpr std::size_t step = 1 << 16;
    bytes.reserve(std::min(static_cast<std::size_t>(about.st_size), limit) + step);
    for (ssize_t count = 1; count > 0;) {
        const std::size_t size = bytes.size();
        bytes.resize(size + step);
        count = ::read(file, bytes.data() + size, step);
        if (count < 0) fail();
        bytes.resize(size + static_cast<std::size_t>(count));
        if (bytes.size() > limit) throw content_error(path + ": has more than " + std::to_string(limit) + " bytes");
    }
    return bytes;
}

}  // namespace lutc_terminal
