// Bytes of a stream's connection, chunk headers and payload alike: sending all of a range, and receiving through the
// stream's receive buffer.
#ifndef KIV_NET_STREAM_TRANSFER_H
#define KIV_NET_STREAM_TRANSFER_H

#include <cstdint>

#include "kiv_socket.h"

namespace kiv {

/// H of the stream's chunks, as in chunk_format.h.
inline int32_t base_header_length(const KIV_STREAM *stream) { return stream->secondary_channel != 0 ? 2 : 1; }

/// Sets the error flag. False, for callers to pass on.
inline bool fail(KIV_STREAM *stream) {
  stream->error = 1;
  return false;
}

/// Sends all n bytes, or sets the error flag.
bool send_all(KIV_STREAM *stream, const uint8_t *bytes, int32_t n);

inline constexpr int kNoTerminator = -1;

/// Receives n bytes, or up to and including the first that equals the terminator. Gives their number: fewer than n
/// without the terminator when the connection has ended. Bytes behind a terminator stay in the receive buffer.
int32_t receive(KIV_STREAM *stream, uint8_t *out, int32_t n, int terminator = kNoTerminator);

}  // namespace kiv

#endif
