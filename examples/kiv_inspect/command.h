// The commands of the tool: one source file each, and one row of the table in command_table.cpp.
#ifndef KIV_INSPECT_COMMAND_H
#define KIV_INSPECT_COMMAND_H

#include <optional>
#include <string_view>

#include "examples/kiv_inspect/shared_program.h"
#include "examples/kiv_inspect/sink.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// What a command comes to.
enum class Outcome {
  done,
  failed,
  wrong_usage,  // the usage is told
  refused,      // why it cannot be run is told
};

/// The exit status of the program.
inline int exit_status(Outcome outcome) {
  constexpr int kStatuses[] = {0, 1, 2, 2};
  return kStatuses[static_cast<int>(outcome)];
}

/// What follows the command's name on the command line or in a request, where its memory and its failures come from,
/// and where its text goes.
struct Arguments {
  int count;
  char **values;
  KIV_ALLOCATOR *allocator;
  const Errors &errors;
  SharedProgram &shared;  // for commands that look into one
  const char *path;       // its; null: it is among the arguments
  Sink &out;
  Sink &err;

  /// Takes an option out, wherever it stands. Gives its place, or -1 when it is not there.
  int take_option(std::string_view name);

  /// Takes out what now stands at that place, behind an option that was there, when it is a number.
  std::optional<uint64_t> take_count(int place);

  /// Takes out an option and the number behind it, which is from 1 to the most. False when that is not so; without the
  /// option *number stays as it is.
  bool take_number(std::string_view name, uint32_t most, uint32_t *number);

  /// Takes out what now stands at that place, behind an option that was there; null when nothing does.
  const char *take_value(int place);

  /// Takes out the path of the program, which now comes first, unless it is known already. False when it is missing.
  bool take_path();

  /// Reads these parts of the program, in this order, unless they are there. After take_path.
  Status load(std::initializer_list<SharedProgram::Part> parts) const { return shared.load(path, parts, errors); }

  /// What was loaded of it. Others may be looking into it, too.
  const Program &program() const { return shared.program(); }
};

struct Command {
  const char *name;
  const char *options;   // and a blank; what stands in front of the program
  const char *operands;  // what stands behind it; null: there is no program
  bool is_request;       // whether a server answers it
  int least, most;       // how many arguments, options and the program included
  const char *help[5];   // lines; null ones are none
  /// Wrong usage is told before anything is printed.
  Outcome (*run)(Arguments arguments);
};

/// The end of a command that looked into the program. A failure is printed with the message in front, which tells what
/// could not be done; its argument [0_S] is the path.
Outcome finish(const Arguments &arguments, Status status, const Message &message);

Outcome run_symbols(Arguments arguments);
Outcome run_resolve(Arguments arguments);
Outcome run_spaces(Arguments arguments);
Outcome run_ranges(Arguments arguments);
Outcome run_constants(Arguments arguments);
Outcome run_tree(Arguments arguments);
Outcome run_sections(Arguments arguments);
Outcome run_bytes(Arguments arguments);
Outcome run_disasm(Arguments arguments);
Outcome run_serve(Arguments arguments);
Outcome run_ask(Arguments arguments);
Outcome run_version(Arguments arguments);

}  // namespace kiv::inspect

#endif
