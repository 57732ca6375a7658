#include <sys/timeb.h>

#include "os/platform.h"

namespace kiv::os {

TimeOfDay time_of_day() {
  __timeb64 now{};
  _ftime64(&now);
  return {static_cast<uint64_t>(now.time), now.millitm};
}

}  // namespace kiv::os
