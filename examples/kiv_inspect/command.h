// The commands of the tool: one source file each, and one row of the table in main.cpp.
#ifndef KIV_INSPECT_COMMAND_H
#define KIV_INSPECT_COMMAND_H

#include "kiv_allocator.h"

namespace kiv::inspect {

/// What a command comes to, and the exit status of the program.
enum class Outcome { done = 0, failed = 1, wrong_usage = 2 };

/// What follows the command's name on the command line, PROGRAM first, and where its memory comes from.
struct Arguments {
  int count;
  char **values;
  KIV_ALLOCATOR *allocator;
};

struct Command {
  const char *name;
  const char *arguments;
  int least, most;  // how many arguments
  const char *help;
  /// Wrong usage is told before anything is printed.
  Outcome (*run)(Arguments arguments);
};

Outcome run_symbols(Arguments arguments);
Outcome run_resolve(Arguments arguments);
Outcome run_constants(Arguments arguments);
Outcome run_bytes(Arguments arguments);

}  // namespace kiv::inspect

#endif
