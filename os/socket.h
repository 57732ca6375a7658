// What the stream and the server need of the operating system's sockets: TCP over IPv4, blocking. os/posix/ and
// os/win32/ implement it; socket_transfer.cpp has the two functions that move bytes, for which tests put their own.
//
// A failed call leaves its reason where socket_last_error() finds it. No child process inherits a socket.
#ifndef KIV_OS_SOCKET_H
#define KIV_OS_SOCKET_H

#include <cstddef>
#include <cstdint>

namespace kiv::os {

/// A descriptor, or the low 32 bits of a Windows handle: the others of a handle are copies of the highest of these.
using Socket = uint32_t;
inline constexpr Socket kNoSocket = UINT32_MAX;

struct IPv4Address {
  uint8_t bytes[4];  // as written, most significant first
};

struct Endpoint {
  IPv4Address address;
  uint16_t port;
};

// --- The process (socket.cpp) ----------------------------------------------------------------------------------------

bool sockets_start();
void sockets_stop();
int socket_last_error();

// --- Connections (socket.cpp) ----------------------------------------------------------------------------------------

/// The number of the protocol "tcp".
bool tcp_protocol(int *protocol);
Socket socket_create(int protocol);
bool socket_connect(Socket socket, Endpoint peer);
/// Binds to all addresses of this host, and to a port that no other server has. One that was closed does not count; on
/// Windows it does while connections live that it accepted.
bool socket_bind(Socket socket, uint16_t port);
bool socket_listen(Socket socket, int backlog);
/// Waits for a connection. kNoSocket on failure, also for a peer that has no IPv4 address.
Socket socket_accept(Socket socket, Endpoint *peer);
bool socket_set_no_delay(Socket socket);
/// What the system's close gives: 0 on success.
int socket_close(Socket socket);

// --- Names (socket_names.cpp) ----------------------------------------------------------------------------------------

/// The first address of a host, given by name or by address.
bool host_address(const char *name, IPv4Address *address);
/// The name of a host, cut to the capacity; false when it has none.
bool host_name(IPv4Address address, char *name, size_t capacity);
bool this_host_name(char *name, size_t capacity);

// --- Transfer (socket_transfer.cpp) ----------------------------------------------------------------------------------

/// Send and receive up to n bytes, 1 or more. The number of bytes, 0 when the peer has closed, -1 on failure. An
/// interruption is none, and no signal tells of a broken connection.
int32_t socket_send(Socket socket, const void *bytes, int32_t n);
int32_t socket_receive(Socket socket, void *bytes, int32_t n);

}  // namespace kiv::os

#endif
