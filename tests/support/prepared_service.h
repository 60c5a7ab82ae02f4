// A service whose reply is there before the command, and the end of the stream behind it: nothing is waited for. It
// supplies qv_rpc_client_connect and qv_rpc_client_disconnect, without allocating memory. One call at a time.
#ifndef LUTC_TESTS_SUPPORT_PREPARED_SERVICE_H
#define LUTC_TESTS_SUPPORT_PREPARED_SERVICE_H

#include <vector>

// The reply to every call from now on. Each connection must be ended once, before the next.
extern std::vector<unsigned char> prepared_reply;
bool is_connected();

#endif
