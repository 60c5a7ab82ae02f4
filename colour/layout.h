// What the tool does with colour files. All of it fails with EXIT_REFUSED in a tool that was built without OpenColorIO
// (colour_missing.cpp), and by Failure: EXIT_REFUSED when a file can't be read or written, EXIT_USAGE when its content
// is wrong.
#ifndef LUTC_CLI_COLOUR_FILES_H
#define LUTC_CLI_COLOUR_FILES_H

#include <array>
#include <cstddef>
#include <string>

#include <lutc/lutc.h>

namespace lutc_cli {

struct Context;

// The values of the entry of a .cc, .ccc or .cdl file with this id, or with "#N" the Nth; without an id (empty) of the
// only one. When no entry was meant the Failure (EXIT_USAGE) lists the ids that there are.
cdl read_cdl_file(const std::string& path, const std::string& id);

// Samples of a packed table: their name, bytes and largest value (0: floating point).
struct SampleFormat {
    const char* name;
    std::size_t bytes;
    double largest;
};
constexpr std::array<SampleFormat, 4> sample_formats = {
    {{"float32", 4, 0.0}, {"uint16", 2, 65535.0}, {"uint12in16", 2, 4095.0}, {"uint10in16", 2, 1023.0}}};

struct PackOptions {
    std::string file;
    std::string samples;     // a name of SAMPLE_FORMATS
    std::string byte_order;  // "little" or "big"
    std::string order;       // "red-fastest" or "blue-fastest"; cubes only, which need it
    int size = 0;            // entries, or points an axis; 0: as in the file
    bool exact = false;      // refuse what would be resampled or clipped
    std::string output;      // "-": standard output; the report then goes to standard error
};
void pack_lut(const Context& context, const PackOptions& options);

// A picture (PNG) of the file's curves, or of its cube's slices and what they do to greys.
void plot_lut(const std::string& file, const std::string& output);
// A picture (PNG) of what the CDL does to greys.
void plot_cdl(const cdl& values, const std::string& output);

}  // namespace lutc_cli

#endif
