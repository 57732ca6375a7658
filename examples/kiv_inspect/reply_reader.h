// Reads replies (reply.h).
#ifndef KIV_INSPECT_REPLY_READER_H
#define KIV_INSPECT_REPLY_READER_H

#include <string_view>

#include "examples/kiv_inspect/name_text.h"
#include "examples/kiv_inspect/sink.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_socket.h"

namespace kiv::inspect {

/// A line at a time, of any length that there is memory for. A server that is none, or a hostile one, gets nothing
/// shown but text that does no harm.
class ReplyReader {
 public:
  /// REQUIRES: all of these outlive this.
  ReplyReader(KIV_STREAM *stream, const Errors &errors, KIV_ALLOCATOR *allocator)
      : stream_(stream), errors_(errors), allocator_(allocator), text_(allocator) {}
  ~ReplyReader() { allocator_->free(allocator_, room_); }
  ReplyReader(const ReplyReader &) = delete;
  ReplyReader &operator=(const ReplyReader &) = delete;

  /// A line, which is then known.
  Status read();

  uint64_t number() const { return number_; }
  char letter() const { return room_[text_at_ - 1]; }
  std::string_view text() const { return {room_ + text_at_, size_ - text_at_}; }

  /// Writes the text as a line.
  Status print(Sink &sink);

 private:
  Status read_line();

  KIV_STREAM *stream_;
  const Errors &errors_;
  KIV_ALLOCATOR *allocator_;
  NameText text_;
  char *room_ = nullptr;
  uint32_t room_size_ = 0;
  uint32_t size_ = 0;  // of the line
  uint64_t number_ = 0;
  size_t text_at_ = 1;
};

}  // namespace kiv::inspect

#endif
