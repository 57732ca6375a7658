// A client's conversation with a server: requests under way, and what arrives for them.
//
// Representation. Each request that was sent has a handler in a list, under its number, and each line that arrives is a
// message to the handler that has its number. The handler stays until the line that ends the reply. Number 0 is the
// connection's own: its first handler is for one message, the server's version.
// Invariants. Requests under way take kMostAhead bytes at most, or there is one. So much fits into the buffers between
// the two ends: a server that is not reading, since it writes a reply, does not keep the client from reading that.
#ifndef KIV_INSPECT_CONVERSATION_H
#define KIV_INSPECT_CONVERSATION_H

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/progress_bar.h"
#include "examples/kiv_inspect/reply_reader.h"
#include "examples/kiv_inspect/request_line.h"
#include "kiv_msg_handler.h"
#include "kiv_socket.h"

namespace kiv::inspect {

class Conversation {
 public:
  static constexpr int kMostAhead = 2 * kRequestSize;

  /// REQUIRES: both outlive this.
  Conversation(const Arguments &arguments, KIV_STREAM *stream);
  ~Conversation();
  Conversation(const Conversation &) = delete;
  Conversation &operator=(const Conversation &) = delete;

  /// Tells the server the version of the protocol, and hears of its own. A failure when they do not fit.
  Status greet();

  /// Whether a request of so many bytes may be sent before more has arrived.
  bool has_room(int size) const { return bytes_ahead_ == 0 || bytes_ahead_ + size <= kMostAhead; }

  /// Sends a request. REQUIRES: greet; a number of its own, above 0.
  Status send(uint64_t number, const char *line, int size);

  /// Waits for a line, and prints it where it belongs. REQUIRES: is_waiting.
  Status receive();

  /// Whether requests are under way.
  bool is_waiting() const { return bytes_ahead_ > 0; }

  /// The worst exit status of the replies that ended.
  Outcome worst() const { return worst_; }

 private:
  struct Line;
  static void take_version(void *line, void *conversation, void *);
  static void take_notice(void *line, void *conversation, void *);
  static void take_reply(void *line, void *conversation, void *size);
  static void take_progress(void *conversation, int32_t value);
  Status add_handler(uint64_t number, KIV_MSG_CALLBACK callback, int size, bool stays);
  Status write(const char *line, int size);
  Status print(Sink &sink, bool is_terminal);

  const Arguments &arguments_;
  KIV_STREAM *stream_;
  KIV_MSG_HANDLER_LIST *handlers_;  // null without memory
  ReplyReader reader_;
  ProgressBar bar_;
  const bool is_out_terminal_;
  Status status_;  // of the handler that was called last
  Outcome worst_ = Outcome::done;
  int bytes_ahead_ = 0;
};

}  // namespace kiv::inspect

#endif
