// Runs a fuzz target over files, without libFuzzer: replay FILE|FOLDER...
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <vector>

#include "tests/fuzz/target.h"
#include "tests/support/check.h"

namespace {

void run(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> content{std::istreambuf_iterator<char>(file), {}};
    CHECK(file.good() || file.eof());
    std::cerr << path.filename().string() << '\n';                        // the last one named is the one that failed
    const auto exact = std::make_unique<std::uint8_t[]>(content.size());  // so that ASan sees every byte beyond it
    std::copy(content.begin(), content.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), content.size());
}

}  // namespace

int main(int count, char** arguments) {
    int files = 0;
    for (int i = 1; i < count; ++i) {
        if (!std::filesystem::is_directory(arguments[i])) {
            run(arguments[i]);
            ++files;
            continue;
        }
        for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
            run(entry.path());
            ++files;
        }
    }
    std::cerr << files << " inputs\n";
    return files > 0 ? 0 : 1;
}
