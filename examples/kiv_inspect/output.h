// How the commands print.
#ifndef KIV_INSPECT_OUTPUT_H
#define KIV_INSPECT_OUTPUT_H

#include <cstdint>
#include <string_view>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

/// The error line on standard error.
Outcome fail(const char *subject, Status status);

/// Ends a command's output: it has failed when it could not be written.
Outcome finish_output();

void print_address(uint64_t address, int digits);

/// Prints a name in printable ASCII. Every other byte becomes \xNN: a name from a hostile file cannot play with a
/// terminal, whatever its encoding.
void print_name(std::string_view name);

}  // namespace kiv::inspect

#endif
