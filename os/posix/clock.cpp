#include <cerrno>
#include <ctime>

#include <sched.h>
#include <unistd.h>

#include "os/platform.h"

namespace kiv::os {

void sleep_milliseconds(uint32_t milliseconds) {
  if (milliseconds == 0) {
    sched_yield();
    return;
  }
  if (milliseconds == UINT32_MAX) {
    for (;;) pause();
  }
  // An absolute end: a sleep that signals interrupt does not grow.
  timespec end{};
  clock_gettime(CLOCK_MONOTONIC, &end);
  end.tv_sec += static_cast<time_t>(milliseconds / 1000);
  end.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
  if (end.tv_nsec >= 1000000000) {
    end.tv_nsec -= 1000000000;
    end.tv_sec += 1;
  }
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}

}  // namespace kiv::os
