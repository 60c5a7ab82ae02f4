#include "simulator/refusal.h"

namespace simulator {

std::string quoted(const std::string& text, std::size_t limit) {
    static const char digits[] = "0123456789abcdef";
    std::string result = "\"";
    for (std::size_t i = 0; i < text.size() && i < limit; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == '"' || byte == '\\') {
            result += {'\\', text[i]};
        } else if (byte >= 0x20 && byte < 0x7F) {
            result += text[i];
        } else {
            result += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return result + (text.size() > limit ? "...\"" : "\"");
}

}  // namespace simulator
