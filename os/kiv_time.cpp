#include "kiv_time.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/record_layout.h"
#include "os/platform.h"

namespace os = kiv::os;

KIV_LAYOUT_32(sizeof(KIV_TIME) == 8 && offsetof(KIV_TIME, milliseconds) == 4);

int kiv_get_time(KIV_TIME *time) {
  const os::TimeOfDay now = os::time_of_day();
  *time = {static_cast<uint32_t>(now.seconds), now.milliseconds};
  return 0;
}

uint64_t kiv_get_millitime(void) {
  const os::TimeOfDay now = os::time_of_day();
  return now.seconds * 1000 + now.milliseconds;
}

uint64_t kiv_get_microtime(void) { return os::microtime(); }

// The borrow of a second is what signed numbers do by themselves. One division, hence one rounding: the same double on
// every target.
double kiv_delta_time(uint32_t later_seconds, uint32_t later_milliseconds, uint32_t earlier_seconds,
                      uint32_t earlier_milliseconds) {
  const int64_t seconds = int64_t{later_seconds} - int64_t{earlier_seconds};
  const int64_t milliseconds = int64_t{later_milliseconds} - int64_t{earlier_milliseconds};
  return static_cast<double>(seconds * 1000 + milliseconds) / 1000.0;
}

void kiv_dev_profiling_thread_terminate(const char *name) {
  const char *wanted = std::getenv("KIV_PROFILE_THREADS");
  if (wanted == nullptr || std::strcmp(wanted, "1") != 0) return;
  os::ProcessorTime thread{};
  os::ProcessorTime process{};
  if (!os::processor_times(&thread, &process)) {
    // The same text on every system: people search for it.
    std::fputs("Function GetThreadTimes(...) and / or GetProcessTimes(...)failed.\n", stderr);
    return;
  }
  constexpr double kPerSecond = 1e7;
  const uint64_t percent = thread.total() != 0 ? thread.kernel * 100 / thread.total() : 0;
  std::fprintf(stderr, "%s thread time %.3lg sec (%u%% kernel; process %.3lg sec)\n", name,
               static_cast<double>(thread.total()) / kPerSecond, static_cast<unsigned>(percent),
               static_cast<double>(process.total()) / kPerSecond);
}
