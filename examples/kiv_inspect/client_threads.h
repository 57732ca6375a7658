// Several clients of a server at a time.
//
// There are as many threads as clients may be served at once, the caller's among them. Each takes its turn in accepting
// a client, answers it until it ends, and takes its turn again. A client that is silent, or slow to take its reply,
// keeps its own thread waiting, and nobody else's. When all threads have clients, further ones wait in the system's
// queue, which is short.
//
// What threads share: the listening socket, which the one has whose turn it is; the request handler, which is for any
// thread; and the allocator. Streams, replies, error records and outputs are each thread's own.
#ifndef KIV_INSPECT_CLIENT_THREADS_H
#define KIV_INSPECT_CLIENT_THREADS_H

#include "examples/kiv_inspect/server.h"

namespace kiv::inspect {

inline constexpr uint32_t kMostClients = 64;  // at once

/// Answers that many clients, up to at_once of them at a time: 1 to kMostClients. With fewer threads than that when
/// the system has no more. Ends when all have ended, or when none can be accepted any more, which is a failure.
/// REQUIRES: the server is open.
Status serve_clients(Server &server, uint64_t count, uint32_t at_once, const Errors &errors);

}  // namespace kiv::inspect

#endif
