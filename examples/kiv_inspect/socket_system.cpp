#include "examples/kiv_inspect/socket_system.h"

#ifdef _WIN32
#include <winsock2.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#endif

namespace kiv::inspect {
namespace {

#ifdef _WIN32
using Socket = SOCKET;
using Size = int;
#else
using Socket = int;
using Size = socklen_t;
#endif

}  // namespace

bool set_time_limit(const KIV_STREAM &stream, uint32_t seconds) {
  const auto socket = static_cast<Socket>(stream.socket);
#ifdef _WIN32
  const DWORD limit = seconds * 1000;
  const auto *value = reinterpret_cast<const char *>(&limit);
#else
  timeval limit = {};
  limit.tv_sec = static_cast<time_t>(seconds);
  const void *value = &limit;
#endif
  return setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, value, sizeof limit) == 0 &&
         setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, value, sizeof limit) == 0;
}

uint16_t port_of(const KIV_SERVER &server) {
  sockaddr_in name = {};
  Size size = sizeof name;
  const bool known = getsockname(static_cast<Socket>(server.socket), reinterpret_cast<sockaddr *>(&name), &size) == 0;
  return known ? ntohs(name.sin_port) : uint16_t{0};
}

}  // namespace kiv::inspect
