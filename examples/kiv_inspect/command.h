// The commands of the tool: one source file each, and one row of the table in main.cpp.
#ifndef KIV_INSPECT_COMMAND_H
#define KIV_INSPECT_COMMAND_H

#include <optional>
#include <string_view>

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

  /// Takes an option out, wherever it stands. Gives its place, or -1 when it is not there.
  int take_option(std::string_view name);

  /// Takes out what now stands at that place, behind an option that was there, when it is a number.
  std::optional<uint64_t> take_count(int place);
};

struct Command {
  const char *name;
  const char *arguments;
  int least, most;      // how many arguments, options included
  const char *help[5];  // lines; null ones are none
  /// Wrong usage is told before anything is printed.
  Outcome (*run)(Arguments arguments);
};

/// The end of a command that looked into the program at path. A failure is printed with the message in front, which
/// tells what could not be done; its argument [0_S] is the path.
Outcome finish(const Arguments &arguments, Status status, const Message &message, const char *path);

Outcome run_symbols(Arguments arguments);
Outcome run_resolve(Arguments arguments);
Outcome run_ranges(Arguments arguments);
Outcome run_constants(Arguments arguments);
Outcome run_tree(Arguments arguments);
Outcome run_bytes(Arguments arguments);

}  // namespace kiv::inspect

#endif
