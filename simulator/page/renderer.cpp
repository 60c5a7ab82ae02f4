#include "simulator/page/renderer.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace simulator {

const renderer& load_renderer() {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const auto file = program.parent_path() / LUTC_MODULE_FOLDER / "lutc-simulator-pictures.so";
    if (!std::filesystem::exists(file))
        throw std::runtime_error("there is no page: this build has no pictures, for it was made without OpenColorIO");
    void* const module = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    using giver = const renderer* (*)();
    const auto give = module == nullptr ? nullptr : reinterpret_cast<giver>(::dlsym(module, "lutc_renderer"));
    if (give == nullptr) throw std::runtime_error(std::string("there is no page: ") + ::dlerror());
    return *give();
}

}  // namespace simulator
