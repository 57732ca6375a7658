// Writing: the send buffer, chunks, waiting for acknowledgements.

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "net/chunk_format.h"
#include "net/stream_transfer.h"

namespace kiv {
namespace {

// A header is written down from the begin of the payload.
static_assert(offsetof(KIV_STREAM, send_buffer) == offsetof(KIV_STREAM, header_room) + KIV_SOCKET_HEADER_SIZE);

/// The send buffer as a part of the record, with the header room before it.
uint8_t *payload_of(KIV_STREAM *stream) {
  return reinterpret_cast<uint8_t *>(stream) + offsetof(KIV_STREAM, send_buffer);
}

int32_t payload_capacity(const KIV_STREAM *stream) { return kChunkSize - base_header_length(stream); }

void require_consistent(const KIV_STREAM *stream) {
  if (stream->send_fill < 0 || stream->send_fill > kChunkSize) kiv_socket_die("stream buffer size inconsistency", 1);
}

/// Sends the first bytes of the send buffer with the header in front of them, of which the piggyback character is still
/// missing, and empties the buffer of them. One send, so that no packet has a header alone.
bool send_chunk(KIV_STREAM *stream, uint8_t *header, int32_t payload_size) {
  if (stream->secondary_channel != 0) {
    const int32_t value = stream->get_piggyback != nullptr ? stream->get_piggyback(stream->get_piggyback_context) : 0;
    *--header = piggyback_character(value);
  }
  uint8_t *payload = payload_of(stream);
  const bool sent = send_all(stream, header, static_cast<int32_t>(payload + payload_size - header));
  // A byte is left when the secondary channel was enabled with the buffer full.
  stream->send_fill -= payload_size;
  std::memmove(payload, payload + payload_size, static_cast<size_t>(stream->send_fill));
  return sent;
}

bool send_full_chunk(KIV_STREAM *stream) {
  uint8_t *header = payload_of(stream) - 1;
  *header = kFullType;
  return send_chunk(stream, header, payload_capacity(stream));
}

bool await_acknowledgement(KIV_STREAM *stream) {
  if (stream->no_delay != 0) return true;
  uint8_t answer[sizeof kAcknowledgement];
  if (receive(stream, answer, sizeof answer) != sizeof answer) return fail(stream);
  return std::memcmp(answer, kAcknowledgement, sizeof answer) == 0 || fail(stream);
}

}  // namespace
}  // namespace kiv

int32_t kiv_socket_buffered_write(KIV_STREAM *stream, const void *data, int32_t n) {
  if (stream->error != 0) return 0;
  kiv::require_consistent(stream);
  const auto *bytes = static_cast<const uint8_t *>(data);
  const int32_t capacity = kiv::payload_capacity(stream);
  int32_t accepted = 0;
  while (accepted < n) {
    const int32_t rest = n - accepted;
    const int32_t taken = std::clamp(capacity - stream->send_fill, 0, rest);
    std::memcpy(stream->send_buffer + stream->send_fill, bytes + accepted, static_cast<size_t>(taken));
    stream->send_fill += taken;
    // A buffer that is just full waits for more, or for the flush.
    if (taken == rest) return n;
    if (!kiv::send_full_chunk(stream)) return accepted;
    accepted += taken;
    if (!kiv::await_acknowledgement(stream)) return accepted;
  }
  return accepted;
}

int kiv_socket_flush(KIV_STREAM *stream) {
  if (stream->error != 0) return 1;
  kiv::require_consistent(stream);
  if (stream->send_fill > kiv::payload_capacity(stream) &&
      !(kiv::send_full_chunk(stream) && kiv::await_acknowledgement(stream))) {
    stream->send_fill = 0;
    return 1;
  }
  if (stream->send_fill == 0) return 0;
  uint8_t *header = kiv::put_flush_header(kiv::payload_of(stream), stream->send_fill, kiv::base_header_length(stream));
  return kiv::send_chunk(stream, header, stream->send_fill) ? 0 : 1;
}

int32_t kiv_socket_write(KIV_STREAM *stream, const void *data, int32_t n) {
  const int32_t accepted = kiv_socket_buffered_write(stream, data, n);
  kiv_socket_flush(stream);
  return accepted;
}
