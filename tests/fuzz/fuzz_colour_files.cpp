// Any bytes as a colour file: it becomes a transform, or is refused with its name. The first byte chooses the format.
#include <OpenColorIO/OpenColorIO.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "colour/error.h"
#include "colour/reader.h"
#include "colour/text_file.h"
#include "colour/transform.h"
#include "tests/fuzz/target.h"
#include "tests/support/check.h"

namespace {

const char* const extensions[] = {".cube",  ".3dl", ".csp", ".clf", ".ctf", ".spi1d",
                                  ".spi3d", ".cc",  ".ccc", ".cdl", ".edl"};

// A folder for one file at a time, which goes at the end.
struct folder {
    std::string path = "/tmp/lutc-fuzz-XXXXXX";
    folder() { CHECK(mkdtemp(path.data()) != nullptr); }
    ~folder() { rmdir(path.c_str()); }
};

void use(const colour::colour_transform& transform) {
    CHECK(transform.file_size <= 65536);
    if (transform.content) {
        const std::size_t size = transform.content->size;
        const std::size_t rows = transform.content->is_cube ? size * size * size : size;
        CHECK(transform.content->values.size() == 3 * rows);
    }
    std::vector<float> inputs{0.0F, 0.5F, 1.0F, -1.0F, 2.0F, 0.25F};
    transform.apply(inputs);
    CHECK(inputs.size() == 6);
    if (transform.mixes_channels || transform.file_size == 0) return;
    CHECK(colour::make_table(transform, transform.file_size).values.size() == 3 * transform.file_size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const folder room;
    if (size == 0) return 0;
    const std::string path = room.path + "/a" + extensions[data[0] % std::size(extensions)];
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
    try {
        if (colour::is_cdl_file(path)) colour::read_cdl_file(path, "#1");
        use(colour::read_lut_file(path));
    } catch (const colour::error& refused) {
        const std::string message = refused.what();
        CHECK(message.compare(0, path.size(), path) == 0 || message.compare(0, 3, "CDL") == 0);
        CHECK(message.size() > path.size() && message.find('\n') == std::string::npos);
    }
    unlink(path.c_str());
    OCIO_NAMESPACE::ClearAllCaches();  // it keeps files by their paths
    return 0;
}
