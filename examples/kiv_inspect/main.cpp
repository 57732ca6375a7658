// kiv_inspect looks into programs, ELF or PE, for the people who write debuggers. The exit status is 0, 1 after an
// error (its record is on standard error), or 2 for a command line that makes no sense, or asks for what
// this build does not have.

#include <clocale>
#include <cstdio>
#include <cstring>

#include "examples/kiv_inspect/command_table.h"
#include "examples/kiv_inspect/progress_bar.h"
#include "kiv_debug_heap.h"

namespace kiv::inspect {
namespace {

constexpr size_t kOutputBufferSize = 1u << 16;

/// REQUIRES: count strings of the command line, from the command on.
Outcome run(int count, char **values, KIV_ALLOCATOR *allocator) {
  const Errors errors(allocator);
  SharedProgram program(allocator, Reading::on_demand);
  FileSink out(stdout), err(stderr);
  const bool is_there = count > 0;
  return run_command(is_there ? values[0] : "", {is_there ? count - 1 : 0, values + (is_there ? 1 : 0), allocator,
                                                 errors, program, nullptr, out, err});
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
  const Outcome outcome = run(count, values, kiv_debug_heap_new(&heap, 1));
  kiv_debug_heap_destroy_allocator(&heap);
  return outcome;
}

}  // namespace
}  // namespace kiv::inspect

int main(int argc, char **argv) {
  // Names are shown as the user's system shows text; numbers are not touched by that.
  (void)std::setlocale(LC_CTYPE, "");
  using namespace kiv::inspect;
  // What a person reads comes line by line, all else in large pieces.
  if (!is_terminal(stdout)) (void)std::setvbuf(stdout, nullptr, _IOFBF, kOutputBufferSize);
  const bool watched = argc > 1 && std::strcmp(argv[1], kDebugHeap) == 0;
  return exit_status(watched ? run_watched(argc - 2, argv + 2) : run_plainly(argc - 1, argv + 1));
}
