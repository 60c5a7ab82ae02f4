// Colour transforms as OpenColorIO reads and computes them.
#ifndef LUTC_CLI_COLOUR_LUT_H
#define LUTC_CLI_COLOUR_LUT_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <lutc/lutc.h>

namespace lutc_cli {

using Rgb = std::array<double, 3>;

// A table over inputs 0..1: RGB triples. A curve has size of them; a cube size * size * size, red fastest.
struct LutTable {
    bool cube = false;
    std::size_t size = 0;
    std::vector<float> values;
};

// A colour transform of RGB triples: what a LUT file does, or a CDL.
class ColourTransform {
  public:
    // Throws Failure: EXIT_REFUSED when the file can't be read or the tool was built without the reader, EXIT_USAGE for
    // a content that is wrong.
    static ColourTransform from_file(const std::string& path);
    static ColourTransform from_cdl(const cdl& values);

    // Whether an output channel depends on more than its own input: a cube is called for, else curves.
    bool mixes_channels() const;
    std::vector<std::string> stages() const;  // in words, in order
    bool has_shaper() const;                  // a curve stands ahead of the cube
    Rgb domain_minimum() const;               // the inputs that the first table covers
    Rgb domain_maximum() const;
    std::size_t file_size() const;  // entries of its largest table of the kind that is called for, or 0
    bool is_one_table() const;      // nothing but one table over 0..1
    LutTable table() const;         // that one table as it is in the file; only with is_one_table

    // The transform at the inputs i / (size - 1) of each channel.
    LutTable sampled(std::size_t size) const;
    // The largest difference of any channel between this and table (interpolated as the file's own table is, linearly
    // unless it says otherwise) on a dense grid over 0..1; clipped: both limited to 0..1 first.
    double largest_error(const LutTable& table, bool clipped) const;
    void apply(std::vector<float>& triples) const;

  private:
    struct Parts;
    explicit ColourTransform(std::shared_ptr<const Parts> parts) : parts_(std::move(parts)) {}
    std::shared_ptr<const Parts> parts_;
};

}  // namespace lutc_cli

#endif
