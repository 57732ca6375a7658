// Answers requests about one program, which is read once, of several clients at a time.
//
// Representation. The program that new requests get, and in it the number of those that look into it.
// Invariants. The mutex is held for as long as it takes to count. A program that is no longer handed out, since a part
// of it could not be read, ends with the last request that has it: each of them sees one program from first to last.
#ifndef KIV_INSPECT_REQUEST_HANDLER_H
#define KIV_INSPECT_REQUEST_HANDLER_H

#include "examples/kiv_inspect/command.h"

namespace kiv::inspect {

/// The parts of the program, its symbols, its constants and so on, are read when a request first needs them, and stay.
/// All other memory that a request takes ends with it. What could not be read is tried anew by the next request.
class RequestHandler {
 public:
  /// REQUIRES: path and allocator outlive this; any thread that asks may use the allocator.
  RequestHandler(const char *path, KIV_ALLOCATOR *allocator);
  /// REQUIRES: all requests are answered.
  ~RequestHandler();
  RequestHandler(const RequestHandler &) = delete;
  RequestHandler &operator=(const RequestHandler &) = delete;

  /// Reads the program's file, so that one that cannot be read is known in front of all requests.
  Status open(const Errors &errors);

  /// Runs a request: a command, and its arguments without the program. No words are no request. For any thread.
  Outcome answer(int count, char **words, Sink &out, Sink &err);

 private:
  class Use;
  SharedProgram *acquire();
  void release(SharedProgram *program);
  void end(SharedProgram *program);

  const char *path_;
  KIV_ALLOCATOR *allocator_;
  kiv_mutex mutex_ = nullptr;         // null: there is none, and so no program
  SharedProgram *current_ = nullptr;  // null: the next request makes one
};

}  // namespace kiv::inspect

#endif
