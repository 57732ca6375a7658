#include "os/posix/spawn.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kiv::os {
namespace {

/// What the new process does before its program begins.
class Preparation {
 public:
  explicit Preparation(const ProcessStart &start) : start_(start) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
    error_ = prepare();
  }
  ~Preparation() {
    posix_spawnattr_destroy(&attributes_);
    posix_spawn_file_actions_destroy(&actions_);
  }
  Preparation(const Preparation &) = delete;
  Preparation &operator=(const Preparation &) = delete;

  /// The id, or -1 and error() tells why.
  pid_t run() {
    pid_t id = -1;
    if (error_ == 0) {
      // The arguments are not changed: the declaration is older than const.
      error_ =
          posix_spawnp(&id, start_.argv[0], &actions_, &attributes_, const_cast<char *const *>(start_.argv), environ);
    }
    return error_ == 0 ? id : -1;
  }
  int error() const { return error_; }

 private:
  int prepare() {
    if (start_.argv == nullptr || start_.argv[0] == nullptr) return EINVAL;
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    int error = 0;
    if (start_.output_file != nullptr) {
      error = posix_spawn_file_actions_addopen(&actions_, STDOUT_FILENO, start_.output_file,
                                               O_WRONLY | O_CREAT | O_TRUNC, 0666);
      if (error == 0) error = posix_spawn_file_actions_adddup2(&actions_, STDOUT_FILENO, STDERR_FILENO);
    }
    return error != 0 ? error : posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
  }

  const ProcessStart &start_;
  posix_spawn_file_actions_t actions_;
  posix_spawnattr_t attributes_;
  int error_;
};

/// No signal handler of ours runs in a process that shares our memory.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked &) = delete;
  SignalsBlocked &operator=(const SignalsBlocked &) = delete;

 private:
  sigset_t before_;
};

struct Orphan {
  Preparation *preparation;
  pid_t id;
};

int run_orphan(void *orphan_pointer) {
  auto *orphan = static_cast<Orphan *>(orphan_pointer);
  orphan->id = orphan->preparation->run();
  return 0;
}

}  // namespace

pid_t spawn_child(const ProcessStart &start) {
  Preparation preparation(start);
  const pid_t id = preparation.run();
  if (id < 0) errno = preparation.error();
  return id;
}

// A process between starts the program and ends: what it leaves behind is init's child. It borrows this process's
// memory for that, where it stores the result, while this thread stands still: no page is copied. It ends without a
// signal, so that neither a handler for children nor a wait for any child in the program around us ever hears of it.
pid_t spawn_orphan(const ProcessStart &start) {
  constexpr size_t kStackSize = 65536;
  auto *stack = static_cast<char *>(heap_alloc(kStackSize));
  if (stack == nullptr) {
    errno = ENOMEM;
    return -1;
  }
  Preparation preparation(start);
  Orphan orphan{&preparation, -1};
  int error;
  {
    const SignalsBlocked blocked;
    const pid_t between = clone(run_orphan, stack + kStackSize, CLONE_VM | CLONE_VFORK, &orphan);
    error = between < 0 ? errno : preparation.error();
    if (between >= 0) {
      while (waitpid(between, nullptr, static_cast<int>(__WCLONE)) < 0 && errno == EINTR) {
      }
    }
  }
  heap_free(stack);
  if (orphan.id < 0) errno = error;
  return orphan.id;
}

}  // namespace kiv::os
