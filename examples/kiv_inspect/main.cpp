// kiv_inspect looks into programs, ELF or PE, for the people who write debuggers. The exit status is 0, 1 after an
// error (its record is on standard error), or 2 for a command line that makes no sense, or asks for what
// this build does not have.

#include <clocale>
#include <cstdio>
#include <cstring>

#ifndef _WIN32
#include <fcntl.h>
#endif

#include "examples/kiv_inspect/command_table.h"
#include "examples/kiv_inspect/command_times.h"
#include "examples/kiv_inspect/progress_bar.h"
#include "kiv_debug_heap.h"

namespace kiv::inspect {
namespace {

constexpr size_t kOutputBufferSize = 1u << 16;

/// Standard streams that are closed become such that fail: the next file or connection would take their descriptors,
/// and what was meant for the user would go there.
void hold_closed_streams() {
#ifndef _WIN32
  for (int stream = 0; stream < 3; ++stream) {
    if (fcntl(stream, F_GETFD) < 0) (void)open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
  }
#endif
}

/// The command line: what stands in front of the command, and count strings from the command on.
struct CommandLine {
  bool is_watched = false, is_timed = false;
  int count;
  char **values;

  CommandLine(int all, char **strings) : count(all - 1), values(strings + 1) {
    while (take(kDebugHeap, &is_watched) || take(kTime, &is_timed)) {
    }
  }

 private:
  bool take(const char *option, bool *is_there) {
    if (count < 1 || std::strcmp(values[0], option) != 0) return false;
    *is_there = true;
    --count;
    ++values;
    return true;
  }
};

Outcome run(const CommandLine &line, KIV_ALLOCATOR *allocator) {
  const CommandTimes times;
  const Errors errors(allocator);
  SharedProgram program(allocator, Reading::on_demand);
  FileSink out(stdout), err(stderr);
  const int is_there = line.count > 0 ? 1 : 0;
  const Outcome outcome = run_command(is_there ? line.values[0] : "", {line.count - is_there, line.values + is_there,
                                                                       allocator, errors, program, nullptr, out, err});
  if (line.is_timed) {
    (void)out.flush();
    Output output(err, errors, allocator);
    times.print(program, output);
  }
  return outcome;
}

/// On the C runtime's heap, whose failures are the callers' to notice.
Outcome run_plainly(const CommandLine &line) {
  KIV_ALLOCATOR heap;
  const Outcome outcome = run(line, kiv_allocator_default_new(&heap));
  (void)kiv_allocator_default_delete(&heap);
  return outcome;
}

/// On the debug heap, which tells of writes outside of blocks, of blocks that are freed twice, and of those that are
/// left at the end.
Outcome run_watched(const CommandLine &line) {
  (void)kiv_debug_heap_set_hook(kiv_debug_heap_print_hook);
  KIV_ALLOCATOR heap;
  const Outcome outcome = run(line, kiv_debug_heap_new(&heap, 1));
  kiv_debug_heap_destroy_allocator(&heap);
  return outcome;
}

}  // namespace
}  // namespace kiv::inspect

int main(int argc, char **argv) {
  kiv::inspect::hold_closed_streams();
  // Names are shown as the user's system shows text; numbers are not touched by that.
  (void)std::setlocale(LC_CTYPE, "");
  using namespace kiv::inspect;
  // What a person reads comes line by line, all else in large pieces.
  if (!is_terminal(stdout)) (void)std::setvbuf(stdout, nullptr, _IOFBF, kOutputBufferSize);
  const CommandLine line(argc, argv);
  return exit_status(line.is_watched ? run_watched(line) : run_plainly(line));
}
