#include "cli/console/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

#include "cli/console/interrupt.h"
#include "cli/console/output.h"
#include "terminal/json_value.h"
#include "terminal/regular_file.h"

namespace lutc_cli {
namespace {

namespace fs = std::filesystem;

failure make_failure(const std::string& path, const char* message, int cause = errno) {
    return failure(exit_refused,
                   (path == "-" ? "standard output" : path) + ": " + message + ": " + std::strerror(cause));
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

// What a path leads to, through symbolic links; - is standard input or output. Nothing when nothing is there.
std::optional<struct stat> find_status(const std::string& path, int standard) {
    struct stat status {};
    const int result = path == "-" ? fstat(standard, &status) : stat(path.c_str(), &status);
    return result == 0 ? std::optional(status) : std::nullopt;
}

bool is_same(const std::optional<struct stat>& a, const std::optional<struct stat>& b) {
    return a && b && a->st_dev == b->st_dev && a->st_ino == b->st_ino;
}

// A file on its way: where it is written first, and where it goes then.
struct placement {
    const new_file* content;
    std::string place;  // links followed
    std::string part;   // empty: written straight to its place, which is no regular file
    mode_t mode = 0;    // of the file that it replaces; 0: none
};

// Where a link that leads to nothing points. The kernel gives up after as many.
std::string follow_links(std::string path) {
    for (int i = 0; i < 40 && fs::is_symlink(fs::symlink_status(path)); ++i) {
        path = fs::path(path).parent_path() / fs::read_symlink(path);
    }
    return path;
}

placement find_place(const new_file& content) {
    const std::string& path = content.path;
    const std::optional<struct stat> there = find_status(path, STDOUT_FILENO);
    if (there && S_ISDIR(there->st_mode)) throw make_failure(path, "can't be written", EISDIR);
    if (there && (!S_ISREG(there->st_mode) || goes_to_stdout(path))) return {&content, path, "", 0};
    std::error_code failed;
    std::string place = there ? fs::canonical(path, failed).string() : follow_links(path);
    // What has no name any more, such as /dev/fd/3 of a removed file, can't be replaced.
    if (there && (failed || !is_same(there, find_status(place, -1)))) return {&content, path, "", 0};
    return {&content, place, place + ".part" + std::to_string(getpid()), there ? there->st_mode & 07777 : 0};
}

void write_through(std::FILE* file, const new_file& content, bool to_disk) {
    const bool is_written = std::fwrite(content.bytes, 1, content.size, file) == content.size &&
                            std::fflush(file) == 0 && (!to_disk || fsync(fileno(file)) == 0);
    const int cause = errno;
    if (file == stdout ? is_written : std::fclose(file) == 0 && is_written) return;
    throw make_failure(content.path, "can't be written", is_written ? errno : cause);
}

void remove_part(const placement& file) {
    unlink(file.part.c_str());
    drop_unfinished(file.part);
}

void write_part(const placement& file) {
    add_unfinished(file.part);
    std::FILE* const part = std::fopen(file.part.c_str(), "wbxe");
    if (part == nullptr) {
        const int cause = errno;
        drop_unfinished(file.part);
        throw make_failure(file.content->path, "can't be created", cause);
    }
    if (file.mode != 0) static_cast<void>(fchmod(fileno(part), file.mode));
    try {
        write_through(part, *file.content, true);
    } catch (const failure&) {
        remove_part(file);
        throw;
    }
}

void write_straight(const placement& file) {
    if (goes_to_stdout(file.place)) return write_through(stdout, *file.content, false);
    const int descriptor = open(file.place.c_str(), O_WRONLY | O_TRUNC | O_NOCTTY | O_CLOEXEC);
    std::FILE* const opened = descriptor < 0 ? nullptr : fdopen(descriptor, "wb");
    if (opened == nullptr) throw make_failure(file.content->path, "can't be written");
    write_through(opened, *file.content, false);
}

}  // namespace

std::vector<unsigned char> read_file(const std::string& path, std::size_t limit) {
    if (path == "-") return read_all(stdin, "standard input", limit);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    if (!file) throw make_failure(path, "can't be opened");
    return read_all(file.get(), path, limit);
}

std::vector<unsigned char> read_file_of_folder(const std::string& path, std::size_t limit) try {
    return lutc_terminal::read_regular_file(path, limit, lutc_terminal::links::refused);
} catch (const lutc_terminal::content_error& error) {
    throw failure(exit_usage, error.what());
} catch (const std::system_error& error) {
    throw make_failure(path, "can't be opened", error.code().value());
}

bool goes_to_stdout(const std::string& path) {
    return path == "-" || is_same(find_status(path, STDOUT_FILENO), find_status("-", STDOUT_FILENO));
}

void check_output(const std::string& output, const std::vector<std::string>& inputs) {
    const std::optional<struct stat> there = find_status(output, STDOUT_FILENO);
    if (!there || !S_ISREG(there->st_mode)) return;
    for (const std::string& input : inputs) {
        if (!is_same(there, find_status(input, STDIN_FILENO))) continue;
        throw failure(exit_usage, output + ": is the input " + (input == output ? "" : input + " ") +
                                      "too, which would be lost; give another output");
    }
}

void write_files(const std::vector<new_file>& files) {
    std::vector<placement> places;
    for (const new_file& file : files) places.push_back(find_place(file));
    std::size_t written = 0;
    std::size_t placed = 0;
    try {
        for (; written < places.size(); ++written) {
            if (!places[written].part.empty()) write_part(places[written]);
        }
        for (const placement& file : places) {
            if (file.part.empty()) write_straight(file);
        }
        const interrupt_pause all_of_them;
        for (; placed < places.size(); ++placed) {
            const auto& [content, place, part, mode] = places[placed];
            if (part.empty()) continue;
            if (rename(part.c_str(), place.c_str()) != 0) throw make_failure(content->path, "can't be written");
            drop_unfinished(part);
        }
    } catch (const failure&) {
        for (std::size_t i = placed; i < written; ++i) {
            if (!places[i].part.empty()) remove_part(places[i]);
        }
        throw;
    }
}

}  // namespace lutc_cli
