// How the commands print.
#ifndef KIV_INSPECT_OUTPUT_H
#define KIV_INSPECT_OUTPUT_H

#include <cstdint>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_types.h"

namespace kiv::inspect {

/// The error line on standard error.
Outcome fail(const char *subject, Status status);

/// Ends a command's output: it has failed when it could not be written.
Outcome finish_output();

void print_address(uint64_t address, int digits);

/// Prints a name as the locale shows it. What has no shape becomes visible: control characters as ^A, others that are
/// not printable as \x and their number. A name from a hostile file cannot play with a terminal.
void print_name(const KIV_UNICHAR *name);

}  // namespace kiv::inspect

#endif
