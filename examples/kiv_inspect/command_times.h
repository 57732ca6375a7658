// How long a command takes.
#ifndef KIV_INSPECT_COMMAND_TIMES_H
#define KIV_INSPECT_COMMAND_TIMES_H

#include <cstdint>

#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/shared_program.h"

namespace kiv::inspect {

/// Of a command that starts when this is made.
class CommandTimes {
 public:
  CommandTimes();

  /// Prints, on a line each, the time by the clock that reading the program took, all else, and both together. The
  /// library adds a line on standard error with the processor time of this thread and of the process.
  /// REQUIRES: the command has ended.
  void print(const SharedProgram &program, Output &output) const;

 private:
  uint64_t start_;  // microseconds
};

}  // namespace kiv::inspect

#endif
