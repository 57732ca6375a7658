#include "net/stream_transfer.h"

#include <algorithm>
#include <cstring>

#include "os/socket.h"

namespace kiv {
namespace {

/// Moves up to n bytes out of the receive buffer, no further than a terminator.
int32_t take_received(KIV_STREAM *stream, uint8_t *out, int32_t n, int terminator) {
  const uint8_t *unread = stream->receive_buffer + stream->receive_position;
  int32_t taken = std::min(n, stream->receive_fill - stream->receive_position);
  if (taken <= 0) return 0;
  if (terminator != kNoTerminator) {
    const void *found = std::memchr(unread, terminator, static_cast<size_t>(taken));
    if (found != nullptr) taken = static_cast<int32_t>(static_cast<const uint8_t *>(found) - unread) + 1;
  }
  std::memcpy(out, unread, static_cast<size_t>(taken));
  stream->receive_position += taken;
  return taken;
}

/// Waits for bytes. Their number; 0 when there will be none.
int32_t receive_some(const KIV_STREAM *stream, uint8_t *out, int32_t n) {
  return stream->is_open != 0 ? std::max(os::socket_receive(stream->socket, out, n), 0) : 0;
}

}  // namespace

bool send_all(KIV_STREAM *stream, const uint8_t *bytes, int32_t n) {
  while (n > 0) {
    const int32_t sent = stream->is_open != 0 ? os::socket_send(stream->socket, bytes, n) : 0;
    if (sent <= 0) return fail(stream);
    bytes += sent;
    n -= sent;
  }
  return true;
}

int32_t receive(KIV_STREAM *stream, uint8_t *out, int32_t n, int terminator) {
  int32_t received = take_received(stream, out, n, terminator);
  while (received < n && (received == 0 || out[received - 1] != terminator)) {
    // Past the buffer when the bytes would fill it and none of them can be one too many.
    const bool direct = n - received >= KIV_SOCKET_RECEIVE_SIZE && terminator == kNoTerminator;
    int32_t more = receive_some(stream, direct ? out + received : stream->receive_buffer,
                                direct ? n - received : KIV_SOCKET_RECEIVE_SIZE);
    if (more == 0) break;
    if (!direct) {
      stream->receive_position = 0;
      stream->receive_fill = more;
      more = take_received(stream, out + received, n - received, terminator);
    }
    received += more;
  }
  return received;
}

}  // namespace kiv
