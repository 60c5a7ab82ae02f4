// Writes each payload of the library's presets into a folder: a backup in its simplest form. (The tool's
// "lutc presets backup" writes a complete one, which "lutc presets restore" reads.)
//
//   backup_library FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <lutc/lutc.hpp>
#include <string>

namespace {

// One file for each kind of component: numbers as text, bytes as they are.
struct component_writer {
    std::string path;

    bool write(const char* ending, const std::vector<std::uint8_t>& bytes) const {
        std::ofstream file(path + ending, std::ios::binary);
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        return static_cast<bool>(file.flush());
    }
    bool operator()(const lutc::cdl_values& values) const {
        std::ofstream file(path + ".cdl");
        file.precision(17);
        for (const lutc::triple& triple : {values.slope, values.offset, values.power}) {
            for (const double value : triple) file << value << ' ';
        }
        file << values.saturation << '\n';
        return static_cast<bool>(file.flush());
    }
    bool operator()(const lutc::saturation& saturation) const {
        std::ofstream file(path + ".saturation");
        file << saturation.value << '\n';
        return static_cast<bool>(file.flush());
    }
    bool operator()(const lutc::lut_1d& lut) const { return write(".bin", lut.data); }
    bool operator()(const lutc::lut_3d& lut) const { return write(".bin", lut.data); }
    bool operator()(const lutc::raw_colour& raw) const { return write(".raw", raw.data); }
    bool operator()(const lutc::test_pattern&) const { return false; }  // never part of a preset
    bool operator()(const lutc::unknown_component&) const { return false; }
};

bool back_up(const std::string& folder, int index) {
    std::error_code failure;
    const lutc::stored_preset preset = lutc::recv_preset(index, failure);
    bool is_written = !failure;
    for (std::size_t i = 0; i < preset.components.size(); ++i) {
        const std::string path = folder + "/" + std::to_string(index) + "-" + std::to_string(i + 1);
        is_written = std::visit(component_writer{path}, preset.components[i]) && is_written;
    }
    return is_written;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: backup_library FOLDER\n");
        return 2;
    }
    try {
        std::filesystem::create_directories(argv[1]);
        int index = 0;
        int failed = 0;
        for (const lutc::preset_entry& preset : lutc::preset_list().presets) {
            const bool is_written = back_up(argv[1], ++index);
            std::printf("%3d %-32s %s\n", index, preset.name.c_str(), is_written ? "written" : "FAILED");
            if (!is_written) ++failed;
        }
        return failed == 0 ? 0 : 1;
    } catch (const std::system_error& failure) {
        std::fprintf(stderr, "backup_library: %s\n", failure.what());
        return 1;
    }
}
