// Stores a preset made of a CDL and a 3D LUT, and applies it to a channel at once.
//
//   upload_and_apply NAME TABLE FORMAT [COMBINATION [CHANNEL]]
//
// TABLE is a file that holds the LUT in the layout that the device calls FORMAT; it is sent as it is.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <lutc/lutc.hpp>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fprintf(stderr, "usage: upload_and_apply NAME TABLE FORMAT [COMBINATION [CHANNEL]]\n");
        return 2;
    }
    std::ifstream file(argv[2], std::ios::binary);
    std::vector<std::uint8_t> table{std::istreambuf_iterator<char>(file), {}};
    if (table.empty()) {
        std::fprintf(stderr, "upload_and_apply: %s can't be read, or is empty\n", argv[2]);
        return 2;
    }
    const int combination = argc > 4 ? std::atoi(argv[4]) : 1;
    const int channel = argc > 5 ? std::atoi(argv[5]) : 1;

    lutc::cdl_values values;
    values.slope = {1.1, 1.1, 1.1};
    values.offset = {-0.02, -0.02, -0.02};
    values.saturation = 0.9;
    values.slot = 1;
    const std::size_t size = table.size();
    try {
        lutc::send_preset(argv[1], {values, lutc::lut_3d{argv[3], std::move(table), 1}},
                          {0, combination, true, channel});
    } catch (const lutc::error& failure) {
        std::fprintf(stderr, "upload_and_apply: %s\n", failure.what());
        return 1;
    }
    std::printf("preset \"%s\" stored with %zu bytes of LUT and shown on channel %d\n", argv[1], size, channel);
    return 0;
}
