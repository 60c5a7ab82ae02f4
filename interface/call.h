// What every exported function does: command, exchange, reply; 0, or -1 with errno; no exception past it.
#ifndef LUTC_INTERFACE_CALL_H
#define LUTC_INTERFACE_CALL_H

#include <pthread.h>

#include <cerrno>
#include <stdexcept>
#include <utility>

#include "bson/encoder.h"
#include "interface/command.h"
#include "interface/exchange.h"
#include "interface/reply.h"

namespace lutc_calls {

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

// The result of a function that refuses its arguments.
inline int refuse() {
    errno = EINVAL;
    return -1;
}

// Receives messages until one is the reply. 0 when it is a success, else the errno value.
inline int await_reply(exchange& service, message& received) {
    for (;;) {
        if (const int error = service.receive(received)) return error;
        switch (kind_of(received)) {
            case message_kind::success:
                return 0;
            case message_kind::refusal:
                return EREMOTEIO;
            case message_kind::broken:
                return EPROTO;
            case message_kind::event:
                break;
        }
    }
}

// 0 or the errno value.
template <class Append, class Read>
int attempt(const char* name, std::uint32_t capacity, Append append, Read read) noexcept {
    const cancellation_shield shield;
    try {
        const document_ptr command = new_command(name);
        append(*command);
        lutc_bson::encoded_document encoded = lutc_bson::encode(*command);
        exchange service(capacity);
        if (const int error = service.send(std::move(encoded.pieces))) return error;
        encoded.bytes.reset();
        message received;
        if (const int error = await_reply(service, received)) return error;
        return read(document_view(received.bytes, received.size)) ? 0 : EPROTO;
    } catch (const std::length_error&) {
        return EOVERFLOW;
    } catch (...) {
        return ENOMEM;
    }
}

// One call: append(document) adds the command's fields; read(reply) reads the reply completely before it hands anything
// to the caller, and returns false when it can't. The result of the exported function. errno is written last, when
// everything has been cleaned up.
template <class Append, class Read>
int call(const char* command, std::uint32_t capacity, Append append, Read read) noexcept {
    const int before = errno;
    const int error = attempt(command, capacity, append, read);
    errno = error == 0 ? before : error;
    return error == 0 ? 0 : -1;
}

// A call that reads nothing from the reply.
template <class Append>
int call(const char* command, Append append) noexcept {
    return call(command, small_reply, append, [](const document_view&) { return true; });
}

}  // namespace lutc_calls

#endif
