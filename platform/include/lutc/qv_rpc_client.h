/*
 * The way to the colour-processing service: the two functions of the device's RPC client library (libqv) that lutc
 * uses. On a device the device's own libqv provides them. libqv.so as built here is a stand-in over plain TCP.
 *
 * What an implementation must give:
 *
 * - qv_rpc_client_connect opens one connection and returns its descriptor, usable with write, poll and read. Any
 *   descriptor number is valid, 0 included. When the service can't be reached it returns either a negative number or
 *   a descriptor on which reading fails at once; lutc then gives up at once, and disconnects in both cases.
 * - The two 32-bit values belong to the implementation. lutc passes the addresses of the same two values (0 before the
 *   connect) to both functions and looks at neither.
 * - lutc calls qv_rpc_client_disconnect exactly once for each qv_rpc_client_connect, with what connect returned.
 * - Both functions may be called from several threads at once, and throw nothing.
 *
 * The stand-in, in addition:
 *
 * - TCP to a numeric IPv4 address and port, TCP_NODELAY, close-on-exec, blocking. Anything else can't be reached.
 * - A connect gives up after 5 seconds in all; a send that makes no progress for 15 seconds fails.
 * - The service's port lies in the range from which Linux picks local ports, so that a connect with nobody listening
 *   may reach itself. That counts as refused.
 * - status: 0 once connected, else the errno value of the failure. localPort: the connection's local TCP port, or 0.
 * - On failure it returns a socket that was never connected, on which poll reports at once and read and write fail;
 *   -1 only when no socket could be had. Both with the reason in errno: lutc reads it there, and takes whatever it
 *   doesn't know as the reason of a failed connect for ECONNREFUSED.
 * - qv_rpc_client_disconnect closes the descriptor and sets both values to 0. A negative descriptor is ignored.
 */
#ifndef LUTC_PLATFORM_QV_RPC_CLIENT_H
#define LUTC_PLATFORM_QV_RPC_CLIENT_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

__attribute__((visibility("default"))) int qv_rpc_client_connect(const char* host, const char* port, uint32_t* status,
                                                                 uint32_t* localPort);

__attribute__((visibility("default"))) void qv_rpc_client_disconnect(int descriptor, uint32_t* status,
                                                                     uint32_t* localPort);

#ifdef __cplusplus
}
#endif

#endif
