// kiv_inspect looks into programs, ELF or PE, for the people who write debuggers. The exit status is 0, 1 after an
// error (its record is on standard error), or 2 for a command line that makes no sense.

#include <climits>
#include <clocale>
#include <cstring>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/output.h"
#include "kiv_debug_heap.h"

namespace kiv::inspect {
namespace {

constexpr Command kCommands[] = {
    {"symbols",
     "[--regex] [--by-name | --by-size [N]] PROGRAM [PATTERN]",
     1,
     5,
     {"the symbols in the order of their addresses: address, kind (F function, O object, - other), name;",
      "with a pattern those whose whole name it matches (* any characters, ? any one, [a-f] one of these),",
      "with --regex those of which a regular expression matches a part (. [] * + ? ^ $);",
      "with --by-name in the order of their names, with --by-size the largest (or the N largest) first: address,",
      "size, kind, name"},
     run_symbols},
    {"resolve",
     "PROGRAM HEX|NAME...",
     2,
     INT_MAX,
     {"the nearest symbol at or below each address, and the distance from it; the addresses that have each name"},
     run_resolve},
    {"ranges",
     "PROGRAM LOW HIGH",
     3,
     3,
     {"the sections and symbols with an address from LOW to HIGH, both included: first and last address, kind (S "
      "section,",
      "others as above), name"},
     run_ranges},
    {"constants",
     "PROGRAM [PATTERN]",
     1,
     2,
     {"the constants of the debug information: kind (E enumerator, C constant, V variable, M member), name, value;",
      "with a pattern those whose whole name it matches"},
     run_constants},
    {"tree",
     "[--width N | --navigate] [--cell N] PROGRAM [NAME]",
     1,
     7,
     {"a drawing, N columns wide, of the types of the debug information and the enumerators, by the scopes around "
      "them,",
      "or of those in the scope or type of that name; a..b stands for all from a to b; with --navigate a dialogue that",
      "walks in it, by a line on standard input for each step; with --cell a level is drawn when its nodes have N",
      "columns each"},
     run_tree},
    {"bytes",
     "PROGRAM HEX COUNT [FIRST:WIDTH[be|le]]",
     3,
     4,
     {"the bytes from an address on, as they are loaded; with FIRST:WIDTH a bit field out of them, too: 1 to 128 bits,",
      "from bit FIRST on, of a number in the byte order of the program, or big (be) or little endian (le)"},
     run_bytes},
};

constexpr char kDebugHeap[] = "--debug-heap";

/// What cannot be printed for lack of memory is left out.
void print_usage(const Errors &errors, KIV_ALLOCATOR *allocator) {
  Output output(stderr, errors, allocator);
  (void)output.line("usage: kiv_inspect [[[0_s]] COMMAND[|]", kDebugHeap);
  for (const Command &command : kCommands) {
    (void)output.line("  [0_s] [1_s][|]", command.name, command.arguments);
    for (const char *line : command.help) {
      if (line != nullptr) (void)output.line("      [0_s][|]", line);
    }
  }
  (void)output.line("with [0_s], all memory is watched, and what happens to it is told[|]", kDebugHeap);
}

/// REQUIRES: count strings of the command line, from the command on.
Outcome run(int count, char **values, KIV_ALLOCATOR *allocator) {
  const Errors errors(allocator);
  const Arguments arguments = {count - 1, values + 1, allocator, errors};
  Outcome outcome = Outcome::wrong_usage;
  for (const Command &command : kCommands) {
    if (count < 1 || std::strcmp(values[0], command.name) != 0) continue;
    if (arguments.count >= command.least && arguments.count <= command.most) outcome = command.run(arguments);
  }
  if (outcome == Outcome::wrong_usage) print_usage(errors, allocator);
  return outcome;
}

/// On the C runtime's heap, whose failures are the callers' to notice.
Outcome run_plainly(int count, char **values) {
  KIV_ALLOCATOR heap;
  const Outcome outcome = run(count, values, kiv_allocator_default_new(&heap));
  (void)kiv_allocator_default_delete(&heap);
  return outcome;
}

/// On the debug heap, which tells of writes outside of blocks, of blocks that are freed twice, and of those that are
/// left at the end.
Outcome run_watched(int count, char **values) {
  (void)kiv_debug_heap_set_hook(kiv_debug_heap_print_hook);
  KIV_ALLOCATOR heap;
  const Outcome outcome = run(count, values, kiv_debug_heap_new(&heap, 0));
  kiv_debug_heap_destroy_allocator(&heap);
  return outcome;
}

}  // namespace
}  // namespace kiv::inspect

int main(int argc, char **argv) {
  // Names are shown as the user's system shows text; numbers are not touched by that.
  (void)std::setlocale(LC_CTYPE, "");
  using namespace kiv::inspect;
  const bool watched = argc > 1 && std::strcmp(argv[1], kDebugHeap) == 0;
  return static_cast<int>(watched ? run_watched(argc - 2, argv + 2) : run_plainly(argc - 1, argv + 1));
}
