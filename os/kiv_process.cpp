#include "kiv_process.h"

#include "os/platform.h"

uint32_t kiv_process_get_pid(void) { return kiv::os::process_current_id(); }
