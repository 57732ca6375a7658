#include "os/performance_counter.h"
#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {
namespace {

uint64_t units_of_100ns(const FILETIME &time) { return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; }

}  // namespace

uint64_t microtime() {
  LARGE_INTEGER counter{};
  LARGE_INTEGER frequency{};
  QueryPerformanceCounter(&counter);
  QueryPerformanceFrequency(&frequency);
  return counter_microseconds(static_cast<uint64_t>(counter.QuadPart), static_cast<uint64_t>(frequency.QuadPart));
}

bool processor_times(ProcessorTime *thread, ProcessorTime *process) {
  FILETIME created, ended, kernel, user;
  if (!GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user)) return false;
  *thread = {units_of_100ns(kernel), units_of_100ns(user)};
  if (!GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user)) return false;
  *process = {units_of_100ns(kernel), units_of_100ns(user)};
  return true;
}

}  // namespace kiv::os
