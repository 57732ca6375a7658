#include "examples/kiv_inspect/command_times.h"

#include <algorithm>
#include <cstdlib>

#include "kiv_time.h"

namespace kiv::inspect {
namespace {

double seconds(uint64_t microseconds) { return static_cast<double>(microseconds) / 1e6; }

/// The library tells of processor time only where this is set, so that it can be asked for from outside.
void switch_profiling_on() {
#ifdef _WIN32
  (void)_putenv("KIV_PROFILE_THREADS=1");
#else
  (void)setenv("KIV_PROFILE_THREADS", "1", 1);
#endif
}

}  // namespace

CommandTimes::CommandTimes() : start_(kiv_get_microtime()) {}

void CommandTimes::print(const SharedProgram &program, Output &output) const {
  const uint64_t all = kiv_get_microtime() - start_, read = program.load_time();
  // Without memory for them, lines are left out.
  (void)output.line("read  [0_df12.6] s[|]", seconds(read));
  (void)output.line("rest  [0_df12.6] s[|]", seconds(all - std::min(all, read)));
  (void)output.line("all   [0_df12.6] s[|]", seconds(all));
  (void)output.finish();
  switch_profiling_on();
  kiv_dev_profiling_thread_terminate("kiv_inspect");
}

}  // namespace kiv::inspect
