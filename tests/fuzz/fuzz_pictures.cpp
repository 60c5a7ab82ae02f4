// Any bytes as a PNG: it becomes a picture of the size that it says, or is refused with its name. The lowest bit of the
// first byte: the check sums of the chunks are put right, so that what is in them counts.
#include <zlib.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "colour/error.h"
#include "colour/image_png.h"
#include "tests/fuzz/target.h"
#include "tests/support/check.h"

namespace {

std::size_t number(const std::string& bytes, std::size_t at) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8U | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

// A chunk: its length, four letters, as many bytes, the sum over letters and bytes.
void mend_sums(std::string& png) {
    for (std::size_t at = 8; at + 12 <= png.size();) {
        const std::size_t length = number(png, at);
        if (length > png.size() - at - 12) return;
        const auto* const summed = reinterpret_cast<const Bytef*>(&png[at + 4]);
        const uLong sum = crc32(0, summed, static_cast<uInt>(length + 4));
        for (std::size_t i = 0; i < 4; ++i) png[at + 8 + length + i] = static_cast<char>(sum >> (24 - 8 * i));
        at += 12 + length;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    std::string png(data + 1, data + size);
    if ((data[0] & 1U) != 0) mend_sums(png);
    std::istringstream file(png);
    try {
        const colour::image picture = colour::decode_png(file, "a.png");
        CHECK(picture.width > 0 && picture.width <= colour::max_image_side && picture.height > 0 &&
              picture.height <= colour::max_image_side);
        const std::size_t samples = std::visit([](const auto& all) { return all.size(); }, picture.samples);
        CHECK(samples == 3 * picture.width * picture.height);
        CHECK(samples / 24 <= 1032 * (png.size() + 1));  // from one bit a pixel, deflated as far as it goes
    } catch (const colour::error& refused) {
        CHECK(std::string(refused.what()).compare(0, 7, "a.png: ") == 0);
    }
    return 0;
}
