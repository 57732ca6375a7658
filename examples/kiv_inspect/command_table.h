// The table of commands.
#ifndef KIV_INSPECT_COMMAND_TABLE_H
#define KIV_INSPECT_COMMAND_TABLE_H

#include "examples/kiv_inspect/command.h"

namespace kiv::inspect {

/// The options in front of a command: its memory is watched; it is told how long it took.
inline constexpr char kDebugHeap[] = "--debug-heap", kTime[] = "--time";

/// Runs the command of that name, or tells which there are. With a path in the arguments, only those that a server
/// answers.
Outcome run_command(const char *name, const Arguments &arguments);

}  // namespace kiv::inspect

#endif
