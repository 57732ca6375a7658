// The table of commands.
#ifndef KIV_INSPECT_COMMAND_TABLE_H
#define KIV_INSPECT_COMMAND_TABLE_H

#include "examples/kiv_inspect/command.h"

namespace kiv::inspect {

/// The option in front of a command that watches its memory.
inline constexpr char kDebugHeap[] = "--debug-heap";

/// Runs the command of that name, or tells which there are. With a path in the arguments, only those that a server
/// answers.
Outcome run_command(const char *name, const Arguments &arguments);

}  // namespace kiv::inspect

#endif
