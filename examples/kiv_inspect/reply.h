// What a server answers: lines, each with the number of the request and a letter in front that tells what it is.
//
//     N oTEXT    a line of standard output
//     N eTEXT    a line of standard error
//     N =STATUS  the end, and the exit status
//     0 vVERSION the first line of a connection: the version of the protocol
//
// Beside it goes how far the output has come, on the secondary channel: 1 where it starts, 61 where it ends.
#ifndef KIV_INSPECT_REPLY_H
#define KIV_INSPECT_REPLY_H

#include "examples/kiv_inspect/sink.h"
#include "kiv_socket.h"

namespace kiv::inspect {

inline constexpr char kOutputLine = 'o', kErrorLine = 'e', kReplyEnd = '=', kVersionLine = 'v';
inline constexpr int32_t kMostProgress = 61;

/// Both ends of a connection: chunks leave at once, and the secondary channel is on. False when that is not to be had.
bool set_up_connection(KIV_STREAM *stream);

/// A reply that is being written. Its sinks take whole lines, in any order.
class Reply {
 public:
  /// REQUIRES: the stream outlives this.
  Reply(KIV_STREAM *stream, uint64_t number);
  ~Reply();
  Reply(const Reply &) = delete;
  Reply &operator=(const Reply &) = delete;

  Sink &out() { return out_; }
  Sink &err() { return err_; }

  /// Sends what is left of it, and the exit status.
  void end(int status);

  /// Sends a line that comes at once, and is the only one.
  void send_line(char letter, const char *text);

 private:
  class LineSink final : public Sink {
   public:
    LineSink(Reply &reply, char letter) : reply_(reply), letter_(letter) {}
    void write(const char *text, size_t size) override;
    bool has_failed() const override { return reply_.stream_->error != 0; }
    bool flush() override { return !has_failed(); }
    void progress(uint64_t done, uint64_t total) override;

   private:
    Reply &reply_;
    const char letter_;
    bool in_line_ = false;
  };

  void send(const char *bytes, size_t size);
  void begin_line(char letter);

  KIV_STREAM *stream_;
  char number_[24];  // and a blank
  size_t number_size_;
  int32_t progress_ = 0;
  LineSink out_{*this, kOutputLine}, err_{*this, kErrorLine};
};

}  // namespace kiv::inspect

#endif
