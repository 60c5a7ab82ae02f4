// Pictures as PNG.
#ifndef LUTC_COLOUR_IMAGE_PNG_H
#define LUTC_COLOUR_IMAGE_PNG_H

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

#include "colour/image.h"

namespace colour {

inline constexpr std::size_t max_image_side = 8192;

// 8 bits a sample, or 16 when the file has 16. Grey and palettes become RGB; alpha and all that isn't the pixels (gamma,
// profiles) is ignored. Takes 6 bytes a pixel at most beside libpng's own few rows. Throws error when the file can't be
// read, content_error for what is no whole PNG or larger than max_image_side on a side; name stands in the messages.
image decode_png(std::istream& file, const std::string& name);
image read_png(const std::string& path);

// depth is 8 or 16. Rows are encoded as they are read.
std::vector<unsigned char> encode_png(const image_rows& rows, int depth);

}  // namespace colour

#endif
