// kiv_inspect looks into programs, ELF or PE, for the people who write debuggers. The exit status is 0, 1 after an
// error (one line on standard error tells it), or 2 for a command line that makes no sense.

#include <climits>
#include <clocale>
#include <cstdio>
#include <cstring>

#include "examples/kiv_inspect/command.h"

namespace kiv::inspect {
namespace {

constexpr Command kCommands[] = {
    {"symbols", "[--regex] PROGRAM [PATTERN]", 1, 3,
     "the symbols in the order of their addresses: address, kind (F function, O object, - other), name;\n"
     "      with a pattern those whose whole name it matches (* any characters, ? any one, [a-f] one of these),\n"
     "      with --regex those of which a regular expression matches a part (. [] * + ? ^ $)",
     run_symbols},
    {"resolve", "PROGRAM HEX...", 2, INT_MAX, "the nearest symbol at or below each address, and the distance from it",
     run_resolve},
    {"constants", "PROGRAM [PATTERN]", 1, 2,
     "the constants of the debug information: kind (E enumerator, C constant, V variable, M member), name, value;\n"
     "      with a pattern those whose whole name it matches",
     run_constants},
    {"bytes", "PROGRAM HEX COUNT [FIRST:WIDTH[be|le]]", 3, 4,
     "the bytes from an address on, as they are loaded; with FIRST:WIDTH a bit field out of them, too: 1 to 128 bits,\n"
     "      from bit FIRST on, of a number in the byte order of the program, or big (be) or little endian (le)",
     run_bytes},
};

void print_usage() {
  std::fputs("usage:\n", stderr);
  for (const Command &command : kCommands) {
    std::fprintf(stderr, "  kiv_inspect %s %s\n      %s\n", command.name, command.arguments, command.help);
  }
}

Outcome run(int argc, char **argv, KIV_ALLOCATOR *allocator) {
  const Arguments arguments = {argc - 2, argv + 2, allocator};
  for (const Command &command : kCommands) {
    if (argc < 2 || std::strcmp(argv[1], command.name) != 0) continue;
    if (arguments.count < command.least || arguments.count > command.most) break;
    return command.run(arguments);
  }
  return Outcome::wrong_usage;
}

}  // namespace
}  // namespace kiv::inspect

int main(int argc, char **argv) {
  // Names are shown as the user's system shows text; numbers are not touched by that.
  (void)std::setlocale(LC_CTYPE, "");
  KIV_ALLOCATOR heap;
  const auto outcome = kiv::inspect::run(argc, argv, kiv_allocator_default_new(&heap));
  (void)kiv_allocator_default_delete(&heap);
  if (outcome == kiv::inspect::Outcome::wrong_usage) kiv::inspect::print_usage();
  return static_cast<int>(outcome);
}
