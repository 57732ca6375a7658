// How long a connection may be silent.
#ifndef KIV_INSPECT_TIME_LIMIT_H
#define KIV_INSPECT_TIME_LIMIT_H

#include <cstdint>

#include "kiv_socket.h"

namespace kiv::inspect {

/// A stream's sends and receives that have waited for that long fail from now on. Streams have no limit of their own.
/// False when the system does not want to.
bool set_time_limit(const KIV_STREAM &stream, uint32_t seconds);

}  // namespace kiv::inspect

#endif
