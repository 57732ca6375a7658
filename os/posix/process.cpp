// Processes on Linux.
//
// A handle holds a process descriptor (pidfd), which names one process even when its id has gone to another one since;
// or the id, where the kernel has no such descriptor to give: it is too old, forbids them, or the process has run out
// of descriptors, which is no reason for a start to fail. Tagged by the lowest bit, either is a pointer but null.
#include <cerrno>
#include <csignal>

#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "os/platform.h"
#include "os/posix/spawn.h"

namespace kiv::os {
namespace {

class ProcessHandle {
 public:
  explicit ProcessHandle(Handle handle) : word_(reinterpret_cast<uintptr_t>(handle)) {}
  static Handle of_descriptor(int fd) { return reinterpret_cast<Handle>(static_cast<uintptr_t>(fd) << 1 | 1); }
  static Handle of_id(pid_t id) { return reinterpret_cast<Handle>(static_cast<uintptr_t>(id) << 1); }

  bool is_descriptor() const { return (word_ & 1) != 0; }
  int descriptor() const { return static_cast<int>(word_ >> 1); }
  pid_t id() const { return static_cast<pid_t>(word_ >> 1); }

 private:
  uintptr_t word_;
};

// Called by number: the C library has these functions only lately.
int pidfd_open(pid_t id) { return static_cast<int>(syscall(SYS_pidfd_open, id, 0)); }
bool pidfd_kill(int fd) { return syscall(SYS_pidfd_send_signal, fd, SIGKILL, nullptr, 0) == 0; }

/// Somebody may have it, also somebody whom we must not send signals.
bool is_running(pid_t id) { return kill(id, 0) == 0 || errno == EPERM; }

/// Waits for a child and takes it off the system's list. Not a child, or one that somebody else has taken: ECHILD.
bool reap(idtype_t kind, id_t id) {
  siginfo_t ignored;
  int result;
  do {
    result = waitid(kind, id, &ignored, WEXITED);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool wait_until_readable(int fd) {
  pollfd entry{fd, POLLIN, 0};
  int result;
  do {
    result = poll(&entry, 1, -1);
  } while (result < 0 && errno == EINTR);
  return result == 1;
}

/// Without a descriptor the system tells nobody but the parent of a process's end.
bool wait_until_gone(pid_t id) {
  constexpr uint32_t kMillisecondsBetweenLooks = 10;
  while (is_running(id)) sleep_milliseconds(kMillisecondsBetweenLooks);
  return true;
}

/// Whether pidfd_open() failed for a reason that says nothing of the process. A thread's id, too, must not become a
/// handle: kill() would take it for its process.
bool may_do_without_descriptor(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOSYS || error == EPERM;
}

}  // namespace

bool process_start(const ProcessStart &start, uint32_t *id, Handle *handle) {
  const pid_t started = handle != nullptr ? spawn_child(start) : spawn_orphan(start);
  if (started < 0) return false;
  *id = static_cast<uint32_t>(started);
  if (handle != nullptr) {
    const int fd = pidfd_open(started);
    *handle = fd >= 0 ? ProcessHandle::of_descriptor(fd) : ProcessHandle::of_id(started);
  }
  return true;
}

Handle process_open(uint32_t id) {
  // 0 and negative numbers would name groups of processes.
  if (id == 0 || id > INT32_MAX) {
    errno = ESRCH;
    return nullptr;
  }
  const auto process = static_cast<pid_t>(id);
  const int fd = pidfd_open(process);
  if (fd >= 0) return ProcessHandle::of_descriptor(fd);
  return may_do_without_descriptor(errno) && is_running(process) ? ProcessHandle::of_id(process) : nullptr;
}

bool process_kill(Handle process) {
  const ProcessHandle handle(process);
  if (handle.is_descriptor()) return pidfd_kill(handle.descriptor());
  return kill(handle.id(), SIGKILL) == 0;
}

bool process_wait(Handle process) {
  const ProcessHandle handle(process);
  if (handle.is_descriptor()) {
    const int fd = handle.descriptor();
    return reap(P_PIDFD, static_cast<id_t>(fd)) || (errno == ECHILD && wait_until_readable(fd));
  }
  return reap(P_PID, static_cast<id_t>(handle.id())) || (errno == ECHILD && wait_until_gone(handle.id()));
}

void process_close(Handle process) {
  const ProcessHandle handle(process);
  if (handle.is_descriptor()) close(handle.descriptor());
}

uint32_t process_current_id() { return static_cast<uint32_t>(getpid()); }

}  // namespace kiv::os
