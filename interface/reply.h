// A reply, read where it lies in the received bytes, and what is copied out of it for the caller.
#ifndef LUTC_INTERFACE_REPLY_H
#define LUTC_INTERFACE_REPLY_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include <lutc/bsonDocument.h>
#include <lutc/lutc.h>
#include "bson/buffer.h"
#include "bson/wire_format.h"
#include "interface/exchange.h"

namespace lutc_calls {

// What a message is to a call that waits for its reply.
enum class message_kind { event, success, refusal, broken };
message_kind kind_of(const message& received);

// One element: its key, and its value bytes as find_extent tells them. The type 0 says that there is none.
struct element_view {
    bson_type type{};
    std::string_view key;
    const unsigned char* value = nullptr;
    std::uint32_t size = 0;

    explicit operator bool() const { return type != bson_type{}; }
    bool holds_document() const { return lutc_bson::is_document_type(lutc_bson::byte_of(type)); }
};

// The elements of a document that is valid, or those that are left of them.
class document_view {
  public:
    struct wanted {
        std::string_view key;
        element_view& found;
    };

    document_view(const unsigned char* bytes, std::uint32_t size) : bytes_(bytes), last_(size - 1) {}
    explicit document_view(const element_view& holder) : document_view(holder.value, holder.size) {}

    // Takes the first element off. False when none is left, and at one of an unknown type, which ends the document.
    bool take(element_view& first);

    // After the last take: whether no element of an unknown type was met.
    bool is_whole() const { return next_ == last_; }

    // The first element with the key.
    element_view find(std::string_view key) const;

    // The same for several keys in one pass. False when there is an element of an unknown type.
    bool find_all(std::initializer_list<wanted> list) const;

    // The same in the embedded document or array that the element holds. False also when it holds none.
    static bool find_all(const element_view& holder, std::initializer_list<wanted> list) {
        return holder.holds_document() && document_view(holder).find_all(list);
    }

  private:
    const unsigned char* bytes_;
    std::uint32_t last_;  // where the terminating byte stands
    std::uint32_t next_ = 4;
};

inline bool document_view::take(element_view& first) {
    const lutc_bson::layout& layout = lutc_bson::layout_of(bytes_[next_]);
    if (next_ == last_ || layout.body == lutc_bson::shape::unknown) return false;
    const unsigned char* const key = bytes_ + next_ + 1;
    const unsigned char* const key_end = lutc_bson::find_key_end(key, bytes_ + last_, bytes_ + last_ + 1);
    const auto body = static_cast<std::uint32_t>(key_end + 1 - bytes_);
    lutc_bson::extent value;
    if (!lutc_bson::find_extent(bytes_, layout, body, last_, value)) return false;
    first.type = bson_type{bytes_[next_]};
    first.key = {reinterpret_cast<const char*>(key), static_cast<std::size_t>(key_end - key)};
    first.value = bytes_ + value.begin;
    first.size = value.end - value.begin;
    next_ = value.end;
    return true;
}

// Reads each element of the embedded document or array that the element holds. False when it holds none, when one can't
// be read, and when one is of an unknown type.
template <class Read>
bool read_each(const element_view& holder, Read read) {
    if (!holder.holds_document()) return false;
    document_view left(holder);
    for (element_view element; left.take(element);) {
        if (!read(element)) return false;
    }
    return left.is_whole();
}

// False when there is no such element, or it is of another type. Text has its inner zero bytes: it compares as a whole.
inline bool read_int32(const element_view& element, int& value) {
    if (element.type != bson_type::int32) return false;
    value = static_cast<int>(lutc_bson::load32(element.value));
    return true;
}

inline bool read_text(const element_view& element, std::string_view& text) {
    if (element.type != bson_type::string) return false;
    text = {reinterpret_cast<const char*>(element.value), element.size == 0 ? 0 : element.size - 1};
    return true;
}

bool read_number(const element_view& element, int& value);  // int32, an int64 that fits, or a boolean as 0 or 1
bool read_double(const element_view& element, double& value);

// What a zero-terminated copy of the text holds.
inline std::string_view up_to_zero(std::string_view text) { return text.substr(0, text.find('\0')); }

// Writes exactly size bytes: the text up to its first zero byte, cut or filled with zero bytes.
void copy_text(char* destination, std::size_t size, std::string_view text);

// A copy, up to the first zero byte, for the caller, who frees it. Throws std::bad_alloc.
char* new_text(std::string_view text);

// One component of a grade; the blocks become the caller's when it is handed over.
struct received_component {
    static constexpr std::int32_t unknown_kind = -1;

    std::int32_t kind = unknown_kind;
    std::int32_t type_index = 0;
    std::int32_t data_size = 0;
    lutc_bson::malloc_ptr<unsigned char> data;
    lutc_bson::malloc_ptr<char> data_format;
    lutc_bson::malloc_ptr<cdl> cdl_values;

    bool read(const element_view& component);

    // Writes the fields that the kind has.
    void hand_over(gradeComponent& record);

  private:
    bool read_table(const element_view& format, const element_view& bytes);
    bool read_data(const element_view& element);
    bool read_values(const element_view& saturation, const element_view (&triples)[3]);
    static bool read_triple(const element_view& element, double (&values)[3]);
};

// Reads the first components of the list, at most capacity of them. A reply without a list has none.
bool read_components(const element_view& list, int capacity, std::vector<received_component>& components);

}  // namespace lutc_calls

#endif
