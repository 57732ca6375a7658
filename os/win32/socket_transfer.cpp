#include "os/win32/winsock.h"

namespace kiv::os {

int32_t socket_send(Socket socket, const void *bytes, int32_t n) {
  for (;;) {
    const int sent = send(handle_of(socket), static_cast<const char *>(bytes), n, 0);
    if (sent != SOCKET_ERROR || WSAGetLastError() != WSAEINTR) return sent;
  }
}

int32_t socket_receive(Socket socket, void *bytes, int32_t n) {
  for (;;) {
    const int received = recv(handle_of(socket), static_cast<char *>(bytes), n, 0);
    if (received != SOCKET_ERROR || WSAGetLastError() != WSAEINTR) return received;
  }
}

}  // namespace kiv::os
