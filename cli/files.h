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

// Replaces the file at once: whoever reads it sees the old bytes or the new ones. On failure (Failure, EXIT_REFUSED)
// the old file stays and nothing is left beside it.
void write_file(const std::string& path, const void* bytes, std::size_t size);

}  // namespace lutc_cli

#endif
