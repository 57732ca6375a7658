// Answers requests about one program, which is read once.
#ifndef KIV_INSPECT_REQUEST_HANDLER_H
#define KIV_INSPECT_REQUEST_HANDLER_H

#include <optional>

#include "examples/kiv_inspect/command.h"

namespace kiv::inspect {

/// The parts of the program, its symbols, its constants and so on, are read when a request first needs them, and stay.
/// All other memory that a request takes ends with it. What could not be read is tried anew by the next request.
class RequestHandler {
 public:
  /// REQUIRES: path and allocator outlive this.
  RequestHandler(const char *path, KIV_ALLOCATOR *allocator) : path_(path), allocator_(allocator), errors_(allocator) {}
  RequestHandler(const RequestHandler &) = delete;
  RequestHandler &operator=(const RequestHandler &) = delete;

  /// Reads the program's file, so that one that cannot be read is known in front of all requests.
  Status open();

  /// Runs a request: a command, and its arguments without the program. No words are no request.
  Outcome answer(int count, char **words, Sink &out, Sink &err);

  /// Whose records a request ends.
  const Errors &errors() const { return errors_; }

 private:
  const char *path_;
  KIV_ALLOCATOR *allocator_;
  Errors errors_;
  std::optional<Program> program_;
};

}  // namespace kiv::inspect

#endif
