#include "trace/connections.h"

#include <dlfcn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <new>

#include <lutc/qv_rpc_client.h>

#define LUTC_SEEN extern "C" __attribute__((visibility("default")))

namespace {

using lutc_trace::watcher;

struct connection {
    int descriptor;
    std::unique_ptr<watcher> seen_by;
    connection* next;
};

// Those of this thread; nearly always one or none. No constructor and no call stands behind the access, for read may be
// called from anywhere.
__attribute__((tls_model("initial-exec"))) thread_local connection* connections = nullptr;

// The definition behind ours.
template <class Function>
class next_function {
  public:
    explicit constexpr next_function(const char* name) : name_(name) {}

    // caller: an address inside the library that calls. One that was loaded with what it needs out of sight of the
    // others finds the definition among what it needs.
    Function* find(void* caller = nullptr) {
        if (void* const known = found_.load(std::memory_order_relaxed)) return reinterpret_cast<Function*>(known);
        void* found = dlsym(RTLD_NEXT, name_);
        if (found == nullptr && caller != nullptr) found = find_from(caller);
        found_.store(found, std::memory_order_relaxed);
        return reinterpret_cast<Function*>(found);
    }

  private:
    void* find_from(void* caller) const {
        Dl_info about{};
        if (dladdr(caller, &about) == 0) return nullptr;
        void* const library = dlopen(about.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
        return library == nullptr ? nullptr : dlsym(library, name_);
    }

    const char* name_;
    std::atomic<void*> found_{nullptr};
};

next_function<decltype(qv_rpc_client_connect)> next_connect("qv_rpc_client_connect");
next_function<decltype(qv_rpc_client_disconnect)> next_disconnect("qv_rpc_client_disconnect");
next_function<ssize_t(int, void*, size_t)> next_read("read");
next_function<ssize_t(int, const iovec*, int)> next_writev("writev");
next_function<ssize_t(int, const msghdr*, int)> next_sendmsg("sendmsg");

connection** find_connection(int descriptor) {
    connection** place = &connections;
    while (*place != nullptr && (*place)->descriptor != descriptor) place = &(*place)->next;
    return place;
}

// Calls action(error) with the errno that there is, and leaves it as it was.
template <class Action>
void tell(const Action& action) {
    const int error = errno;
    try {
        action(error);
    } catch (const std::exception&) {  // out of memory: it isn't seen, and that is all
    }
    errno = error;
}

// What happened to a descriptor, for whoever looks at it.
template <class Action>
void tell(int descriptor, const Action& action) {
    if (connections == nullptr) return;
    connection* const known = *find_connection(descriptor);
    if (known != nullptr) tell([&](int error) { action(*known->seen_by, error); });
}

}  // namespace

LUTC_SEEN int qv_rpc_client_connect(const char* host, const char* port, uint32_t* status, uint32_t* localPort) {
    auto* const connect = next_connect.find(__builtin_return_address(0));
    next_disconnect.find(__builtin_return_address(0));  // which may be called by a jump, and return to anywhere
    std::unique_ptr<connection> added;
    tell([&](int) { added.reset(new connection{-1, lutc_trace::watch(), connections}); });
    const int descriptor = connect(host, port, status, localPort);
    if (!added || !added->seen_by) return descriptor;
    added->descriptor = descriptor;
    connections = added.release();
    tell(descriptor, [&](watcher& by, int error) { by.connected(descriptor, error); });
    return descriptor;
}

LUTC_SEEN void qv_rpc_client_disconnect(int descriptor, uint32_t* status, uint32_t* localPort) {
    tell(descriptor, [](watcher& by, int) { by.ends(); });
    connection** const place = find_connection(descriptor);
    if (connection* const ended = *place) {
        *place = ended->next;
        tell([&](int) { delete ended; });
    }
    next_disconnect.find()(descriptor, status, localPort);
}

LUTC_SEEN ssize_t read(int descriptor, void* bytes, size_t size) {
    const ssize_t result = next_read.find()(descriptor, bytes, size);
    tell(descriptor, [&](watcher& by, int error) { by.got(bytes, result, error); });
    return result;
}

LUTC_SEEN ssize_t writev(int descriptor, const iovec* pieces, int count) {
    const ssize_t result = next_writev.find()(descriptor, pieces, count);
    tell(descriptor, [&](watcher& by, int error) { by.wrote(pieces, static_cast<size_t>(count), result, error); });
    return result;
}

LUTC_SEEN ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
    const ssize_t result = next_sendmsg.find()(descriptor, message, flags);
    tell(descriptor, [&](watcher& by, int error) { by.wrote(message->msg_iov, message->msg_iovlen, result, error); });
    return result;
}
