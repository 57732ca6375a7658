// Shared memory: what handles tell, two processes, numbers in use, users that die.

#include "kiv_shared_memory.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_process.h"
#include "tests/support/process.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace {

std::string name_of(int32_t number) { return "__PLQ_shm_" + std::to_string(number); }

#ifdef _WIN32
void *occupy(int32_t number) {
  return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 16, name_of(number).c_str());
}
void vacate(void *user) { CloseHandle(user); }
#else
std::string path_of(int32_t number) { return "/dev/shm/" + name_of(number); }

/// A user of a segment with these bytes.
int occupy(int32_t number, const std::vector<uint32_t> &words = {4}) {
  const int file = open(path_of(number).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
  struct flock range {};
  range.l_type = F_RDLCK;
  EXPECT_EQ(fcntl(file, F_OFD_SETLK, &range), 0);
  EXPECT_EQ(write(file, words.data(), words.size() * 4), static_cast<ssize_t>(words.size() * 4));
  return file;
}
void vacate(int user) { close(user); }
#endif

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
  std::memset(segment.data(), 0xA5, 100);
  std::strcpy(segment.data(), "answer");
}

TEST(SharedMemory, JoinsProcesses) {
  Attached segment, again;
  ASSERT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
  const int32_t number = kiv_shared_memory_get_id(&segment);
  EXPECT_EQ(kiv_shared_memory_get_size(&segment), 100u);
  EXPECT_EQ(std::string(segment.data(), 100), std::string(100, '\0'));
  std::strcpy(segment.data(), "question");
  static std::string variable = std::string(kNumberVariable) + "=" + std::to_string(number);
  putenv(variable.data());
  EXPECT_EQ(kiv::test::run_child("answer").exit_code, 0);
  EXPECT_STREQ(segment.data(), "answer");
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

TEST(SharedMemory, RefusesWhatCannotBe) {
  Attached segment;
  for (const uint32_t size : {UINT32_MAX, UINT32_MAX - 3}) {
    EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, size), 1);
  }
  for (const int32_t number : {-1, INT32_MIN, INT32_MAX}) EXPECT_EQ(kiv_shared_memory_attach(&segment, number), 1);
  EXPECT_EQ(segment.attached, 0u);
  EXPECT_EQ(kiv_shared_memory_create_and_attach(nullptr, 1), 1);
  EXPECT_EQ(kiv_shared_memory_attach(nullptr, 1), 1);
  EXPECT_EQ(kiv_shared_memory_detach(nullptr), 1);
  EXPECT_EQ(kiv_shared_memory_get_id(nullptr), -1);
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 0), 0);
  EXPECT_EQ(kiv_shared_memory_get_size(&segment), 0u);
}

TEST(SharedMemory, TakesTheFirstFreeOf1024Numbers) {
#ifndef _WIN32
  rlimit files;
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
#endif
  const auto number = [](uint32_t i) { return static_cast<int32_t>((kiv_process_get_pid() + i) % 32768); };
  std::vector<decltype(occupy(0))> users;
  for (uint32_t i = 0; i < 1024; ++i) users.push_back(occupy(number(i)));
  Attached segment;
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 1);
  vacate(users[700]);
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
  EXPECT_EQ(kiv_shared_memory_get_id(&segment), number(700));
  for (uint32_t i = 0; i < 1024; ++i) {
    if (i != 700) vacate(users[i]);
  }
  Attached first;  // removes what the others have left
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&first, 100), 0);
  EXPECT_EQ(kiv_shared_memory_get_id(&first), number(0));
}

KIV_CHILD(die) {
  static KIV_SHARED_MEMORY segment;
  kiv_shared_memory_create_and_attach(&segment, 100);
  std::printf("%d", static_cast<int>(segment.number));
  std::fflush(stdout);
  std::_Exit(segment.attached != 0 ? 0 : 1);
}

TEST(SharedMemory, EndsWithItsLastUser) {
  const auto child = kiv::test::run_child("die");
  ASSERT_EQ(child.exit_code, 0);
  Attached segment;
  EXPECT_EQ(kiv_shared_memory_attach(&segment, std::stoi(child.out)), 1);
  ASSERT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
#ifndef _WIN32
  EXPECT_NE(access(path_of(std::stoi(child.out)).c_str(), F_OK), 0);
#endif
}

#ifndef _WIN32
TEST(SharedMemory, IsItsOwnersAndComplete) {
  Attached segment;
  const mode_t mask = umask(0777);
  EXPECT_EQ(kiv_shared_memory_create_and_attach(&segment, 100), 0);
  umask(mask);
  struct stat state;
  ASSERT_EQ(stat(path_of(segment.number).c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 07777u, 0600u);
  EXPECT_EQ(state.st_size, 104);

  constexpr int32_t kNumber = 1 << 20;  // no process makes this one
  const std::vector<uint32_t> contents[] = {{}, {0, 1}, {3, 1}, {9, 1}, {UINT32_MAX}, {8, 1}};
  for (const auto &words : contents) {
    const int user = occupy(kNumber, words);
    Attached other;
    EXPECT_EQ(kiv_shared_memory_attach(&other, kNumber), words == contents[5] ? 0 : 1);
    close(user);
    EXPECT_EQ(kiv_shared_memory_detach(&other), words == contents[5] ? 0 : 1);
    unlink(path_of(kNumber).c_str());
  }
  ASSERT_EQ(symlink(path_of(segment.number).c_str(), path_of(kNumber).c_str()), 0);
  Attached other;
  EXPECT_EQ(kiv_shared_memory_attach(&other, kNumber), 1);
  unlink(path_of(kNumber).c_str());
}
#endif

}  // namespace
