// Endpoints as the socket calls of the systems take them.
#ifndef KIV_OS_SOCKET_ADDRESS_H
#define KIV_OS_SOCKET_ADDRESS_H

#include <cstring>

#ifdef _WIN32
#include "os/win32/winsock.h"
#else
#include <netinet/in.h>
#endif

#include "os/socket.h"

namespace kiv::os {

inline sockaddr_in to_system(Endpoint endpoint) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(endpoint.port);
  std::memcpy(&address.sin_addr, endpoint.address.bytes, sizeof endpoint.address.bytes);
  return address;
}

/// False for an address of another family.
[[nodiscard]] inline bool from_system(const sockaddr_in &address, Endpoint *endpoint) {
  if (address.sin_family != AF_INET) return false;
  std::memcpy(endpoint->address.bytes, &address.sin_addr, sizeof endpoint->address.bytes);
  endpoint->port = ntohs(address.sin_port);
  return true;
}

}  // namespace kiv::os

#endif
