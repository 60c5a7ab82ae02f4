// The one road of every exported function: the command envelope, the field appenders, the exchange, and reading the
// reply. Nothing here is exported and nothing outlives a call.
#ifndef LUTC_INTERFACE_REQUEST_CHANNEL_H
#define LUTC_INTERFACE_REQUEST_CHANNEL_H

#include <pthread.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include <lutc/bsonDocument.h>

namespace lutc {

using document_ptr = std::unique_ptr<bsonDocument>;

// The most bytes that a reply may have. A reply is read into one buffer of this size.
constexpr std::uint32_t small_reply = 1024;
constexpr std::uint32_t preset_list_reply = 524288;
constexpr std::uint32_t preset_reply = 2097152;

// ---- The command ----

// A document with the envelope that every command begins with.
document_ptr new_command(const char* name);

// Each appends one element, whatever keys are there already. Strings are copied. Binaries are borrowed: the caller's
// bytes stay in place until the command has been sent. Sub-documents are handed over. An int as key is an index.
void add_element(bsonDocument& document, const char* key, int value);
void add_element(bsonDocument& document, const char* key, bool value);
void add_element(bsonDocument& document, const char* key, double value);
void add_element(bsonDocument& document, const char* key, const char* value);
void add_element(bsonDocument& document, const char* key, const unsigned char* bytes, int count);
void add_element(bsonDocument& document, const char* key, document_ptr array);
void add_element(bsonDocument& document, int index, int value);
void add_element(bsonDocument& document, int index, double value);
void add_element(bsonDocument& document, int index, document_ptr embedded);

// Appends an index unless it is 0 or less, which means that it isn't given.
void add_index(bsonDocument& document, const char* key, int index);

// An array of three values, under the keys "0", "1", "2".
template <class Value, class Element = Value>
document_ptr array_of_three(const Value (&values)[3]) {
    auto array = std::make_unique<bsonDocument>();
    for (int i = 0; i < 3; ++i) add_element(*array, i, static_cast<Element>(values[i]));
    return array;
}

// ---- The exchange ----

// Sends the command and turns the document into the reply: a message of type "response" with a "code" of 0. False
// when none came. capacity: the most bytes that the reply may have.
bool send_request(bsonDocument& document, std::uint32_t capacity);

// ---- The reply ----

// The first element with the key, or null.
const bsonElement* find_element(const bsonDocument& document, std::string_view key);

// The first element with the key if it is of that type, else null.
const bsonElement* find_element(const bsonDocument& document, std::string_view key, bson_type type);

// The embedded document or array of the element, or null: it holds none, or one with elements of an unknown type.
const bsonDocument* get_document(const bsonElement& element);

// The same where only that type will do: null also when there is no element or it is of another type.
const bsonDocument* get_document(const bsonElement* element, bson_type type);

// The characters of a string element, inner zero bytes included: text compares as a whole.
std::string_view text_of(const bsonElement& element);

// False when there is no such element, or the first one is of another type.
bool read_int32(const bsonDocument& document, std::string_view key, int& value);
bool read_text(const bsonDocument& document, std::string_view key, std::string_view& text);

// What a zero-terminated copy of the text holds.
inline std::string_view up_to_zero(std::string_view text) { return text.substr(0, text.find('\0')); }

// Writes exactly size bytes: the text up to its first zero byte, cut or filled with zero bytes.
void copy_text(char* destination, std::size_t size, std::string_view text);

// A copy, up to the first zero byte, for the caller, who frees it. Throws std::bad_alloc.
char* new_text(std::string_view text);

// ---- The road ----

// Puts off the thread's cancellation to the end of the call, where nothing is left to clean up.
class cancellation_shield {
  public:
    cancellation_shield() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_); }
    ~cancellation_shield() { pthread_setcancelstate(previous_, nullptr); }
    cancellation_shield(const cancellation_shield&) = delete;
    cancellation_shield& operator=(const cancellation_shield&) = delete;

  private:
    int previous_ = PTHREAD_CANCEL_ENABLE;
};

// One call: append(document) adds the command's fields; read(document) reads the reply completely before it hands
// anything to the caller, and returns false when it can't. The result of the exported function: 0 or -1.
template <class Append, class Read>
int call(const char* command, std::uint32_t capacity, Append append, Read read) noexcept {
    const cancellation_shield shield;
    try {
        const document_ptr document = new_command(command);
        append(*document);
        return send_request(*document, capacity) && read(static_cast<const bsonDocument&>(*document)) ? 0 : -1;
    } catch (...) {
        return -1;
    }
}

// A call that reads nothing from the reply.
template <class Append>
int call(const char* command, Append append) noexcept {
    return call(command, small_reply, append, [](const bsonDocument&) { return true; });
}

// A call without fields of its own.
inline void nothing_to_append(bsonDocument&) {}

}  // namespace lutc

#endif
