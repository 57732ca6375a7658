// Shared memory on Linux, where the library itself has to see to the end of segments: processes are stopped before and
// after every one of their system calls, to be killed there, or while another process does something of its own.

#include <functional>
#include <string>

#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include "gtest/gtest.h"
#include "kiv_shared_memory.h"

namespace {

using Action = std::function<int()>;

bool exists(int32_t number) { return access(("/dev/shm/__PLQ_shm_" + std::to_string(number)).c_str(), F_OK) == 0; }

int create_and_detach() {
  KIV_SHARED_MEMORY segment{};
  return kiv_shared_memory_create_and_attach(&segment, 100) != 0 || kiv_shared_memory_detach(&segment) != 0 ? 1 : 0;
}

int attach_and_detach(int32_t number) {
  KIV_SHARED_MEMORY segment{};
  if (kiv_shared_memory_attach(&segment, number) != 0) return 1;
  return kiv_shared_memory_get_size(&segment) == 100 && kiv_shared_memory_detach(&segment) == 0 ? 0 : 2;
}

/// A process that runs an action up to a step.
class Stopped {
 public:
  Stopped(int step, const Action &action) : process(fork()) {
    if (process == 0) {
      if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(99);
      raise(SIGSTOP);
      _exit(action());
    }
    waitpid(process, &status_, 0);
    if (!WIFSTOPPED(status_)) return;
    ptrace(PTRACE_SETOPTIONS, process, nullptr, PTRACE_O_EXITKILL);
    for (int i = 0; i < step && WIFSTOPPED(status_); ++i) {
      ptrace(PTRACE_SYSCALL, process, nullptr, nullptr);
      waitpid(process, &status_, 0);
    }
  }

  bool running() const { return WIFSTOPPED(status_); }
  void kill() {
    ::kill(process, SIGKILL);
    waitpid(process, &status_, 0);
  }
  /// Lets it go on, and gives its exit code.
  int finish() {
    if (running()) {
      ptrace(PTRACE_DETACH, process, nullptr, nullptr);
      waitpid(process, &status_, 0);
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
  }

  const pid_t process;

 private:
  int status_ = 0;
};

/// Calls body with a process at every step of the action; once more when it has ended.
void at_every_step(const Action &action, const std::function<void(Stopped &)> &body) {
  int step = 0;
  for (bool running = true; running && !testing::Test::HasFailure(); ++step) {
    SCOPED_TRACE(step);
    Stopped process(step, action);
    running = process.running();
    body(process);
  }
  EXPECT_GT(step, 20);  // there were system calls to stop at
}

class SharedMemoryProtocol : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0); }
  /// The segment ends, and leaves nothing.
  void TearDown() override {
    const int32_t number = segment.number;
    EXPECT_EQ(kiv_shared_memory_detach(&segment), 0);
    EXPECT_FALSE(exists(number));
    EXPECT_EQ(attach_and_detach(number), 1);
  }
  int attach() { return attach_and_detach(segment.number); }

  KIV_SHARED_MEMORY segment{};
};

TEST_F(SharedMemoryProtocol, KilledMakersBlockNothing) {
  at_every_step(create_and_detach, [](Stopped &maker) {
    const int32_t number = maker.process % 32768;
    maker.kill();
    EXPECT_EQ(attach_and_detach(number), 1);
    EXPECT_EQ(create_and_detach(), 0);
    EXPECT_FALSE(exists(number));
  });
}

TEST_F(SharedMemoryProtocol, KilledUsersBlockNothing) {
  at_every_step([this] { return attach(); },
                [this](Stopped &user) {
                  user.kill();
                  EXPECT_EQ(attach(), 0);
                });
}

TEST_F(SharedMemoryProtocol, UsersComeAndGoDuringEachOthersSteps) {
  at_every_step([this] { return attach(); },
                [this](Stopped &user) {
                  EXPECT_EQ(attach(), 0);
                  EXPECT_EQ(create_and_detach(), 0);
                  EXPECT_EQ(user.finish(), 0);
                });
}

TEST_F(SharedMemoryProtocol, LastButOneLeavesDuringAnothersSteps) {
  at_every_step([this] { return attach(); },
                [this](Stopped &user) {
                  const int32_t number = segment.number;
                  EXPECT_EQ(kiv_shared_memory_detach(&segment), 0);
                  const int late = attach_and_detach(number);
                  const int result = user.finish();
                  EXPECT_TRUE(result == 0 || (result == 1 && late == 1));
                  EXPECT_FALSE(exists(number));
                  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
                });
}

TEST_F(SharedMemoryProtocol, SegmentsOfMakersAreUsedDuringTheirSteps) {
  int attached = 0;
  at_every_step(create_and_detach, [&attached](Stopped &maker) {
    const int32_t number = maker.process % 32768;
    KIV_SHARED_MEMORY user{};
    const int result = kiv_shared_memory_attach(&user, number);
    EXPECT_EQ(create_and_detach(), 0);
    EXPECT_EQ(maker.finish(), 0);
    if (result == 0) {
      ++attached;
      EXPECT_EQ(attach_and_detach(number), 0);
      EXPECT_EQ(kiv_shared_memory_detach(&user), 0);
    }
    EXPECT_FALSE(exists(number));
  });
  EXPECT_GT(attached, 0);
}

}  // namespace
