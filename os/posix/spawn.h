// Starting a program. The new process has the parent's standard input; its output goes to the file, or where the
// parent's goes; no other descriptor, no blocked signal, and SIGPIPE as programs expect it: libraries in the parent
// often ignore it, which would be inherited. Errors of the new process before its program begins, such as a program
// that is not there, are errors here. Both give the id, or -1.
#ifndef KIV_OS_POSIX_SPAWN_H
#define KIV_OS_POSIX_SPAWN_H

#include <sys/types.h>

#include "os/platform.h"

namespace kiv::os {

/// A child, for the caller to wait for.
pid_t spawn_child(const ProcessStart &start);

/// A process that the system waits for when it ends, and nobody else has to.
pid_t spawn_orphan(const ProcessStart &start);

}  // namespace kiv::os

#endif
