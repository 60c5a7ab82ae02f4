#include "simulator/framing.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "simulator/refusal.h"

namespace simulator {

bool command_framing::add(const unsigned char* bytes, std::size_t count) {
    try {
        const std::size_t needed = bytes_.size() + count;
        // Room for what has arrived and as much again, but never for what a command merely claims.
        if (needed > bytes_.capacity()) bytes_.reserve(std::max(needed, std::min(2 * needed, command_size())));
        bytes_.insert(bytes_.end(), bytes, bytes + count);
        const std::size_t size = command_size();
        return size != 0 && bytes_.size() >= size;
    } catch (...) {
        std::vector<unsigned char>().swap(bytes_);
        throw;
    }
}

std::vector<unsigned char> command_framing::take() {
    bytes_.resize(command_size());
    return std::exchange(bytes_, {});
}

std::size_t command_framing::command_size() const {
    if (bytes_.size() < 4) return 0;
    std::uint32_t size = 0;
    for (unsigned i = 0; i < 4; ++i) size |= static_cast<std::uint32_t>(bytes_[i]) << (8 * i);
    if (size < 5) throw refusal(reason::malformed, "the command claims a length of " + std::to_string(size));
    if (size > max_size_)
        throw refusal(reason::malformed, "the command has " + std::to_string(size) + " bytes; at most " +
                                             std::to_string(max_size_) + " are taken");
    return size;
}

}  // namespace simulator
