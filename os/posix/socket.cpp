#include "os/socket.h"

#include <cerrno>

#include <fcntl.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "os/socket_address.h"

namespace kiv::os {
namespace {

int descriptor(Socket socket) { return static_cast<int>(socket); }

/// A connect that a signal interrupted goes on by itself: waits for its end.
bool finish_connecting(int socket) {
  pollfd waiting{socket, POLLOUT, 0};
  while (poll(&waiting, 1, -1) < 0) {
    if (errno != EINTR) return false;
  }
  int error = 0;
  socklen_t size = sizeof error;
  if (getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) != 0) return false;
  errno = error;
  return error == 0;
}

}  // namespace

// There is nothing to start, and SIGPIPE is left as the program wants it: sends ask for no signal.
bool sockets_start() { return true; }
void sockets_stop() {}
int socket_last_error() { return errno; }

// A constant on these systems; minimal ones have no table of protocols to look it up in.
bool tcp_protocol(int *protocol) {
  *protocol = IPPROTO_TCP;
  return true;
}

Socket socket_create(int protocol) {
  return static_cast<Socket>(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, protocol));
}

bool socket_connect(Socket socket, Endpoint peer) {
  const sockaddr_in address = to_system(peer);
  if (connect(descriptor(socket), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0) return true;
  return errno == EINTR && finish_connecting(descriptor(socket));
}

bool socket_bind(Socket socket, uint16_t port) {
  // Here it means: also while connections of the last server are dying down. Not: beside another server.
  const int on = 1;
  setsockopt(descriptor(socket), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  const sockaddr_in address = to_system({{}, port});
  return bind(descriptor(socket), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool socket_listen(Socket socket, int backlog) { return listen(descriptor(socket), backlog) == 0; }

Socket socket_accept(Socket socket, Endpoint *peer) {
  sockaddr_in address{};
  for (;;) {
    socklen_t size = sizeof address;
    const int accepted = accept4(descriptor(socket), reinterpret_cast<sockaddr *>(&address), &size, SOCK_CLOEXEC);
    if (accepted >= 0) {
      if (from_system(address, peer)) return static_cast<Socket>(accepted);
      close(accepted);
      return kNoSocket;
    }
    // A client that gave up while it waited is nobody's failure.
    if (errno != EINTR && errno != ECONNABORTED) return kNoSocket;
  }
}

bool socket_set_no_delay(Socket socket) {
  const int on = 1;
  return setsockopt(descriptor(socket), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0;
}

// An interrupted close has closed.
int socket_close(Socket socket) { return close(descriptor(socket)) == 0 || errno == EINTR ? 0 : -1; }

}  // namespace kiv::os
