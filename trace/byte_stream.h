// The bytes of one direction of a connection, which are messages one behind the other.
#ifndef LUTC_TRACE_BYTE_STREAM_H
#define LUTC_TRACE_BYTE_STREAM_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace lutc_trace {

struct byte_stream {
    static constexpr std::size_t most_kept = 4 << 20;

    std::string kept;  // from the message at the start on
    std::uint64_t total = 0;

    void add(const void* bytes, std::size_t size);
    std::uint64_t claimed() const;  // the length that the message at the start says it has; 0: not there yet
    bool is_no_message() const;     // that not even its length is one of a message
    bool is_whole() const;          // whether all bytes of the message at the start are there
    void drop_message();            // the whole one at the start
};

}  // namespace lutc_trace

#endif
