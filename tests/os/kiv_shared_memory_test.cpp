// Shared memory between processes. On Linux, where the library itself has to see to the end of segments, processes are
// stopped before and after every one of their system calls, to be killed there or while another one does something.

#include "kiv_shared_memory.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "gtest/gtest.h"
#include "kiv_process.h"
#include "kiv_thread.h"
#include "tests/support/process.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

/// A handle whose attachment ends with it.
struct Attached : KIV_SHARED_MEMORY {
  Attached() : KIV_SHARED_MEMORY() {}
  ~Attached() { kiv_shared_memory_detach(this); }
  Attached(const Attached &) = delete;
  char *data() { return static_cast<char *>(kiv_shared_memory_get_data(this)); }
};

constexpr char kNumberVariable[] = "KIV_TEST_SEGMENT";

KIV_CHILD(answer) {
  Attached segment;
  if (kiv_shared_memory_attach(&segment, std::atoi(std::getenv(kNumberVariable))) != 0) std::exit(1);
  if (kiv_shared_memory_get_size(&segment) != 100 || std::strcmp(segment.data(), "question") != 0) std::exit(2);
  std::strcpy(segment.data(), "answer");
  std::_Exit(0);  // still attached
}

TEST(SharedMemory, JoinsProcesses) {
  Attached segment, again;
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, UINT32_MAX - 3), 1);
  ASSERT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
  const int32_t number = kiv_shared_memory_get_id(&segment);
  EXPECT_EQ(std::string(segment.data(), 100), std::string(100, '\0'));
  std::strcpy(segment.data(), "question");
  static std::string variable = std::string(kNumberVariable) + "=" + std::to_string(number);
  putenv(variable.data());
  EXPECT_EQ(kiv::test::run_child("answer").exit_code, 0);
  // The segment lives on with another user, as large as it was, whatever is written to its first word.
  ASSERT_EQ(kiv_shared_memory_attach(&again, number), 0);
  EXPECT_EQ(kiv_shared_memory_detach_and_destroy(&segment), 0);
  EXPECT_EQ(kiv_shared_memory_detach(&segment), 1);
  EXPECT_EQ(kiv_shared_memory_get_id(&segment), -1);
  EXPECT_EQ(kiv_shared_memory_get_data(&segment), nullptr);
  EXPECT_EQ(kiv_shared_memory_get_size(&segment), 0u);
  ASSERT_EQ(kiv_shared_memory_attach(&segment, number), 0);
  EXPECT_STREQ(segment.data(), "answer");
  for (const uint32_t total : {UINT32_MAX, 104u, 4u, 3u, 0u}) {
    *static_cast<uint32_t *>(segment.base) = total;
    const uint32_t size = kiv_shared_memory_get_size(&again);
    if (total <= 104) EXPECT_EQ(size, total < 4 ? 0 : total - 4);
    EXPECT_LE(size, 4096u - 4);
  }
  EXPECT_EQ(kiv_shared_memory_detach(&segment), 0);
  EXPECT_EQ(kiv_shared_memory_detach(&again), 0);
  EXPECT_EQ(kiv_shared_memory_attach(&again, number), 1);
}

#ifdef _WIN32
HANDLE mappings[1023];
void occupy(uint32_t i, const std::string &name) {
  mappings[i] = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 16, name.c_str());
}
void vacate(uint32_t i, const std::string & /*name*/) { CloseHandle(mappings[i]); }
#else
std::string path(const std::string &name) { return "/dev/shm/" + name; }
void occupy(uint32_t /*i*/, const std::string &name) { mkdir(path(name).c_str(), 0700); }
void vacate(uint32_t /*i*/, const std::string &name) { rmdir(path(name).c_str()); }
#endif
int32_t number_of(uint32_t process) { return static_cast<int32_t>(process % 32768); }
std::string name_of(int32_t number) { return "__PLQ_shm_" + std::to_string(number); }

TEST(SharedMemory, TakesTheFirstFreeOf1024Numbers) {
  const uint32_t process = kiv_process_get_pid();
  for (uint32_t i = 0; i < 1023; ++i) occupy(i, name_of(number_of(process + i)));
  Attached last, next;
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&last, 100), 0);
  EXPECT_EQ(kiv_shared_memory_get_id(&last), number_of(process + 1023));
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&next, 100), 1);
  for (uint32_t i = 0; i < 1023; ++i) vacate(i, name_of(number_of(process + i)));
}

#ifndef _WIN32

bool exists(int32_t number) { return access(path(name_of(number)).c_str(), F_OK) == 0; }

/// Tests that run at the same time look through all segments, and may be about to remove one.
bool is_gone(int32_t number) {
  for (int patience = 10000; exists(number) && patience > 0; --patience) kiv_milli_sleep(1);
  Attached segment;
  return !exists(number) && kiv_shared_memory_attach(&segment, number) == 1;
}

TEST(SharedMemory, IsItsOwnersAndComplete) {
  Attached segment;
  const mode_t mask = umask(0777);
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
  umask(mask);
  struct stat state;
  ASSERT_EQ(stat(path(name_of(segment.number)).c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 07777u, 0600u);
  EXPECT_EQ(state.st_size, 104);
  for (const uint32_t total : {3u, 105u, 104u}) {
    *static_cast<uint32_t *>(segment.base) = total;
    Attached other;
    EXPECT_EQ(kiv_shared_memory_attach(&other, segment.number), total == 104 ? 0 : 1);
  }
}

int create_and_detach() {
  Attached segment;
  return kiv_shared_memory_create_and_attach(&segment, 100) != 0 ? 1 : kiv_shared_memory_detach(&segment);
}

/// 0; 1 when there is no such segment. 2: it is not what it should be, or nobody can attach although we are attached.
int attach_and_detach(int32_t number) {
  Attached segment, again;
  if (kiv_shared_memory_attach(&segment, number) != 0) return 1;
  const bool good = kiv_shared_memory_get_size(&segment) == 100 && kiv_shared_memory_attach(&again, number) == 0;
  return kiv_shared_memory_detach(&segment) == 0 && good ? 0 : 2;
}

/// A process that is stopped at a step.
struct Stopped {
  void advance(__ptrace_request how) {
    ptrace(how, process, nullptr, nullptr);
    waitpid(process, &status, 0);
  }
  /// Lets it go on, and gives its exit code.
  int finish() {
    if (WIFSTOPPED(status)) advance(PTRACE_DETACH);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  pid_t process;
  int status;
};

/// Runs the action in new processes, and calls `meanwhile` with one stopped at each step, with the last at its end.
void at_every_step(const std::function<int()> &action, const std::function<void(Stopped &)> &meanwhile) {
  int step = 0;
  for (bool running = true; running && !testing::Test::HasFailure(); ++step) {
    SCOPED_TRACE(step);
    Stopped child{fork(), 0};
    if (child.process == 0) {
      ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      raise(SIGSTOP);
      _exit(action());
    }
    waitpid(child.process, &child.status, 0);
    ptrace(PTRACE_SETOPTIONS, child.process, nullptr, PTRACE_O_EXITKILL);
    for (int i = 0; i < step && WIFSTOPPED(child.status); ++i) child.advance(PTRACE_SYSCALL);
    running = WIFSTOPPED(child.status);
    meanwhile(child);
  }
  EXPECT_GT(step, 20);  // there were system calls to stop at
}

TEST(SharedMemory, MakersDieAtAnyStep) {
  at_every_step(create_and_detach, [](Stopped &maker) {
    const int32_t number = number_of(static_cast<uint32_t>(maker.process));
    kill(maker.process, SIGKILL);
    maker.finish();
    Attached user;
    EXPECT_EQ(kiv_shared_memory_attach(&user, number), 1);
    EXPECT_EQ(create_and_detach(), 0);
    EXPECT_TRUE(is_gone(number));
  });
}

TEST(SharedMemory, MakersAreMetAtAnyStep) {
  int met = 0;
  at_every_step(create_and_detach, [&met](Stopped &maker) {
    const int32_t number = number_of(static_cast<uint32_t>(maker.process));
    {
      Attached user;
      const bool attached = kiv_shared_memory_attach(&user, number) == 0;
      EXPECT_EQ(create_and_detach(), 0);
      EXPECT_EQ(maker.finish(), 0);
      if (attached) EXPECT_EQ(attach_and_detach(number), 0);
      met += attached;
    }
    EXPECT_TRUE(is_gone(number));
  });
  EXPECT_GT(met, 0);
}

TEST(SharedMemory, UsersAreMetAtAnyStep) {
  Attached segment;
  ASSERT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
  // An inherited view would keep its parent's attachment.
  madvise(segment.base, 104, MADV_DONTFORK);
  const auto use = [&segment] { return attach_and_detach(segment.number); };
  for (const bool dies : {false, true}) {
    at_every_step(use, [&](Stopped &user) {
      EXPECT_EQ(create_and_detach(), 0);
      if (dies) kill(user.process, SIGKILL);
      EXPECT_EQ(user.finish(), dies && user.status != 0 ? -1 : 0);
      EXPECT_EQ(attach_and_detach(segment.number), 0);
    });
    at_every_step(use, [&](Stopped &user) {
      const int32_t number = segment.number;
      EXPECT_EQ(kiv_shared_memory_detach(&segment), 0);
      const int late = attach_and_detach(number);
      if (dies) kill(user.process, SIGKILL);
      const int result = user.finish();
      EXPECT_TRUE(dies || result == 0 || (result == 1 && late == 1));
      EXPECT_TRUE(dies || is_gone(number));
      EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
      madvise(segment.base, 104, MADV_DONTFORK);
      EXPECT_TRUE(segment.number == number || is_gone(number));
    });
  }
}

#endif

}  // namespace
