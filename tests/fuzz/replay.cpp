// Runs a fuzz target over files, without libFuzzer: replay FILE|FOLDER... [--damaged FILE...]. The last ones are documents:
// they are run over once for each byte that is changed to each other value, and cut off at each, with a good length.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "tests/fuzz/target.h"
#include "tests/support/check.h"

namespace {

long inputs = 0;

void run(const std::string& content) {
    const auto exact = std::make_unique<std::uint8_t[]>(content.size());  // so that ASan sees every byte beyond it
    std::copy(content.begin(), content.end(), exact.get());
    LLVMFuzzerTestOneInput(exact.get(), content.size());
    ++inputs;
}

void run_damaged(std::string content) {
    for (std::uint32_t size = 5; size < content.size(); ++size) {
        std::string cut = content.substr(0, size - 1) + '\0';
        std::memcpy(&cut[0], &size, sizeof size);
        run(cut);
    }
    for (char& byte : content) {
        for (int change = 1; change < 256; ++change) {
            byte = static_cast<char>(byte + 1);
            run(content);
        }
        byte = static_cast<char>(byte + 1);  // as it was
    }
}

void run_file(const std::filesystem::path& path, bool damaged) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), {}};
    CHECK(file.good() || file.eof());
    std::cerr << path.filename().string() << '\n';  // the last one named is the one that failed
    run(content);
    if (damaged) run_damaged(content);
}

}  // namespace

int main(int count, char** arguments) {
    bool damaged = false;
    for (int i = 1; i < count; ++i) {
        if (std::string(arguments[i]) == "--damaged") {
            damaged = true;
        } else if (std::filesystem::is_directory(arguments[i])) {
            for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) run_file(entry.path(), damaged);
        } else {
            run_file(arguments[i], damaged);
        }
    }
    std::cerr << inputs << " inputs\n";
    return inputs > 0 ? 0 : 1;
}
