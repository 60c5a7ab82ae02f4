// Copies every preset of the library into memory and writes each payload into a folder: a backup in its
// simplest form. (The tool's "lutc presets backup" writes a complete one, which "lutc presets restore"
// reads.)
//
//   backup_library FOLDER
#include <lutc/lutc.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

// The most components that we expect in one preset. A preset that fills all places may have more.
constexpr int max_components = 16;

bool write_component(const std::string& path, const gradeComponent& component) {
    if (component.kind == LUTC_KIND_SATURATION && component.cdlValues != nullptr) {
        std::ofstream file(path + ".cdl");
        file.precision(17);
        for (double value : component.cdlValues->slope) file << value << ' ';
        for (double value : component.cdlValues->offset) file << value << ' ';
        for (double value : component.cdlValues->power) file << value << ' ';
        file << component.cdlValues->saturation << '\n';
        return static_cast<bool>(file.flush());
    }
    std::ofstream file(path + ".bin", std::ios::binary);
    file.write(reinterpret_cast<const char*>(component.data), component.dataSize);
    return static_cast<bool>(file.flush());
}

bool back_up(const std::string& folder, int index) {
    std::vector<gradeComponent> components(max_components);  // zero-filled: what isn't received stays null
    int count = max_components;
    if (lutc_recv_preset(nullptr, index, nullptr, components.data(), &count) != 0) return false;
    bool written = count < max_components;
    for (int i = 0; i < count; ++i) {
        gradeComponent& component = components[static_cast<std::size_t>(i)];
        const std::string path = folder + "/" + std::to_string(index) + "-" + std::to_string(i + 1);
        written = write_component(path, component) && written;
        std::free(component.data);
        std::free(component.dataFormat);
        std::free(component.cdlValues);
    }
    return written;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: backup_library FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        std::fprintf(stderr, "backup_library: %s: %s\n", folder.c_str(), error.message().c_str());
        return 2;
    }

    presetEntry* presets = nullptr;
    int count = 0;
    int capacity = 0;
    if (lutc_preset_list(&presets, &count, &capacity) != 0) {
        std::fprintf(stderr, "backup_library: the library can't be listed\n");
        return 1;
    }
    int failed = 0;
    for (int i = 0; i < count; ++i) {
        const bool done = back_up(folder, i + 1);
        std::printf("%3d %-32s %s\n", i + 1, presets[i].presetName, done ? "written" : "FAILED");
        if (!done) ++failed;
        for (char* slot : presets[i].gradeCombo.slots) std::free(slot);
    }
    std::free(presets);
    return failed == 0 ? 0 : 1;
}
