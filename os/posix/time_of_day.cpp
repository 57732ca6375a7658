#include <ctime>

#include "os/platform.h"

namespace kiv::os {

TimeOfDay time_of_day() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return {static_cast<uint64_t>(now.tv_sec), static_cast<uint32_t>(now.tv_nsec / 1000000)};
}

}  // namespace kiv::os
