#include <cstring>

#include "os/win32/winsock.h"

namespace kiv::os {

// Each thread has a result of its own.

bool host_address(const char *name, IPv4Address *address) {
  const hostent *host = gethostbyname(name);
  if (host == nullptr || host->h_addrtype != AF_INET || host->h_addr_list[0] == nullptr) return false;
  std::memcpy(address->bytes, host->h_addr_list[0], sizeof address->bytes);
  return true;
}

bool host_name(IPv4Address address, char *name, size_t capacity) {
  const hostent *host = gethostbyaddr(reinterpret_cast<const char *>(address.bytes), sizeof address.bytes, AF_INET);
  if (host == nullptr || host->h_name == nullptr) return false;
  const size_t length = strnlen(host->h_name, capacity - 1);
  std::memcpy(name, host->h_name, length);
  name[length] = '\0';
  return true;
}

bool this_host_name(char *name, size_t capacity) {
  if (gethostname(name, static_cast<int>(capacity)) != 0) return false;
  name[capacity - 1] = '\0';
  return true;
}

}  // namespace kiv::os
