#include "examples/kiv_inspect/time_limit.h"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <sys/socket.h>
#include <sys/time.h>
#endif

namespace kiv::inspect {

bool set_time_limit(const KIV_STREAM &stream, uint32_t seconds) {
#ifdef _WIN32
  const auto socket = static_cast<SOCKET>(stream.socket);
  const DWORD limit = seconds * 1000;
  const auto *value = reinterpret_cast<const char *>(&limit);
#else
  const auto socket = static_cast<int>(stream.socket);
  timeval limit = {};
  limit.tv_sec = static_cast<time_t>(seconds);
  const void *value = &limit;
#endif
  return setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, value, sizeof limit) == 0 &&
         setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, value, sizeof limit) == 0;
}

}  // namespace kiv::inspect
