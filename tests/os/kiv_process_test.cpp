#include "kiv_process.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_thread.h"
#include "os/command_line.h"
#include "tests/support/process.h"

#ifdef _WIN32
#include <windows.h>
// Behind <windows.h>.
#include <shellapi.h>
#else
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include "tests/support/interrupt.h"
#endif

namespace {

using Texts = std::vector<std::string>;
using Argv = std::vector<const char *>;

/// A file beside the program, gone at the end.
struct File {
  File() { std::ofstream(path) << "what was there before"; }
  ~File() { std::remove(path.c_str()); }
  std::string text() const {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  const std::string path = kiv::test::this_program() + "." + std::to_string(kiv_process_get_pid()) + ".file";
};

/// A child of this program, or what else argv tells.
struct Child {
  explicit Child(Argv argv, const char *output_file = nullptr, uint32_t mode = KIV_PROCESS_SHARED) {
    const std::string self = kiv::test::this_program();
    if (argv[0][0] == '-') argv.insert(argv.begin(), self.c_str());
    argv.push_back(nullptr);
    EXPECT_EQ(kiv_process_start(argv.data(), &process, output_file, nullptr, mode), 0);
    EXPECT_NE(process.handle, nullptr);
  }
  KIV_PROCESS process{0, nullptr};
};

/// Waits by id: 0 once and again while the system still has something of the process, in the end -1.
void expect_gone(uint32_t id) {
  KIV_PROCESS process{id, nullptr};
  while (kiv_process_wait(&process) == 0) kiv_milli_sleep(1);
  EXPECT_EQ(kiv_process_wait(&process), -1);
  EXPECT_EQ(kiv_process_kill_and_wait(&process), -1);
}

TEST(Process, QuotesACommandLine) {
  const std::pair<Argv, const char *> cases[] = {
      {{"a", "b\"c", nullptr}, R"("a" "b"""c")"},
      {{"\"", "\\", " ", nullptr}, R"(""""" "\" " ")"},
      {{nullptr}, ""},
  };
  for (const auto &[argv, expected] : cases) {
    std::string line(kiv::os::command_line_size(argv.data(), 1000), '?');
    kiv::os::write_command_line(argv.data(), line.data());
    EXPECT_EQ(line, std::string(expected) + '\0');
  }
  // Too long: far more than the limit is not even looked at.
  const std::string quotes(334, '"');
  const char *argv[] = {quotes.c_str(), reinterpret_cast<const char *>(1), nullptr};
  EXPECT_GT(kiv::os::command_line_size(argv, 1000), 1000u);
}

/// What stands behind --child=NAME, as the system takes the command line apart: C runtimes do not agree on quotes.
Texts arguments_by_system() {
#ifdef _WIN32
  int count = 0;
  wchar_t **texts = CommandLineToArgvW(GetCommandLineW(), &count);
  Texts narrow;
  for (int i = 2; i < count; ++i) narrow.emplace_back(texts[i], texts[i] + std::wcslen(texts[i]));
  return narrow;
#else
  return kiv::test::child_arguments();
#endif
}

KIV_CHILD(print_arguments) {
  for (const auto &argument : arguments_by_system()) std::printf("[%s]", argument.c_str());
  std::fflush(stdout);
  std::fputs("error", stderr);
}

TEST(Process, PassesArgumentsAndOutput) {
  Texts texts{"", "a b", " ", "tab\t", "\\x\\\\y", "%PATH% $HOME *", "--flag='1'", "b\"c", "\"", "\"q\" \"r\""};
#ifndef _WIN32
  texts.insert(texts.end(), {"\\", "\\\"", "line\nline", "\xC3\xA9\xFF"});
#endif
  const File output;
  Argv argv{"--child=print_arguments"};
  std::string expected;
  for (const auto &text : texts) {
    argv.push_back(text.c_str());
    expected += '[' + text + ']';
  }
  for (const uint32_t mode : {0, 1, 2, 3, 77}) {
    Child child(argv, output.path.c_str(), mode);
    EXPECT_EQ(kiv_process_wait(&child.process), 0);
    EXPECT_EQ(child.process.handle, nullptr);
    EXPECT_EQ(output.text(), expected + "error");
  }
}

std::string error_text() {
  char text[1000];
  const uint32_t length = kiv_process_error_text(text, sizeof text);
  EXPECT_EQ(length, std::strlen(text));
  return text;
}

TEST(Process, TellsWhyItFailed) {
  const File output;
  const std::string self = kiv::test::this_program();
  const std::string missing = self + ".missing";
  const std::string nowhere = missing + "/file";
  const std::string long_text(200000, 'x');
  const std::pair<Argv, const char *> cases[] = {{{missing.c_str(), nullptr}, output.path.c_str()},
                                                 {{self.c_str(), nullptr}, nowhere.c_str()},
                                                 {{self.c_str(), long_text.c_str(), nullptr}, nullptr},
                                                 {{nullptr}, nullptr}};
  std::string last;
  for (const auto &[argv, output_file] : cases) {
    uint32_t id = 5;
    void *handle = &id;
    EXPECT_EQ(kiv_process_start_detached(argv.data(), output_file, nullptr, 0, &id, &handle), 1);
    const std::string text = error_text();
    EXPECT_NE(text, "");
    // The second file cannot be made for the reason why the first program is not found, on some systems.
    if (output_file == nullptr) EXPECT_NE(text, last);
    EXPECT_EQ(id, KIV_PROCESS_NO_ID);
    EXPECT_EQ(handle, nullptr);
    last = text;
  }
  EXPECT_EQ(output.text(), "");  // emptied before the program is looked for
  EXPECT_EQ(kiv_process_start(cases[0].first.data(), nullptr, nullptr, nullptr, 0), 1);
  EXPECT_EQ(kiv_process_wait(nullptr) + kiv_process_kill_and_wait(nullptr), -2);
  for (const uint32_t id : {KIV_PROCESS_NO_ID, 0u, 0x80000000u}) expect_gone(id);
#ifndef _WIN32
  std::thread([] {
    KIV_PROCESS thread{static_cast<uint32_t>(syscall(SYS_gettid)), nullptr};
    EXPECT_EQ(kiv_process_kill_and_wait(&thread), -1);
  }).join();
#endif
  char text[4];
  kiv_process_error_text(text, sizeof text);
  EXPECT_EQ(text, error_text().substr(0, 3));
}

KIV_CHILD(sleep) { kiv_milli_sleep(UINT32_MAX); }

TEST(Process, IsKilledByHandleAndId) {
  Child first({"--child=sleep"}), second({"--child=sleep"});
  EXPECT_EQ(kiv_process_kill_and_wait(&first.process), 0);
  expect_gone(first.process.id);
  KIV_PROCESS by_id{second.process.id, nullptr};
  EXPECT_EQ(kiv_process_kill_and_wait(&by_id), 0);
  EXPECT_EQ(kiv_process_wait(&second.process), 0);
  expect_gone(second.process.id);
}

KIV_CHILD(wait_for_removal) {
  while (std::ifstream(kiv::test::child_arguments()[0]).good()) kiv_milli_sleep(2);
}

TEST(Process, IsAwaited) {
  enum class By { handle, id, id_of_orphan };
  for (const By by : {By::handle, By::id, By::id_of_orphan}) {
    const File file;
    const std::string self = kiv::test::this_program();
    const char *argv[] = {self.c_str(), "--child=wait_for_removal", file.path.c_str(), nullptr};
    KIV_PROCESS process{0, nullptr};
    void **handle = by == By::id_of_orphan ? nullptr : &process.handle;
    ASSERT_EQ(kiv_process_start_detached(argv, nullptr, nullptr, 4, &process.id, handle), 0);
    KIV_PROCESS waited{process.id, by == By::handle ? process.handle : nullptr};
    // Where a file that is open cannot be removed the child may be looking at it.
    const auto release = [&] {
      while (std::remove(file.path.c_str()) != 0) kiv_milli_sleep(1);
    };
#ifdef _WIN32
    release();
    EXPECT_EQ(kiv_process_wait(&waited), 0);
#else
    EXPECT_EQ(kiv::test::interrupted([&] { return kiv_process_wait(&waited); }, release), 0);
    EXPECT_EQ(waitpid(-1, nullptr, __WALL | WNOHANG), -1);  // no child is left
#endif
    if (by == By::id) EXPECT_EQ(kiv_process_wait(&process), 0);
    // Init takes an orphan off the list in its own time.
    if (by != By::id_of_orphan) expect_gone(process.id);
  }
}

#ifndef _WIN32

/// A process has the parent's input and nothing else of it, and leaves nothing in the parent.
TEST(Process, InheritsTheStandardStreamsOnly) {
  int input[2];
  ASSERT_EQ(pipe(input), 0);
  ASSERT_EQ(write(input[1], "in\nin\n", 6), 6);
  const int stdin_before = dup(0);
  dup2(input[0], 0);
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGUSR2);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  const int lowest_free = dup(0);
  close(lowest_free);
  const File output;
  for (const char *signal : {"PIPE", "USR2"}) {  // either ends the shell
    // 3 is the folder that ls reads. One unbuffered byte after the other is read from a pipe.
    Child child({"sh", "-c", "ls /proc/self/fd; read x; echo $x; kill -$0 $$; echo alive", signal},
                output.path.c_str());
    EXPECT_EQ(kiv_process_wait(&child.process), 0);
    EXPECT_EQ(output.text(), "0\n1\n2\n3\nin\n");
  }
  EXPECT_EQ(dup(0), lowest_free);
  std::signal(SIGPIPE, SIG_DFL);
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  dup2(stdin_before, 0);
  for (const int fd : {input[0], input[1], stdin_before, lowest_free}) close(fd);
}

/// A parent that can open nothing more, where handles and ids name processes without a descriptor.
TEST(Process, WorksWithoutFreeDescriptors) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit few{64, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  std::vector<int> taken;
  for (int fd; (fd = dup(0)) >= 0;) taken.push_back(fd);
  Child first({"sleep", "1000"}), second({"sleep", "1000"}), third({"sleep", "1000"});
  EXPECT_EQ(kiv_process_kill_and_wait(&first.process), 0);
  KIV_PROCESS by_id{second.process.id, nullptr};
  EXPECT_EQ(kiv_process_kill_and_wait(&by_id), 0);
  const auto id = static_cast<pid_t>(third.process.id);
  kill(id, SIGKILL);
  EXPECT_EQ(waitpid(id, nullptr, 0), id);  // somebody else was faster
  EXPECT_EQ(kiv_process_wait(&third.process), 0);
  expect_gone(third.process.id);
  for (const int fd : taken) close(fd);
  setrlimit(RLIMIT_NOFILE, &before);
}

#endif

}  // namespace
