#include "interface/request_channel.h"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>

#include <lutc/qv_rpc_client.h>
#include "bson/buffer.h"
#include "bson/element.h"
#include "bson/encoder.h"
#include "bson/wire_format.h"

namespace lutc {

using lutc_bson::append;
using lutc_bson::malloc_ptr;

namespace {

constexpr const char* service_host = "127.0.0.1";
constexpr const char* service_port = "54440";

using monotonic = std::chrono::steady_clock;
constexpr std::chrono::milliseconds send_limit(15000);        // to hand over the whole command
constexpr std::chrono::milliseconds first_byte_limit(15000);  // for each message
constexpr std::chrono::milliseconds silence_ends_message(10);

// One connection, from its connect to its one disconnect.
class connection {
  public:
    connection() : descriptor_(qv_rpc_client_connect(service_host, service_port, &first_, &second_)) {}
    ~connection() { qv_rpc_client_disconnect(descriptor_, &first_, &second_); }
    connection(const connection&) = delete;
    connection& operator=(const connection&) = delete;

    int descriptor() const { return descriptor_; }

  private:
    std::uint32_t first_ = 0;
    std::uint32_t second_ = 0;
    int descriptor_;
};

// Waits for the event. Interruptions don't change when the wait ends.
bool wait_for(int descriptor, short event, monotonic::time_point deadline) {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - monotonic::now());
        pollfd waiting{descriptor, event, 0};
        const int ready = poll(&waiting, 1, left.count() > 0 ? static_cast<int>(left.count()) : 0);
        if (ready >= 0 || errno != EINTR) return ready > 0;
    }
}

// Keeps the SIGPIPE of a write from the host: blocks it in this thread alone and takes away the one that the write
// raised. One that was pending before stays pending.
class sigpipe_shield {
  public:
    sigpipe_shield() {
        sigemptyset(&sigpipe_);
        sigaddset(&sigpipe_, SIGPIPE);
        sigset_t pending;
        sigpending(&pending);
        was_pending_ = sigismember(&pending, SIGPIPE) == 1;
        pthread_sigmask(SIG_BLOCK, &sigpipe_, &previous_);
    }

    ~sigpipe_shield() {
        const int error = errno;
        if (!was_pending_ && error == EPIPE) {
            const timespec now{0, 0};
            while (sigtimedwait(&sigpipe_, nullptr, &now) < 0 && errno == EINTR) {
            }
        }
        pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
        errno = error;
    }

    sigpipe_shield(const sigpipe_shield&) = delete;
    sigpipe_shield& operator=(const sigpipe_shield&) = delete;

  private:
    sigset_t sigpipe_;
    sigset_t previous_;
    bool was_pending_;
};

// One write of what fits now; -1 with errno. A descriptor that is no socket may block.
ssize_t write_some(int descriptor, const unsigned char* bytes, std::size_t size) {
    const ssize_t sent = send(descriptor, bytes, size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0 || errno != ENOTSOCK) return sent;
    const sigpipe_shield shield;
    return write(descriptor, bytes, size);
}

// Hands over the whole command. False when time ran out; true also when the service has closed its side, since its
// reply may be there.
bool write_command(int descriptor, const unsigned char* bytes, std::size_t size) {
    const auto deadline = monotonic::now() + send_limit;
    while (size > 0) {
        const ssize_t written = write_some(descriptor, bytes, size);
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        } else if (written == 0 || (errno != EAGAIN && errno != EINTR)) {
            return true;
        } else if (!wait_for(descriptor, POLLOUT, deadline)) {
            return false;
        }
    }
    return true;
}

// Reads what is there, once something is. 0 or less: nothing came in time, the end, or an error.
ssize_t read_some(int descriptor, unsigned char* bytes, std::size_t room, monotonic::time_point deadline) {
    for (;;) {
        if (!wait_for(descriptor, POLLIN, deadline)) return 0;
        const ssize_t count = read(descriptor, bytes, room);
        if (count >= 0 || errno != EINTR) return count;
    }
}

// Reads one message and returns its length, or 0 when none came. A message ends with silence, with the connection's
// end, or when the buffer is full.
std::uint32_t read_message(int descriptor, unsigned char* buffer, std::uint32_t capacity) {
    std::uint32_t count = 0;
    while (count < capacity) {
        const auto limit = count == 0 ? first_byte_limit : silence_ends_message;
        const ssize_t more = read_some(descriptor, buffer + count, capacity - count, monotonic::now() + limit);
        if (more <= 0) break;
        count += static_cast<std::uint32_t>(more);
    }
    return count;
}

// Reads messages into the document until one is the reply.
bool read_reply(int descriptor, bsonDocument& document, std::uint32_t capacity) {
    malloc_ptr<unsigned char> received(lutc_bson::new_bytes(capacity));
    unsigned char* const buffer = received.get();
    for (;;) {
        const std::uint32_t size = read_message(descriptor, buffer, capacity);
        if (size == 0) return false;
        if (received != nullptr) document.message = received.release();
        document.messageSize = size;
        if (document.convertMessageToElementList(true) != 1) return false;
        const bsonElement* const message_type = find_element(document, "type", bson_type::string);
        if (message_type == nullptr) return false;
        if (message_type->getStringValue() == "response") return true;
    }
}

std::string index_key(int index) { return std::to_string(index); }

template <class... Arguments>
void append_new(bsonDocument& document, Arguments&&... arguments) {
    append(document.elementList, std::make_unique<bsonElement>(std::forward<Arguments>(arguments)...));
}

void adopt(bsonDocument& document, const std::string& key, document_ptr inner, bool isArray) {
    document.addDocumentElement(key, inner.get(), isArray);
    inner.release();
}

}  // namespace

document_ptr new_command(const char* name) {
    auto document = std::make_unique<bsonDocument>();
    document->elementList.reserve(16);
    add_element(*document, "protocolVersion", "2.0");
    add_element(*document, "type", "command");
    add_element(*document, "msgID", 1);
    add_element(*document, "command", name);
    return document;
}

void add_element(bsonDocument& document, const char* key, int value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, bool value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, double value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, const char* value) { append_new(document, key, value); }

void add_element(bsonDocument& document, const char* key, const unsigned char* bytes, int count) {
    append_new(document, key, bytes, static_cast<std::uint32_t>(count), false, std::uint8_t{0});
}

void add_element(bsonDocument& document, const char* key, document_ptr array) {
    adopt(document, key, std::move(array), true);
}

void add_element(bsonDocument& document, int index, int value) { append_new(document, index_key(index), value); }

void add_element(bsonDocument& document, int index, double value) { append_new(document, index_key(index), value); }

void add_element(bsonDocument& document, int index, document_ptr embedded) {
    adopt(document, index_key(index), std::move(embedded), false);
}

void add_index(bsonDocument& document, const char* key, int index) {
    if (index > 0) add_element(document, key, index);
}

bool send_request(bsonDocument& document, std::uint32_t capacity) {
    lutc_bson::encoded_document command = lutc_bson::encode(document);
    const connection service;
    if (service.descriptor() < 0) return false;
    if (!write_command(service.descriptor(), command.bytes.get(), command.size)) return false;
    command.bytes.reset();
    int code;
    return read_reply(service.descriptor(), document, capacity) && read_int32(document, "code", code) && code == 0;
}

const bsonElement* find_element(const bsonDocument& document, std::string_view key) {
    for (const bsonElement* const element : document.elementList) {
        if (element->key == key) return element;
    }
    return nullptr;
}

const bsonElement* find_element(const bsonDocument& document, std::string_view key, bson_type wanted) {
    const bsonElement* const element = find_element(document, key);
    return element != nullptr && element->valueType == wanted ? element : nullptr;
}

const bsonDocument* get_document(const bsonElement& element) {
    const bsonDocument* const document = element.documentValue;
    return document != nullptr && lutc_bson::is_decoded_whole(*document) ? document : nullptr;
}

const bsonDocument* get_document(const bsonElement* element, bson_type wanted) {
    return element != nullptr && element->valueType == wanted ? get_document(*element) : nullptr;
}

std::string_view text_of(const bsonElement& element) {
    if (lutc_bson::readable_size(element) == 0) return {};
    return {reinterpret_cast<const char*>(element.value), element.valueSize - 1};
}

bool read_int32(const bsonDocument& document, std::string_view key, int& value) {
    const bsonElement* const element = find_element(document, key, bson_type::int32);
    if (element != nullptr) value = element->getInt32Value();
    return element != nullptr;
}

bool read_text(const bsonDocument& document, std::string_view key, std::string_view& text) {
    const bsonElement* const element = find_element(document, key, bson_type::string);
    if (element != nullptr) text = text_of(*element);
    return element != nullptr;
}

void copy_text(char* destination, std::size_t size, std::string_view text) {
    text = up_to_zero(text);
    const std::size_t kept = text.size() < size ? text.size() : size;
    if (kept > 0) std::memcpy(destination, text.data(), kept);
    if (size > kept) std::memset(destination + kept, 0, size - kept);
}

char* new_text(std::string_view text) {
    text = up_to_zero(text);
    auto* const copy = reinterpret_cast<char*>(lutc_bson::new_bytes(text.size() + 1));
    copy_text(copy, text.size() + 1, text);
    return copy;
}

}  // namespace lutc
