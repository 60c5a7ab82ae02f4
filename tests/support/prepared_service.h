// A service whose reply is there before the command, and the end of the stream behind it: nothing is waited for. It
// supplies qv_rpc_client_connect and qv_rpc_client_disconnect, without allocating memory. One call at a time.
#ifndef LUTC_TESTS_SUPPORT_PREPARED_SERVICE_H
#define LUTC_TESTS_SUPPORT_PREPARED_SERVICE_H

#include <cstdint>
#include <cstring>
#include <vector>

#include "tests/support/check.h"

// The reply to every call from now on. Each connection must be ended once, before the next.
extern std::vector<unsigned char> preparedReply;
bool isConnected();

// A document's bytes around its elements' bytes.
std::vector<unsigned char> framed(std::vector<unsigned char> elements);

// {"type": "response", "code": 0, results...}
std::vector<unsigned char> successWith(const std::uint8_t* results, std::size_t size);

// Memory of a caller's, with contents to recognise.
template <class T>
struct output {
    static constexpr unsigned char pattern = 0xA5;
    T value;

    output() { std::memset(static_cast<void*>(&value), pattern, sizeof value); }
    bool isUntouched() const {
        const auto* const p = reinterpret_cast<const unsigned char*>(&value);
        for (std::size_t i = 0; i < sizeof value; ++i) {
            if (p[i] != pattern) return false;
        }
        return true;
    }
};

// The result of an exported function: 0, or -1 and nothing written.
template <class... Outputs>
bool succeeded(int result, const Outputs&... outputs) {
    CHECK(result == 0 || result == -1);
    if (result == -1) CHECK((outputs.isUntouched() && ...));
    return result == 0;
}

#endif
