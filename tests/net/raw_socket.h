// The system's sockets, without the library: what a peer of the tests speaks through.
#ifndef KIV_TESTS_NET_RAW_SOCKET_H
#define KIV_TESTS_NET_RAW_SOCKET_H

#include <cstdint>
#include <string>

#ifdef _WIN32
#include <winsock2.h>
#else
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cerrno>
#endif

namespace kiv::test {

#ifdef _WIN32
using RawSocket = SOCKET;
using SocketSize = int;
inline void raw_close(RawSocket socket) { closesocket(socket); }
inline bool was_interrupted() { return false; }
#else
using RawSocket = int;
using SocketSize = socklen_t;
inline void raw_close(RawSocket socket) { close(socket); }
inline bool was_interrupted() { return errno == EINTR; }
#endif

inline uint16_t port_of(uint32_t socket) {
  sockaddr_in name{};
  SocketSize size = sizeof name;
  getsockname(static_cast<RawSocket>(socket), reinterpret_cast<sockaddr *>(&name), &size);
  return ntohs(name.sin_port);
}

inline RawSocket raw_connect(uint16_t port) {
  const RawSocket raw = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = htons(port);
  server.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  connect(raw, reinterpret_cast<const sockaddr *>(&server), sizeof server);
  return raw;
}

inline void raw_send(RawSocket socket, const std::string &bytes) {
  for (size_t sent = 0; sent < bytes.size();) {
    const auto n = send(socket, bytes.data() + sent, static_cast<int>(bytes.size() - sent), 0);
    if (n <= 0 && !was_interrupted()) return;
    if (n > 0) sent += static_cast<size_t>(n);
  }
}

inline std::string raw_receive(RawSocket socket, size_t size) {
  std::string bytes(size, '\0');
  for (size_t received = 0; received < size;) {
    const auto n = recv(socket, bytes.data() + received, static_cast<int>(size - received), 0);
    if (n == 0 || (n < 0 && !was_interrupted())) return bytes.substr(0, received);
    if (n > 0) received += static_cast<size_t>(n);
  }
  return bytes;
}

/// Closes with a reset in place of an orderly end.
inline void raw_reset(RawSocket socket) {
  const linger at_once{1, 0};
  setsockopt(socket, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char *>(&at_once), sizeof at_once);
  raw_close(socket);
}

}  // namespace kiv::test

#endif
