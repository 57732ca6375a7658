#include "examples/kiv_inspect/command_table.h"

#include <climits>
#include <cstring>

#include "examples/kiv_inspect/output.h"

namespace kiv::inspect {
namespace {

constexpr Command kCommands[] = {
    {"symbols",
     "[--regex] [--by-name | --by-size [N]] ",
     "[PATTERN]",
     true,
     1,
     5,
     {"the symbols in the order of their addresses: address, kind (F function, O object, - other), name;",
      "with a pattern those whose whole name it matches (* any characters, ? any one, [a-f] one of these),",
      "with --regex those of which a regular expression matches a part (. [] * + ? ^ $);",
      "with --by-name in the order of their names, with --by-size the largest (or the N largest) first: address,",
      "size, kind, name"},
     run_symbols},
    {"resolve",
     "[--space NAME:NUMBER:BITS]... ",
     "[[SPACE:]HEX|NAME]...",
     true,
     1,
     INT_MAX,
     {"the nearest symbol at or below each address, and the distance from it; the addresses that have each name;",
      "when none is given, those that standard input has, one a line; a SPACE is one of those that the next command",
      "lists"},
     run_resolve},
    {"spaces",
     "[--space NAME:NUMBER:BITS]... ",
     "",
     true,
     1,
     INT_MAX,
     {"the memory spaces: number, name, name of the address space, bits that an address counts; and their addresses;",
      "each --space adds one, of units of so many bits"},
     run_spaces},
    {"ranges",
     "",
     "LOW HIGH",
     true,
     3,
     3,
     {"the sections and symbols with an address from LOW to HIGH, both included: first and last address, kind (S "
      "section,",
      "others as above), name"},
     run_ranges},
    {"sections",
     "",
     "",
     true,
     1,
     1,
     {"all sections in the order of their addresses: first and last address, size, kind, name"},
     run_sections},
    {"constants",
     "",
     "[PATTERN]",
     true,
     1,
     2,
     {"the constants of the debug information: kind (E enumerator, C constant, V variable, M member), name, value;",
      "with a pattern those whose whole name it matches"},
     run_constants},
    {"tree",
     "[--width N | --navigate] [--cell N] ",
     "[NAME]",
     false,
     1,
     7,
     {"a drawing, N columns wide, of the types of the debug information and the enumerators, by the scopes around "
      "them,",
      "or of those in the scope or type of that name; a..b stands for all from a to b; with --navigate a dialogue that",
      "walks in it, by a line on standard input for each step; with --cell a level is drawn when its nodes have N",
      "columns each"},
     run_tree},
    {"bytes",
     "",
     "HEX COUNT [FIRST:WIDTH[be|le]]",
     true,
     3,
     4,
     {"the bytes from an address on, as they are loaded; with FIRST:WIDTH a bit field out of them, too: 1 to 128 bits,",
      "from bit FIRST on, of a number in the byte order of the program, or big (be) or little endian (le)"},
     run_bytes},
    {"disasm",
     "",
     "HEX COUNT",
     true,
     3,
     3,
     {"COUNT instructions from an address on: address, bytes, text; addresses in it with the nearest symbol behind "
      "them"},
     run_disasm},
    {"serve",
     "[--once | --clients N] [--patience N] ",
     "PORT",
     false,
     2,
     6,
     {"answers requests about the program, of up to N clients (8) at a time, with --once of one client; one that says",
      "nothing for N seconds (10) is left alone; whoever reaches the port may ask"},
     run_serve},
    {"ask",
     "HOST PORT [REQUEST...]",
     nullptr,
     false,
     2,
     INT_MAX,
     {"what the server there has to say to a request: symbols, resolve, spaces, ranges, sections, constants, bytes or",
      "disasm, without a program; or to those that standard input has, one a line"},
     run_ask},
    {"--version", "", nullptr, false, 0, 0, {"the versions of this program and of its protocol"}, run_version},
};

/// What cannot be printed for lack of memory is left out.
void print_command(const Command &command, bool is_served, Output &output) {
  const bool has_program = command.operands != nullptr && !is_served;
  const char *operands = command.operands != nullptr ? command.operands : "";
  const bool has_operands = *operands != '\0', is_alone = !has_program && !has_operands && *command.options == '\0';
  (void)output.line("  [0_s][1_s][2_s][3_s][4_s][5_s][|]", command.name, is_alone ? "" : " ", command.options,
                    has_program ? "PROGRAM" : "", has_program && has_operands ? " " : "", operands);
  for (const char *line : command.help) {
    if (line != nullptr) (void)output.line("      [0_s][|]", line);
  }
}

void print_usage(const Arguments &arguments, bool is_served) {
  Output output(arguments.err, arguments.errors, arguments.allocator);
  (void)output.line(
      is_served ? "usage: kiv_inspect ask HOST PORT REQUEST[|]" : "usage: kiv_inspect [[[0_s]] [[[1_s]] COMMAND[|]",
      kDebugHeap, kTime);
  for (const Command &command : kCommands) {
    if (!is_served || command.is_request) print_command(command, is_served, output);
  }
  if (!is_served) {
    (void)output.line("with [0_s], all memory is watched, and what happens to it is told[|]", kDebugHeap);
    (void)output.line("with [0_s], standard error tells how long the command took[|]", kTime);
  }
  (void)output.finish();
}

}  // namespace

Outcome run_command(const char *name, const Arguments &arguments) {
  const bool is_served = arguments.path != nullptr;
  const int count = arguments.count + (is_served ? 1 : 0);
  Outcome outcome = Outcome::wrong_usage;
  for (const Command &command : kCommands) {
    if (std::strcmp(name, command.name) != 0 || (is_served && !command.is_request)) continue;
    if (count >= command.least && count <= command.most) outcome = command.run(arguments);
  }
  if (outcome == Outcome::wrong_usage) print_usage(arguments, is_served);
  return outcome;
}

}  // namespace kiv::inspect
