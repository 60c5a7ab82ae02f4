// A reply, read where it lies in the received bytes, and what is copied out of it for the caller.
#ifndef LUTC_INTERFACE_REPLY_H
#define LUTC_INTERFACE_REPLY_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <lutc/bsonDocument.h>
#include <lutc/lutc.h>
#include "bson/buffer.h"
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
};

// The elements of a document that is valid, or those that are left of them.
class document_view {
  public:
    document_view(const unsigned char* bytes, std::uint32_t size) : bytes_(bytes), last_(size - 1) {}

    // Takes the first element off. False when none is left, and at one of an unknown type, which ends the document.
    bool take(element_view& first);

    // The first element with the key.
    element_view find(std::string_view key) const;

    // The number of elements; none when there is one of an unknown type.
    std::optional<std::size_t> count() const;

  private:
    const unsigned char* bytes_;
    std::uint32_t last_;  // where the terminating byte stands
    std::uint32_t next_ = 4;
};

// The embedded document or array of the element. None also when an element of it is of an unknown type.
std::optional<document_view> get_document(const element_view& element);

// False when there is no such element, or it is of another type. Text has its inner zero bytes: it compares as a whole.
bool read_int32(const element_view& element, int& value);
bool read_number(const element_view& element, int& value);  // int32, or a boolean as 0 or 1
bool read_double(const element_view& element, double& value);
bool read_text(const element_view& element, std::string_view& text);

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

    // Writes the fields that the kind has.
    void hand_over(gradeComponent& record);
};

// Reads the first components of the list "gradeCombo", at most capacity of them. A reply without a list has none.
bool read_components(const document_view& reply, int capacity, std::vector<received_component>& components);

}  // namespace lutc_calls

#endif
