#include "os/socket.h"

#include "os/socket_address.h"
#include "os/win32/winsock.h"

namespace kiv::os {
namespace {

/// Sockets of version 1.1 are born inheritable.
void keep_from_children(SOCKET socket) {
  SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

/// Whether accept() failed since the client gave up: before it, or before the client's address was looked at.
bool has_client_gone(int error) { return error == WSAECONNRESET || error == WSAENOTCONN; }

}  // namespace

bool sockets_start() {
  WSADATA details;
  return WSAStartup(MAKEWORD(1, 1), &details) == 0;
}

void sockets_stop() { WSACleanup(); }
int socket_last_error() { return WSAGetLastError(); }

bool tcp_protocol(int *protocol) {
  const protoent *entry = getprotobyname("tcp");
  if (entry == nullptr) return false;
  *protocol = entry->p_proto;
  return true;
}

Socket socket_create(int protocol) {
  const SOCKET created = socket(AF_INET, SOCK_STREAM, protocol);
  if (created != INVALID_SOCKET) keep_from_children(created);
  return word_of(created);
}

bool socket_connect(Socket socket, Endpoint peer) {
  const sockaddr_in address = to_system(peer);
  return connect(handle_of(socket), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool socket_bind(Socket socket, uint16_t port) {
  // Without it a server that asks for SO_REUSEADDR gets the port of another one here.
  const int on = 1;
  setsockopt(handle_of(socket), SOL_SOCKET, SO_EXCLUSIVEADDRUSE, reinterpret_cast<const char *>(&on), sizeof on);
  const sockaddr_in address = to_system({{}, port});
  return bind(handle_of(socket), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool socket_listen(Socket socket, int backlog) { return listen(handle_of(socket), backlog) == 0; }

Socket socket_accept(Socket socket, Endpoint *peer) {
  sockaddr_in address{};
  SOCKET accepted;
  // A client that gave up while it waited is nobody's failure.
  do {
    int size = sizeof address;
    accepted = accept(handle_of(socket), reinterpret_cast<sockaddr *>(&address), &size);
  } while (accepted == INVALID_SOCKET && has_client_gone(WSAGetLastError()));
  if (accepted == INVALID_SOCKET) return kNoSocket;
  if (!from_system(address, peer)) {
    closesocket(accepted);
    return kNoSocket;
  }
  keep_from_children(accepted);
  return word_of(accepted);
}

bool socket_set_no_delay(Socket socket) {
  const int on = 1;
  return setsockopt(handle_of(socket), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&on), sizeof on) == 0;
}

int socket_close(Socket socket) { return closesocket(handle_of(socket)); }

}  // namespace kiv::os
