#include <cerrno>

#include <sys/socket.h>

#include "os/socket.h"

namespace kiv::os {

int32_t socket_send(Socket socket, const void *bytes, int32_t n) {
  for (;;) {
    const ssize_t sent = send(static_cast<int>(socket), bytes, static_cast<size_t>(n), MSG_NOSIGNAL);
    if (sent >= 0 || errno != EINTR) return static_cast<int32_t>(sent);
  }
}

int32_t socket_receive(Socket socket, void *bytes, int32_t n) {
  for (;;) {
    const ssize_t received = recv(static_cast<int>(socket), bytes, static_cast<size_t>(n), 0);
    if (received >= 0 || errno != EINTR) return static_cast<int32_t>(received);
  }
}

}  // namespace kiv::os
