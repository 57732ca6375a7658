#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

static_assert(INFINITE == UINT32_MAX);

void sleep_milliseconds(uint32_t milliseconds) { Sleep(milliseconds); }

}  // namespace kiv::os
