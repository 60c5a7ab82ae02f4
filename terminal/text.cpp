#include "terminal/text.h"

#include <cstdio>

namespace lutc_terminal {

namespace {

unsigned char_at(std::string_view text, std::size_t place) { return static_cast<unsigned char>(text[place]); }

// The bytes of the UTF-8 character at the start of a text, which isn't empty; 0 for bytes that are none.
std::size_t size_of_character(std::string_view text) {
    const unsigned first = char_at(text, 0);
    if (first < 0x80) return 1;
    const std::size_t size = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
    if (size == 0 || text.size() < size) return 0;
    for (std::size_t i = 1; i < size; ++i) {
        if ((char_at(text, i) & 0xC0) != 0x80) return 0;
    }
    const unsigned second = char_at(text, 1);
    const bool is_too_long = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool is_no_character = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
    return is_too_long || is_no_character ? 0 : size;
}

// Of a character.
unsigned code_point_of(std::string_view character) {
    constexpr unsigned masks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    unsigned code = char_at(character, 0) & masks[character.size()];
    for (std::size_t i = 1; i < character.size(); ++i) code = code << 6 | (char_at(character, i) & 0x3F);
    return code;
}

// Control characters, and those that turn the direction of the text around them.
bool steers_terminal(std::string_view character) {
    const unsigned code = code_point_of(character);
    return code < 0x20 || (code >= 0x7F && code < 0xA0) || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

void append_hex(std::string& text, std::string_view bytes) {
    static const char digits[] = "0123456789abcdef";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned byte = char_at(bytes, i);
        text += {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    }
}

}  // namespace

std::string escape(std::string_view text, std::size_t limit) {
    std::string result;
    std::size_t place = 0;
    while (place < text.size() && place < limit) {
        const std::size_t size = size_of_character(text.substr(place));
        const std::string_view character = text.substr(place, size == 0 ? 1 : size);
        if (size == 0 || steers_terminal(character)) {
            append_hex(result, character);
        } else {
            if (character == "\"" || character == "\\") result += '\\';
            result += character;
        }
        place += character.size();
    }
    return place < text.size() ? result + "..." : result;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t size = size_of_character(text);
        const std::string_view character = text.substr(0, size == 0 ? 1 : size);
        if (size == 0 || steers_terminal(character)) {
            append_hex(result, character);
        } else {
            result += character;
        }
        text.remove_prefix(character.size());
    }
    return result;
}

std::string printable_json(std::string_view json) {
    std::string result;
    while (!json.empty()) {
        const std::size_t size = size_of_character(json);
        const std::string_view character = json.substr(0, size == 0 ? 1 : size);
        if (size > 0 && code_point_of(character) >= 0x7F && steers_terminal(character)) {
            char text[16];
            std::snprintf(text, sizeof text, "\\u%04x", code_point_of(character));
            result += text;
        } else {
            result += character;
        }
        json.remove_prefix(character.size());
    }
    return result;
}

std::string quote(std::string_view text, std::size_t limit) { return '"' + escape(text, limit) + '"'; }

}  // namespace lutc_terminal
