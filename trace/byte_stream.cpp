#include "trace/byte_stream.h"

#include <algorithm>

namespace lutc_trace {

void byte_stream::add(const void* bytes, std::size_t size) {
    total += size;
    kept.append(static_cast<const char*>(bytes), std::min(size, most_kept - std::min(most_kept, kept.size())));
}

std::uint64_t byte_stream::claimed() const {
    if (kept.size() < 4) return 0;
    std::uint64_t size = 0;
    for (unsigned i = 0; i < 4; ++i) size |= std::uint64_t{static_cast<unsigned char>(kept[i])} << (8 * i);
    return size;
}

bool byte_stream::is_no_message() const {
    constexpr std::uint64_t least = 5, most = UINT32_MAX >> 1;
    return total > 0 && (claimed() < least || claimed() > most);
}

bool byte_stream::is_whole() const { return !is_no_message() && claimed() != 0 && total >= claimed(); }

void byte_stream::drop_message() {
    total -= claimed();
    kept.erase(0, claimed());
}

}  // namespace lutc_trace
