#include "cli/bson_diagnosis.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace lutc_cli {
namespace {

// One document that is being read. Positions count from the beginning of the outermost one.
struct Level {
    std::size_t next;        // where the next element starts
    std::size_t terminator;  // where the document's last byte stands
    bool is_array;
    long index;  // of the next element
};

// Reads a document element by element; embedded documents wait on a stack of its own.
class Reader {
  public:
    Reader(const unsigned char* bytes, std::size_t size) : bytes_(bytes), size_(size) {}

    std::optional<Defect> first_defect() {
        read();
        return defect_;
    }

    std::optional<Defect> first_unknown_type() {
        read();
        return unknown_;
    }

  private:
    void read() {
        if (!enter(0, size_, false)) return;
        while (!levels_.empty()) {
            Level& level = levels_.back();
            if (level.next == level.terminator) {
                levels_.pop_back();
            } else if (!read_element(level)) {
                return;
            }
        }
    }

    bool fail(std::size_t position, const std::string& reason) {
        defect_ = Defect{position, reason};
        return false;
    }

    std::uint64_t length_at(std::size_t position) const {
        std::uint32_t length = 0;
        for (std::size_t i = 4; i-- > 0;) length = length << 8 | bytes_[position + i];
        return length;
    }

    // The document of size bytes at start becomes the one to read next.
    bool enter(std::size_t start, std::size_t size, bool isArray) {
        if (size < 5) return fail(start, "a document has at least 5 bytes; here are " + std::to_string(size));
        if (length_at(start) != size) {
            return fail(start, "the length says " + std::to_string(length_at(start)) + " bytes; there are " +
                                   std::to_string(size));
        }
        const std::size_t terminator = start + size - 1;
        if (bytes_[terminator] != 0) return fail(terminator, "the document does not end with a zero byte");
        levels_.push_back(Level{start + 4, terminator, isArray, 0});
        return true;
    }

    bool read_element(Level& level) {
        const std::size_t start = level.next;
        const unsigned char type = bytes_[start];
        const std::size_t key = start + 1;
        const void* end = std::memchr(bytes_ + key, 0, level.terminator - key);
        if (end == nullptr) return fail(key, "the key of this element does not end before its document does");
        const std::size_t body = static_cast<std::size_t>(static_cast<const unsigned char*>(end) - bytes_) + 1;
        key_ = reinterpret_cast<const char*>(bytes_ + key);
        if (level.is_array && std::strtol(key_.c_str(), nullptr, 10) != level.index) {
            return fail(key, "element " + std::to_string(level.index) + " of an array has the key '" + key_ + "'");
        }
        ++level.index;
        return read_body(level, type, start, body);
    }

    bool read_body(Level& level, unsigned char type, std::size_t start, std::size_t body) {
        switch (type) {
            case 0x01:
            case 0x09:
            case 0x11:
            case 0x12:
                return step(level, body, 8);
            case 0x10:
                return step(level, body, 4);
            case 0x07:
                return step(level, body, 12);
            case 0x08:
                if (bytes_[body] > 1) return fail(body, element() + ": a boolean is 0 or 1");
                return step(level, body, 1);
            case 0x02:
            case 0x0D:
            case 0x0E:
                return read_string(level, body, 0);
            case 0x0C:
                return read_string(level, body, 12);
            case 0x05:
                return read_binary(level, body);
            case 0x0B:
                return read_expression(level, body);
            case 0x03:
            case 0x04:
                return read_document(level, body, type == 0x04);
            case 0x0F:
                return read_scope(level, body);
            case 0x06:
            case 0x0A:
            case 0x7F:
            case 0xFF:
                return step(level, body, 0);
            default:
                if (!unknown_) {
                    char text[8];
                    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(type));
                    unknown_ = Defect{start, element() + ": type byte " + text + " is unknown"};
                }
                return step(level, body, 0);
        }
    }

    std::string element() const { return "element '" + key_ + "'"; }

    std::uint64_t room(const Level& level, std::size_t body) const { return level.terminator - body; }

    bool step(Level& level, std::size_t body, std::uint64_t length) {
        if (room(level, body) < length) return too_long(level, body, length);
        level.next = body + static_cast<std::size_t>(length);
        return true;
    }

    bool too_long(const Level& level, std::size_t body, std::uint64_t length) {
        return fail(body, element() + ": its value needs " + std::to_string(length) + " bytes; " +
                              std::to_string(room(level, body)) + " are left in its document");
    }

    // Whether a value with a fixed part of that many bytes can stand here at all.
    bool fits(const Level& level, std::size_t body, std::uint64_t fixed) {
        return room(level, body) >= fixed || too_long(level, body, fixed);
    }

    bool read_string(Level& level, std::size_t body, std::uint64_t behind) {
        if (!fits(level, body, 5)) return false;
        const std::uint64_t length = length_at(body);
        if (room(level, body) < 4 + length + behind) return too_long(level, body, 4 + length + behind);
        const std::size_t last = body + 4 + static_cast<std::size_t>(length) - 1;
        if (bytes_[last] != 0) return fail(last, element() + ": its text does not end with a zero byte");
        return step(level, body, 4 + length + behind);
    }

    bool read_binary(Level& level, std::size_t body) {
        return fits(level, body, 5) && step(level, body, 5 + length_at(body));
    }

    bool read_expression(Level& level, std::size_t body) {
        std::size_t next = body;
        for (int i = 0; i < 2; ++i) {
            const void* end = std::memchr(bytes_ + next, 0, level.terminator - next);
            if (end == nullptr) return fail(next, element() + ": its text does not end before its document does");
            next = static_cast<std::size_t>(static_cast<const unsigned char*>(end) - bytes_) + 1;
        }
        level.next = next;
        return true;
    }

    bool read_document(Level& level, std::size_t body, bool isArray) {
        if (!fits(level, body, 5)) return false;
        const std::uint64_t length = length_at(body);
        if (!step(level, body, length)) return false;
        return enter(body, static_cast<std::size_t>(length), isArray);
    }

    bool read_scope(Level& level, std::size_t body) {
        if (!fits(level, body, 9)) return false;
        const std::uint64_t total = length_at(body);
        const std::uint64_t code = length_at(body + 4);
        if (room(level, body) < 8 + code) return too_long(level, body, 8 + code);
        if (!step(level, body, total)) return false;
        if (total < 8 + code) return fail(body, element() + ": its code is longer than its value");
        return enter(body + 8 + static_cast<std::size_t>(code), static_cast<std::size_t>(total - 8 - code), false);
    }

    const unsigned char* bytes_;
    std::size_t size_;
    std::string key_;
    std::vector<Level> levels_;
    std::optional<Defect> defect_;
    std::optional<Defect> unknown_;
};

}  // namespace

std::optional<Defect> find_defect(const unsigned char* bytes, std::size_t size) {
    return Reader(bytes, size).first_defect();
}

std::optional<Defect> find_unknown_type(const unsigned char* bytes, std::size_t size) {
    return Reader(bytes, size).first_unknown_type();
}

}  // namespace lutc_cli
