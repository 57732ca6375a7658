// The handle in a caller's lock variable. A null address counts as a null handle, which every lock function refuses.
#ifndef KIV_OS_HANDLE_IN_H
#define KIV_OS_HANDLE_IN_H

#include "os/platform.h"

namespace kiv::os {

inline Handle handle_in(const Handle *variable) { return variable != nullptr ? *variable : nullptr; }

}  // namespace kiv::os

#endif
