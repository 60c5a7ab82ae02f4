// Whole files in and out.
#ifndef LUTC_CLI_CONSOLE_FILES_H
#define LUTC_CLI_CONSOLE_FILES_H

#include <cstddef>
#include <string>
#include <vector>

namespace lutc_cli {

// The bytes of a file, or of standard input for "-". Throws failure: exit_refused when it can't be read, exit_usage
// when it has more than limit bytes.
std::vector<unsigned char> read_file(const std::string& path, std::size_t limit);

// The bytes of a file of a folder that came from elsewhere, such as a backup: a regular file that is no link. Throws
// failure: exit_refused when it can't be read, exit_usage for anything else and for more than limit bytes.
std::vector<unsigned char> read_file_of_folder(const std::string& path, std::size_t limit);

struct new_file {
    std::string path;
    const void* bytes;
    std::size_t size;
};

// Whether a path is standard output: "-", or by another name, such as /dev/stdout.
bool goes_to_stdout(const std::string& path);

// Throws failure (exit_usage) when the output is one of the inputs, which writing it would destroy.
void check_output(const std::string& output, const std::vector<std::string>& inputs);

// Replaces the files, in their order, when the bytes of all are on the disk; each at once: whoever reads it sees the
// old bytes or the new ones. Symbolic links are followed, and what is no regular file (a device, a pipe, standard
// output) is written into. When they can't all be written (failure, exit_refused) the old files stay and nothing is left
// beside them.
void write_files(const std::vector<new_file>& files);

template <class Bytes>
void write_file(const std::string& path, const Bytes& bytes) {
    write_files({new_file{path, bytes.data(), bytes.size()}});
}

}  // namespace lutc_cli

#endif
