#include "kiv_process.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
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
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/interrupt.h"
#endif

namespace {

using Texts = std::vector<std::string>;

/// A file beside the program, gone at the end.
class File {
 public:
  explicit File(const char *name)
      : path_(kiv::test::this_program() + "." + std::to_string(kiv_process_get_pid()) + "." + name) {
    std::ofstream(path_) << "what was there before";
  }
  ~File() { remove(); }
  void remove() { std::remove(path_.c_str()); }
  const std::string &path() const { return path_; }
  std::string text() const {
    std::ifstream file(path_);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_;
};

/// The argument vector of a child of this program.
class Arguments {
 public:
  explicit Arguments(const char *child, const Texts &more = {})
      : texts_{kiv::test::this_program(), std::string("--child=") + child} {
    texts_.insert(texts_.end(), more.begin(), more.end());
    for (const auto &text : texts_) argv_.push_back(text.c_str());
    argv_.push_back(nullptr);
  }
  operator const char * const *() const { return argv_.data(); }

 private:
  Texts texts_;
  std::vector<const char *> argv_;
};

KIV_PROCESS start(const Arguments &arguments, const char *output_file = nullptr) {
  KIV_PROCESS process{0, nullptr};
  EXPECT_EQ(kiv_process_start(arguments, &process, output_file, nullptr, KIV_PROCESS_SHARED), 0);
  return process;
}

/// Waits by id: 0 once and again while the system still has something of the process, in the end -1.
void expect_gone(KIV_PROCESS process) {
  process.handle = nullptr;
  while (kiv_process_wait(&process) == 0) kiv_milli_sleep(1);
  EXPECT_EQ(kiv_process_wait(&process), -1);
  EXPECT_EQ(kiv_process_kill_and_wait(&process), -1);
}

TEST(Process, QuotesACommandLine) {
  const struct {
    std::vector<const char *> argv;
    const char *line;
  } cases[] = {
      {{"a", "b\"c", nullptr}, R"("a" "b"""c")"},
      {{"\"", "\\", " ", nullptr}, R"(""""" "\" " ")"},
      {{"", nullptr}, R"("")"},
      {{nullptr}, ""},
  };
  for (const auto &c : cases) {
    const size_t size = kiv::os::command_line_size(c.argv.data(), 1000);
    std::string line(size, '?');
    kiv::os::write_command_line(c.argv.data(), line.data());
    EXPECT_EQ(line, std::string(c.line) + '\0');
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
  File output("output");
  std::string expected;
  for (const auto &text : texts) expected += '[' + text + ']';
  for (const uint32_t mode : {0, 1, 2, 3, 4, 77}) {
    KIV_PROCESS process{0, nullptr};
    ASSERT_EQ(kiv_process_start(Arguments("print_arguments", texts), &process, output.path().c_str(), nullptr, mode),
              0);
    EXPECT_NE(process.handle, nullptr);
    EXPECT_EQ(kiv_process_wait(&process), 0);
    EXPECT_EQ(process.handle, nullptr);
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
  const std::string missing = kiv::test::this_program() + ".missing";
  const std::string long_text(200000, 'x');
  const char *no_program[] = {missing.c_str(), nullptr};
  const std::string self = kiv::test::this_program();
  const char *too_long[] = {self.c_str(), long_text.c_str(), nullptr};
  const char *nothing[] = {nullptr};
  const auto expect_failure = [](const char *const *argv, const char *output_file) {
    uint32_t id = 5;
    void *handle = &id;
    EXPECT_EQ(kiv_process_start_detached(argv, output_file, nullptr, 0, &id, &handle), 1);
    EXPECT_EQ(id, KIV_PROCESS_NO_ID);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(kiv_process_start_detached(argv, output_file, nullptr, 0, nullptr, nullptr), 1);
    return error_text();
  };
  File output("output");
  const std::string not_found = expect_failure(no_program, nullptr);
  EXPECT_NE(not_found, "");
  EXPECT_EQ(expect_failure(no_program, output.path().c_str()), not_found);
  EXPECT_EQ(output.text(), "");  // emptied before the program is looked for
  EXPECT_NE(expect_failure(too_long, nullptr), not_found);
  EXPECT_NE(expect_failure(Arguments("sleep"), (missing + "/file").c_str()), "");
  EXPECT_NE(expect_failure(nothing, nullptr), not_found);
  EXPECT_NE(expect_failure(nullptr, nullptr), not_found);
  for (const uint32_t id : {KIV_PROCESS_NO_ID, 0u, 0x80000000u}) {
    KIV_PROCESS process{id, nullptr};
    EXPECT_EQ(kiv_process_wait(&process), -1);
    EXPECT_EQ(kiv_process_kill_and_wait(&process), -1);
  }
  const std::string no_process = error_text();
  EXPECT_NE(no_process, not_found);
  char text[4] = "???";
  EXPECT_EQ(kiv_process_error_text(text, sizeof text), no_process.size());
  EXPECT_EQ(text, no_process.substr(0, 3));
  EXPECT_EQ(kiv_process_error_text(nullptr, 0), no_process.size());
}

KIV_CHILD(sleep) { kiv_milli_sleep(UINT32_MAX); }

TEST(Process, IsKilledByHandleAndId) {
  KIV_PROCESS process = start(Arguments("sleep"));
  EXPECT_EQ(kiv_process_kill_and_wait(&process), 0);
  EXPECT_EQ(process.handle, nullptr);
  expect_gone(process);
  process = start(Arguments("sleep"));
  KIV_PROCESS by_id{process.id, nullptr};
  EXPECT_EQ(kiv_process_kill_and_wait(&by_id), 0);
  EXPECT_EQ(kiv_process_wait(&process), 0);
  expect_gone(process);
}

KIV_CHILD(wait_for_removal) {
  while (std::ifstream(kiv::test::child_arguments()[0]).good()) kiv_milli_sleep(2);
}

TEST(Process, IsAwaited) {
  enum class By { handle, id, id_of_orphan };
  for (const By by : {By::handle, By::id, By::id_of_orphan}) {
    File file("running");
    KIV_PROCESS process{0, nullptr};
    ASSERT_EQ(kiv_process_start_detached(Arguments("wait_for_removal", {file.path()}), nullptr, nullptr, 4, &process.id,
                                         by == By::id_of_orphan ? nullptr : &process.handle),
              0);
    KIV_PROCESS waited{process.id, by == By::handle ? process.handle : nullptr};
#ifdef _WIN32
    file.remove();
    EXPECT_EQ(kiv_process_wait(&waited), 0);
#else
    EXPECT_EQ(kiv::test::interrupted([&] { return kiv_process_wait(&waited); }, [&] { file.remove(); }), 0);
    EXPECT_EQ(waitpid(-1, nullptr, __WALL | WNOHANG), -1);  // neither it nor a helper is left
#endif
    if (by == By::id) {
      EXPECT_EQ(kiv_process_wait(&process), 0);
    }
    // Init takes an orphan off the list in its own time.
    if (by != By::id_of_orphan) expect_gone(process);
  }
}

#ifndef _WIN32

std::string open_descriptors() {
  std::string text;
  DIR *folder = opendir("/proc/self/fd");
  const int own = dirfd(folder);
  while (const dirent *entry = readdir(folder)) {
    if (entry->d_name[0] != '.' && std::atoi(entry->d_name) != own) text += std::string(entry->d_name) + ' ';
  }
  closedir(folder);
  return text;
}

KIV_CHILD(inherited) {
  char input[10] = "";
  if (read(0, input, 5) != 5) return;
  sigset_t blocked;
  pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
  struct sigaction action {};
  sigaction(SIGPIPE, nullptr, &action);
  std::printf("%s %d %d %s", input, sigismember(&blocked, SIGUSR2), action.sa_handler == SIG_DFL,
              open_descriptors().c_str());
}

/// A process shows its parent's input and nothing else of it; and leaves nothing in the parent.
TEST(Process, InheritsTheStandardStreamsOnly) {
  int input[2];
  ASSERT_EQ(pipe(input), 0);
  ASSERT_EQ(write(input[1], "inputinput", 10), 10);
  const int stdin_before = dup(0);
  dup2(input[0], 0);
  sigset_t signal;
  sigemptyset(&signal);
  sigaddset(&signal, SIGUSR2);
  pthread_sigmask(SIG_BLOCK, &signal, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  const std::string before = open_descriptors();
  const File output("output");
  for (int i = 0; i < 2; ++i) {
    KIV_PROCESS process{0, nullptr};
    ASSERT_EQ(kiv_process_start_detached(Arguments("inherited"), output.path().c_str(), nullptr, 0, &process.id,
                                         i == 0 ? nullptr : &process.handle),
              0);
    while (output.text().empty()) kiv_milli_sleep(1);
    kiv_process_wait(&process);
    EXPECT_EQ(output.text(), "input 0 1 0 1 2 ");
  }
  EXPECT_EQ(open_descriptors(), before);
  std::signal(SIGPIPE, SIG_DFL);
  pthread_sigmask(SIG_UNBLOCK, &signal, nullptr);
  dup2(stdin_before, 0);
  for (const int fd : {input[0], input[1], stdin_before}) close(fd);
}

/// A parent that can open nothing more, where handles and ids name processes without a descriptor.
TEST(Process, WorksWithoutFreeDescriptors) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit few{64, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  const Arguments arguments("sleep");
  std::vector<int> taken;
  for (int fd; (fd = dup(0)) >= 0;) taken.push_back(fd);
  KIV_PROCESS by_handle = start(arguments);
  const KIV_PROCESS started = start(arguments);
  KIV_PROCESS by_id{started.id, nullptr};
  KIV_PROCESS taken_by_another = start(arguments);
  EXPECT_EQ(kiv_process_kill_and_wait(&by_handle), 0);
  EXPECT_EQ(kiv_process_kill_and_wait(&by_id), 0);
  kill(static_cast<pid_t>(taken_by_another.id), SIGKILL);
  EXPECT_GT(waitpid(static_cast<pid_t>(taken_by_another.id), nullptr, 0), 0);
  EXPECT_EQ(kiv_process_wait(&taken_by_another), 0);
  expect_gone(by_handle);
  for (const int fd : taken) close(fd);
  setrlimit(RLIMIT_NOFILE, &before);
}

#endif

}  // namespace
