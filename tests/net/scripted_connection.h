// Stands in for the sending and receiving of os/socket.h, in one source file of a program that links the static
// library: an open stream with a peer whose bytes are known in advance.
#ifndef KIV_TESTS_NET_SCRIPTED_CONNECTION_H
#define KIV_TESTS_NET_SCRIPTED_CONNECTION_H

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "kiv_socket.h"
#include "os/socket.h"

namespace kiv::test {

inline struct ScriptedConnection {
  std::string incoming;
  size_t step = SIZE_MAX;   // the most bytes that one receive gives
  size_t split = SIZE_MAX;  // no receive gives bytes before and behind this one
  size_t position = 0;
  bool has_ended = false;  // a receive was told so

  std::string sent;
  size_t sends = 0;
  size_t send_step = SIZE_MAX;
  size_t send_limit = SIZE_MAX;  // the connection breaks behind so many bytes
} connection;

/// Whatever was in the record before.
inline std::unique_ptr<KIV_STREAM> scripted_stream(const ScriptedConnection &script, bool secondary) {
  connection = script;
  auto stream = std::make_unique<KIV_STREAM>();
  std::memset(stream.get(), 0xA5, sizeof *stream);
  kiv_init_stream(stream.get())->is_open = 1;
  stream->secondary_channel = secondary ? 1 : 0;
  return stream;
}

}  // namespace kiv::test

namespace kiv::os {

using test::connection;

int32_t socket_send(Socket, const void *bytes, int32_t n) {
  ++connection.sends;
  const size_t room = connection.send_limit - connection.sent.size();
  const size_t sent = std::min({static_cast<size_t>(n), connection.send_step, room});
  connection.sent.append(static_cast<const char *>(bytes), sent);
  return sent != 0 ? static_cast<int32_t>(sent) : -1;
}

int32_t socket_receive(Socket, void *bytes, int32_t n) {
  const size_t end = connection.position < connection.split ? connection.split : SIZE_MAX;
  const size_t rest = std::min(end, connection.incoming.size()) - connection.position;
  const size_t received = std::min({static_cast<size_t>(n), connection.step, rest});
  if (received != 0) std::memcpy(bytes, connection.incoming.data() + connection.position, received);
  connection.position += received;
  connection.has_ended = received == 0;
  return static_cast<int32_t>(received);
}

}  // namespace kiv::os

#endif
