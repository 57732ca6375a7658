#include <unistd.h>

#include "os/platform.h"

namespace kiv::os {

uint32_t process_current_id() { return static_cast<uint32_t>(getpid()); }

}  // namespace kiv::os
