#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

uint32_t process_current_id() { return GetCurrentProcessId(); }

}  // namespace kiv::os
