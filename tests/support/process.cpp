#include "tests/support/process.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
extern char **environ;
#endif

namespace kiv::test {
namespace {

std::map<std::string, void (*)()> &children() {
  static std::map<std::string, void (*)()> functions;
  return functions;
}

std::vector<std::string> arguments_of_child;

std::string read_and_remove(const std::string &path) {
  std::string text;
  {
    std::ifstream file(path, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), {});
  }
  std::remove(path.c_str());
  std::string unix_text;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r' || i + 1 == text.size() || text[i + 1] != '\n') unix_text += text[i];
  }
  return unix_text;
}

/// A path for one stream's output, beside the program: unique among the programs and children that run.
std::string output_path(const char *stream) {
  static std::atomic<int> runs = 0;  // tests run programs in threads
#ifdef _WIN32
  const unsigned long process = GetCurrentProcessId();
#else
  const long process = getpid();
#endif
  return this_program() + "." + std::to_string(process) + "." + std::to_string(runs++) + "." + stream;
}

#ifdef _WIN32

HANDLE open_for_child(const std::string &path) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
}

/// The reading end of a pipe that holds the input, inherited by children, and has no writer any more.
HANDLE pipe_with(const std::string &input) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE reader = nullptr;
  HANDLE writer = nullptr;
  DWORD written = 0;
  if (!CreatePipe(&reader, &writer, &inherited, 4096)) return nullptr;
  SetHandleInformation(writer, HANDLE_FLAG_INHERIT, 0);
  WriteFile(writer, input.data(), static_cast<DWORD>(input.size()), &written, nullptr);
  CloseHandle(writer);
  return reader;
}

int spawn_and_wait(const std::string &path, const std::vector<std::string> &arguments, const std::string &input,
                   const std::string &out, const std::string &err) {
  std::string line = "\"" + path + "\"";
  for (const auto &argument : arguments) line += " \"" + argument + "\"";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = pipe_with(input);
  startup.hStdOutput = open_for_child(out);
  startup.hStdError = open_for_child(err);
  PROCESS_INFORMATION process{};
  DWORD code = 0xFFFFFFFF;
  if (CreateProcessA(path.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  CloseHandle(startup.hStdInput);
  CloseHandle(startup.hStdOutput);
  CloseHandle(startup.hStdError);
  return static_cast<int>(code);
}

#else

/// The reading end of a pipe that holds the input and has no writer any more.
int pipe_with(const std::string &input) {
  int ends[2] = {-1, -1};
  if (pipe(ends) != 0 || write(ends[1], input.data(), input.size()) < 0) std::perror("pipe");
  close(ends[1]);
  return ends[0];
}

int spawn_and_wait(const std::string &path, const std::vector<std::string> &arguments, const std::string &input,
                   const std::string &out, const std::string &err) {
  std::vector<char *> argv{const_cast<char *>(path.c_str())};
  for (const auto &argument : arguments) argv.push_back(const_cast<char *>(argument.c_str()));
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const int reader = pipe_with(input);
  posix_spawn_file_actions_adddup2(&actions, reader, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  pid_t process = 0;
  int status = -1;
  if (posix_spawn(&process, path.c_str(), &actions, nullptr, argv.data(), environ) == 0) {
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
  }
  posix_spawn_file_actions_destroy(&actions);
  close(reader);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

#endif

}  // namespace

ProcessResult run_program(const std::string &path, const std::vector<std::string> &arguments,
                          const std::string &input) {
  std::fflush(nullptr);
  const std::string out = output_path("out");
  const std::string err = output_path("err");
  const int exit_code = spawn_and_wait(path, arguments, input, out, err);
  return {exit_code, read_and_remove(out), read_and_remove(err)};
}

std::string this_program() {
  char path[4096] = "";
#ifdef _WIN32
  GetModuleFileNameA(nullptr, path, sizeof path);
#else
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  path[length > 0 ? length : 0] = '\0';
#endif
  return path;
}

std::string program_beside(const std::string &name) {
  const std::string self = this_program();
  const std::string folder = self.substr(0, self.find_last_of("/\\") + 1);
#ifdef _WIN32
  return folder + name + ".exe";
#else
  return folder + name;
#endif
}

ProcessResult run_child(const std::string &name, const std::string &input) {
  return run_program(this_program(), {"--child=" + name}, input);
}

ChildRegistration::ChildRegistration(const char *name, void (*function)()) { children()[name] = function; }

const std::vector<std::string> &child_arguments() { return arguments_of_child; }

void run_child_if_asked(int argc, char **argv) {
  constexpr char kOption[] = "--child=";
  if (argc < 2 || std::strncmp(argv[1], kOption, sizeof kOption - 1) != 0) return;
#ifdef _WIN32
  // A child that crashes on purpose shall end, not open a dialog.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
#endif
  const auto found = children().find(argv[1] + sizeof kOption - 1);
  if (found == children().end()) std::exit(99);
  arguments_of_child.assign(argv + 2, argv + argc);
  found->second();
  std::exit(0);
}

}  // namespace kiv::test
