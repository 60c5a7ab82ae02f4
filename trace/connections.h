// Sees what this process sends to the service, and what comes back, without a part in it: connections.cpp defines the
// two functions of the RPC client library, and the three of the C library with which liblutc writes and reads. Each
// calls the next definition with the same arguments, and gives back its result and its errno. A program that links the
// file sees its own calls; a library that is preloaded sees those of any program.
//
// A connection is seen in the thread that made it.
#ifndef LUTC_TRACE_CONNECTIONS_H
#define LUTC_TRACE_CONNECTIONS_H

#include <sys/uio.h>

#include <cstddef>
#include <memory>

namespace lutc_trace {

// Looks at one connection. What its functions throw goes no further, and the errno that they leave isn't seen.
class watcher {
  public:
    virtual ~watcher() = default;

    // The connect has returned; error is the errno that it left.
    virtual void connected(int descriptor, int error) = 0;

    // A write of these pieces, of which result bytes were taken; negative: none, error says why.
    virtual void wrote(const iovec* pieces, std::size_t count, ssize_t result, int error) = 0;

    // A read of result bytes; 0: the end; negative: error says why.
    virtual void got(const void* bytes, ssize_t result, int error) = 0;

    // The connection is about to be closed.
    virtual void ends() = 0;
};

// Looks at the connection that is about to be made; null: nobody does. Whoever links connections.cpp defines it.
std::unique_ptr<watcher> watch();

}  // namespace lutc_trace

#endif
