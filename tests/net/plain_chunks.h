// The stream's wire format once more, written from its table without the library, on strings: both sides of a peer, and
// what the reads of a stream must give for any bytes. Connections are scripted: in one source file of a program that
// links the static library, this stands in for the sending and receiving of os/socket.h.
#ifndef KIV_TESTS_NET_PLAIN_CHUNKS_H
#define KIV_TESTS_NET_PLAIN_CHUNKS_H

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>

#include "kiv_socket.h"
#include "os/socket.h"
#include "tests/support/random.h"

namespace kiv::test {

inline struct ScriptedConnection {
  std::string incoming;
  size_t step = SIZE_MAX;  // the most bytes that one receive gives
  size_t send_step = SIZE_MAX;
  size_t send_limit = SIZE_MAX;  // the connection breaks behind so many bytes
  std::string sent = "";
  size_t sends = 0, position = 0;
  bool has_ended = false;  // a receive was told so
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
  const size_t rest = connection.incoming.size() - connection.position;
  const size_t received = std::min({static_cast<size_t>(n), connection.step, rest});
  if (received != 0) std::memcpy(bytes, connection.incoming.data() + connection.position, received);
  connection.position += received;
  connection.has_ended = received == 0;
  return static_cast<int32_t>(received);
}

}  // namespace kiv::os

namespace kiv::test {

/// The piggyback character of an empty text stands for a stream without secondary channel.
inline std::string chunk(const std::string &piggyback, char type, const std::string &payload) {
  char count[16] = "";
  const size_t length = piggyback.size() + 1 + 4 + payload.size();
  if (type == '*') std::snprintf(count, sizeof count, "%04d", static_cast<int>(length));
  return piggyback + type + count + payload;
}

/// What a writer sends.
struct PlainWriter {
  std::string piggyback, wire = "", buffer = "";

  void write(const std::string &bytes) {
    const size_t capacity = 1023 - piggyback.size();
    buffer += bytes;
    for (; buffer.size() > capacity; buffer.erase(0, capacity))
      wire += chunk(piggyback, '+', buffer.substr(0, capacity));
  }
  void flush() {
    const size_t length = piggyback.size() + 1 + buffer.size();
    if (!buffer.empty())
      wire += chunk(piggyback, length <= 1015 ? '*' : static_cast<char>(length - 1015 + '0'), buffer);
    buffer.clear();
  }
};

/// What a reader gets out of a connection that ends behind the incoming bytes.
struct PlainReader {
  std::string wire;
  size_t base, most_acknowledgements;
  bool error = false, owes = false;
  std::string piggybacked = "";  // the characters that stand for values from 1 to 61
  size_t acknowledgements = 0, at = 0, remaining = 0;

  std::string read(size_t n, int terminator) {
    std::string out;
    while (!error && out.size() < n) {
      if (remaining == 0 && !header()) return "";
      if (remaining == 0 || at == wire.size()) break;
      out += wire[at++];
      --remaining;
      if (static_cast<unsigned char>(out.back()) == terminator) break;
    }
    return out;
  }

  bool header() {
    error = true;
    if (std::exchange(owes, false) && ++acknowledgements > most_acknowledgements) return false;
    if (wire.size() - at < base) return false;
    const char character = wire[at], type = wire[at + base - 1];
    at += base;
    if (base == 2 && character != '0' && std::isalnum(static_cast<unsigned char>(character))) piggybacked += character;
    owes = type == '+';
    size_t before = base, total = owes ? 1024 : 1015 + static_cast<size_t>(type - '0');
    if (type == '*') {
      const std::string count = wire.substr(at, 4);
      if (count.size() < 4 || count.find_first_not_of("0123456789") != std::string::npos) return false;
      at += 4;
      before += 4;
      total = std::stoul(count);
    } else if (!owes && (type < '0' || type > '9')) {
      return false;
    }
    remaining = total - before;
    error = total < before;
    return !error;
  }
};

inline constexpr size_t kMostRead = 3000;  // by one call of the following function

/// Reads a scripted connection to its end, with random calls into the memory before `end`, and holds each against the
/// plain reader. What differs; "" when nothing does.
inline std::string difference_to_plain(std::mt19937_64 *random, const ScriptedConnection &script, bool secondary,
                                       char *end) {
  std::string piggybacked;
  PlainReader plain{script.incoming, secondary ? 2U : 1U, script.send_limit / 3};
  const auto stream = scripted_stream(script, secondary);
  const auto append = [](void *context, int32_t value) {
    const char *alphabet = "?123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    *static_cast<std::string *>(context) += alphabet[value >= 1 && value <= 61 ? value : 0];
  };
  kiv_socket_process_piggybacked_value(stream.get(), append, &piggybacked);
  for (int32_t count = 1; count != 0 || (stream->error == 0 && !connection.has_ended);) {
    const auto n = static_cast<int32_t>(1 + below(*random, below(*random, 2) != 0 ? kMostRead : 40));
    const bool lines = below(*random, 3) == 0, terminated = lines || below(*random, 2) != 0;
    char *buffer = end - n;
    std::string expected = plain.read(static_cast<size_t>(lines ? n - 1 : n), terminated ? '\n' : -1);
    if (lines && !expected.empty() && expected.back() == '\n') expected.pop_back();
    count = lines        ? kiv_socket_read_line(stream.get(), buffer, n)
            : terminated ? kiv_socket_terminated_read(stream.get(), buffer, n, '\n')
                         : kiv_socket_read(stream.get(), buffer, n);
    if (count != static_cast<int32_t>(expected.size()) || (lines && buffer[count] != '\0')) return "length";
    if (std::memcmp(buffer, expected.data(), expected.size()) != 0) return "bytes";
    if ((stream->error != 0) != plain.error) return "error flag";
  }
  if (piggybacked != plain.piggybacked) return "piggybacked values";
  if (connection.sent.size() != std::min(3 * plain.acknowledgements, script.send_limit)) return "acknowledgements";
  return stream->header_room[0] == 0xA5 ? "" : "overrun of the receive buffer";
}

}  // namespace kiv::test

#endif
