// Stores a preset made of a CDL and a 3D LUT, and applies it to a channel at once.
//
//   upload_and_apply NAME TABLE FORMAT [COMBINATION [CHANNEL]]
//
// TABLE is a file that holds the LUT in the layout that the device calls FORMAT; it is sent as it is.
#include <lutc/lutc.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: upload_and_apply NAME TABLE FORMAT [COMBINATION [CHANNEL]]\n");
        return 2;
    }
    std::ifstream file(argv[2], std::ios::binary);
    std::vector<char> table{std::istreambuf_iterator<char>(file), {}};
    if (table.empty()) {
        std::fprintf(stderr, "upload_and_apply: %s can't be read, or is empty\n", argv[2]);
        return 2;
    }
    const int combination = argc > 4 ? std::atoi(argv[4]) : 1;
    const int channel = argc > 5 ? std::atoi(argv[5]) : 1;

    cdl values{};
    for (double& slope : values.slope) slope = 1.1;
    for (double& offset : values.offset) offset = -0.02;
    for (double& power : values.power) power = 1.0;
    values.saturation = 0.9;

    gradeComponent components[2]{};
    components[0].kind = LUTC_KIND_CDL;
    components[0].typeIndex = 1;
    components[0].cdlValues = &values;
    components[1].kind = LUTC_KIND_LUT_3D;
    components[1].typeIndex = 1;
    components[1].dataFormat = argv[3];
    components[1].data = reinterpret_cast<unsigned char*>(table.data());
    components[1].dataSize = static_cast<std::int32_t>(table.size());

    if (lutc_send_preset(argv[1], 0, 0, combination, true, channel, components, 2) != 0) {
        std::fprintf(stderr, "upload_and_apply: the service did not take the preset\n");
        return 1;
    }
    std::printf("preset \"%s\" stored with %zu bytes of LUT and shown on channel %d\n", argv[1], table.size(), channel);
    return 0;
}
