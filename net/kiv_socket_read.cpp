// Reading: chunk headers, acknowledgements that are owed, payload.

#include <algorithm>

#include "net/chunk_format.h"
#include "net/stream_transfer.h"

namespace kiv {
namespace {

/// The payload of the chunk with that type, reading its digits; -1 when there is no such chunk.
int32_t read_payload_size(KIV_STREAM *stream, uint8_t type, int32_t base_length) {
  if (type == kFullType) return kChunkSize - base_length;
  if (is_digit(type)) return kLongChunk + (type - '0') - base_length;
  if (type != kCountedType) return -1;
  uint8_t digits[kCountDigits];
  if (receive(stream, digits, kCountDigits) != kCountDigits) return -1;
  // Below 0 also for a length that its own header exceeds.
  return counted_length(digits) - base_length - kCountDigits;
}

/// Starts the next chunk, or sets the error flag.
bool read_header(KIV_STREAM *stream) {
  const bool acknowledges = stream->acknowledgement_owed != 0 && stream->no_delay == 0;
  stream->acknowledgement_owed = 0;
  if (acknowledges && !send_all(stream, kAcknowledgement, sizeof kAcknowledgement)) return false;

  uint8_t start[2];
  const int32_t base_length = base_header_length(stream);
  if (receive(stream, start, base_length) != base_length) return fail(stream);
  if (stream->secondary_channel != 0) {
    const int32_t value = piggyback_value(start[0]);
    if (value >= 1 && stream->process_piggyback != nullptr) {
      stream->process_piggyback(stream->process_piggyback_context, value);
    }
  }
  const uint8_t type = start[base_length - 1];
  const int32_t payload_size = read_payload_size(stream, type, base_length);
  if (payload_size < 0) return fail(stream);
  stream->chunk_remaining = payload_size;
  stream->acknowledgement_owed = type == kFullType ? 1 : 0;
  return true;
}

int32_t read(KIV_STREAM *stream, uint8_t *out, int32_t n, int terminator) {
  if (stream->error != 0 || n < 1) return 0;
  int32_t count = 0;
  do {
    // A header that fails costs what this call has read so far: callers take a short count for the end of a
    // connection, and this is worse.
    if (stream->chunk_remaining <= 0 && !read_header(stream)) return 0;
    const int32_t received = receive(stream, out + count, std::min(stream->chunk_remaining, n - count), terminator);
    // The connection has ended, or the chunk is empty: a peer that sends one empty chunk after the other keeps nobody
    // in here.
    if (received == 0) break;
    stream->chunk_remaining -= received;
    count += received;
  } while (count < n && out[count - 1] != terminator);
  return count;
}

}  // namespace
}  // namespace kiv

int32_t kiv_socket_read(KIV_STREAM *stream, void *buffer, int32_t n) {
  return kiv::read(stream, static_cast<uint8_t *>(buffer), n, kiv::kNoTerminator);
}

int32_t kiv_socket_terminated_read(KIV_STREAM *stream, void *buffer, int32_t n, char terminator) {
  return kiv::read(stream, static_cast<uint8_t *>(buffer), n, static_cast<uint8_t>(terminator));
}

int32_t kiv_socket_read_line(KIV_STREAM *stream, char *buffer, int32_t size) {
  if (size < 1) return 0;
  int32_t length = kiv_socket_terminated_read(stream, buffer, size - 1, '\n');
  if (length > 0 && buffer[length - 1] == '\n') --length;
  buffer[length] = '\0';
  return length;
}
