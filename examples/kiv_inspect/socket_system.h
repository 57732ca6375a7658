// What the system knows of sockets beyond what streams do.
#ifndef KIV_INSPECT_SOCKET_SYSTEM_H
#define KIV_INSPECT_SOCKET_SYSTEM_H

#include <cstdint>

#include "kiv_socket.h"

namespace kiv::inspect {

/// A stream's sends and receives that have waited for that long fail from now on. Streams have no limit of their own.
/// False when the system does not want to.
bool set_time_limit(const KIV_STREAM &stream, uint32_t seconds);

/// The port at which a server listens, also when the system chose it; 0 when that is not known.
uint16_t port_of(const KIV_SERVER &server);

}  // namespace kiv::inspect

#endif
