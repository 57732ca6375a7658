// The commands of the tool: one source file each, and one row of the table in main.cpp.
#ifndef KIV_INSPECT_COMMAND_H
#define KIV_INSPECT_COMMAND_H

#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// What a command comes to, and the exit status of the program.
enum class Outcome { done = 0, failed = 1, wrong_usage = 2 };

/// What follows the command's name on the command line, and where its memory and its failures come from.
struct Arguments {
  int count;
  char **values;
  KIV_ALLOCATOR *allocator;
  const Errors &errors;
};

struct Command {
  const char *name;
  const char *arguments;
  int least, most;      // how many arguments
  const char *help[3];  // lines; null ones are none
  /// Wrong usage is told before anything is printed.
  Outcome (*run)(Arguments arguments);
};

/// The end of a command that looked into the program at path. A failure is printed with the message in front, which
/// tells what could not be done; its argument [0_S] is the path.
Outcome finish(const Arguments &arguments, Status status, const Message &message, const char *path);

Outcome run_symbols(Arguments arguments);
Outcome run_resolve(Arguments arguments);
Outcome run_constants(Arguments arguments);
Outcome run_bytes(Arguments arguments);

}  // namespace kiv::inspect

#endif
