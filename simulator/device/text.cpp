#include "simulator/device/text.h"

namespace simulator {

std::string escape(std::string_view text, std::size_t limit) {
    static const char digits[] = "0123456789abcdef";
    std::string result;
    for (const char character : text.substr(0, limit)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte == '"' || byte == '\\') {
            result += {'\\', character};
        } else if (byte >= 0x20 && byte < 0x7F) {
            result += character;
        } else {
            result += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return text.size() > limit ? result + "..." : result;
}

std::string quote(std::string_view text, std::size_t limit) { return '"' + escape(text, limit) + '"'; }

}  // namespace simulator
