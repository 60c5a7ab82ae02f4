// Whole files in and out.
#ifndef LUTC_CLI_FILES_H
#define LUTC_CLI_FILES_H

#include <cstddef>
#include <string>
#include <vector>

namespace lutc_cli {

// The bytes of a file, or of standard input for "-". Throws Failure: EXIT_REFUSED when it can't be read, EXIT_USAGE
// when it has more than limit bytes.
std::vector<unsigned char> read_file(const std::string& path, std::size_t limit);

struct NewFile {
    std::string path;
    const void* bytes;
    std::size_t size;
};

// Replaces the files, in their order, when the bytes of all are on the disk; each at once: whoever reads it sees the
// old bytes or the new ones. When they can't all be written (Failure, EXIT_REFUSED) the old files stay and nothing is
// left beside them.
void write_files(const std::vector<NewFile>& files);
void write_file(const std::string& path, const void* bytes, std::size_t size);

}  // namespace lutc_cli

#endif
