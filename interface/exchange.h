// One exchange with the service: the bytes of a command out, one message after another in. Sockets and time, nothing else.
#ifndef LUTC_INTERFACE_EXCHANGE_H
#define LUTC_INTERFACE_EXCHANGE_H

#include <sys/uio.h>

#include <cstdint>
#include <vector>

#include "bson/buffer.h"

namespace lutc_calls {

// The most bytes that a message may have. Messages are read into one buffer of this size.
constexpr std::uint32_t small_reply = 1024;
constexpr std::uint32_t preset_list_reply = 524288;
constexpr std::uint32_t preset_reply = 2097152;

struct message {
    const unsigned char* bytes = nullptr;
    std::uint32_t size = 0;
};

// A connection, from its connect to its one disconnect. send and receive return 0 or an errno value that says why not.
class exchange {
  public:
    explicit exchange(std::uint32_t capacity);
    ~exchange();
    exchange(const exchange&) = delete;
    exchange& operator=(const exchange&) = delete;

    // Hands over the whole command. 0 also when the service has closed its side, since its reply may be there.
    int send(std::vector<iovec> pieces);

    // Reads the next message, which stays until the one after it. It ends with silence, with the connection's end, or
    // when the buffer is full.
    int receive(message& next);

  private:
    int reason_of(int error) const;

    std::uint32_t capacity_;
    std::uint32_t first_ = 0;  // the RPC client library's two values
    std::uint32_t second_ = 0;
    int descriptor_;
    int connect_error_;  // what connecting left in errno
    lutc_bson::malloc_ptr<unsigned char> buffer_;
};

}  // namespace lutc_calls

#endif
