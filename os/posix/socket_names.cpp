#include <cstring>

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include "os/socket_address.h"

namespace kiv::os {

// The older look-ups share one result among all threads; these do not.

bool host_address(const char *name, IPv4Address *address) {
  addrinfo wanted{};
  wanted.ai_family = AF_INET;
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo *found = nullptr;
  if (getaddrinfo(name, nullptr, &wanted, &found) != 0) return false;
  sockaddr_in first;
  std::memcpy(&first, found->ai_addr, sizeof first);
  std::memcpy(address->bytes, &first.sin_addr, sizeof address->bytes);
  freeaddrinfo(found);
  return true;
}

bool host_name(IPv4Address address, char *name, size_t capacity) {
  const sockaddr_in wanted = to_system({address, 0});
  char text[NI_MAXHOST];
  if (getnameinfo(reinterpret_cast<const sockaddr *>(&wanted), sizeof wanted, text, sizeof text, nullptr, 0,
                  NI_NAMEREQD) != 0) {
    return false;
  }
  const size_t length = strnlen(text, capacity - 1);
  std::memcpy(name, text, length);
  name[length] = '\0';
  return true;
}

bool this_host_name(char *name, size_t capacity) {
  if (gethostname(name, capacity) != 0) return false;
  name[capacity - 1] = '\0';
  return true;
}

}  // namespace kiv::os
