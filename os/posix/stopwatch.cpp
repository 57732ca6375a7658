#include <ctime>

#include <sys/resource.h>

#include "os/platform.h"

namespace kiv::os {
namespace {

uint64_t units_of_100ns(const timeval &time) {
  return static_cast<uint64_t>(time.tv_sec) * 10000000 + static_cast<uint64_t>(time.tv_usec) * 10;
}

bool usage(__rusage_who who, ProcessorTime *time) {
  rusage used{};
  if (getrusage(who, &used) != 0) return false;
  *time = {units_of_100ns(used.ru_stime), units_of_100ns(used.ru_utime)};
  return true;
}

}  // namespace

uint64_t microtime() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

bool processor_times(ProcessorTime *thread, ProcessorTime *process) {
  return usage(RUSAGE_THREAD, thread) && usage(RUSAGE_SELF, process);
}

}  // namespace kiv::os
