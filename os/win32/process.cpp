#include "kiv_process.h"
#include "os/command_line.h"
#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {
namespace {

/// CreateProcess takes 32767 characters with the terminator; UTF-8, the widest of the 8-bit code pages, has three bytes
/// for each.
constexpr size_t kLongestLine = size_t{3} * 32767;

struct Mode {
  DWORD creation;
  DWORD startup;
  WORD show;
};

Mode mode_of(uint32_t mode) {
  switch (mode) {
    case KIV_PROCESS_HIDDEN:
      return {CREATE_NO_WINDOW, STARTF_USESHOWWINDOW, SW_HIDE};
    case KIV_PROCESS_CONSOLE:
      return {CREATE_NEW_CONSOLE, STARTF_USESHOWWINDOW, SW_SHOWNORMAL};
    case KIV_PROCESS_MINIMISED:
      return {CREATE_NEW_CONSOLE, STARTF_USESHOWWINDOW, SW_SHOWMINNOACTIVE};
    case KIV_PROCESS_NO_CONSOLE:
      return {CREATE_NO_WINDOW, 0, 0};
    default:
      return {0, 0, 0};
  }
}

/// Handles that children inherit and everybody may open: a descriptor whose access list is null allows all.
class InheritedByAll {
 public:
  InheritedByAll() {
    InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION);
    SetSecurityDescriptorDacl(&descriptor_, TRUE, nullptr, FALSE);
  }
  InheritedByAll(const InheritedByAll &) = delete;
  InheritedByAll &operator=(const InheritedByAll &) = delete;
  SECURITY_ATTRIBUTES *get() { return &attributes_; }

 private:
  SECURITY_DESCRIPTOR descriptor_{};
  SECURITY_ATTRIBUTES attributes_{sizeof attributes_, &descriptor_, TRUE};
};

/// On the heap, since it may be longer than what is left of a stack; null on failure.
char *command_line(const char *const *argv) {
  if (argv == nullptr || *argv == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  const size_t size = command_line_size(argv, kLongestLine);
  if (size > kLongestLine) {
    SetLastError(ERROR_FILENAME_EXCED_RANGE);  // what CreateProcess says of a line that is too long
    return nullptr;
  }
  auto *line = static_cast<char *>(heap_alloc(size));
  if (line == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  } else {
    write_command_line(argv, line);
  }
  return line;
}

bool create(const ProcessStart &start, HANDLE output, InheritedByAll *inherited, PROCESS_INFORMATION *process) {
  char *line = command_line(start.argv);
  if (line == nullptr) return false;
  const Mode mode = mode_of(start.mode);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = mode.startup;
  startup.wShowWindow = mode.show;
  if (output != INVALID_HANDLE_VALUE) {
    startup.dwFlags |= STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = output;
    startup.hStdError = output;
  }
  const bool created = CreateProcessA(nullptr, line, inherited->get(), nullptr, TRUE, mode.creation, nullptr, nullptr,
                                      &startup, process) != 0;
  const DWORD error = GetLastError();
  heap_free(line);
  SetLastError(error);
  return created;
}

}  // namespace

bool process_start(const ProcessStart &start, uint32_t *id, Handle *handle) {
  InheritedByAll inherited;
  HANDLE output = INVALID_HANDLE_VALUE;
  if (start.output_file != nullptr) {
    output = CreateFileA(start.output_file, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, inherited.get(),
                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (output == INVALID_HANDLE_VALUE) return false;
  }
  PROCESS_INFORMATION process{};
  const bool created = create(start, output, &inherited, &process);
  if (output != INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    CloseHandle(output);
    SetLastError(error);
  }
  if (!created) return false;
  CloseHandle(process.hThread);
  *id = process.dwProcessId;
  if (handle != nullptr) {
    *handle = process.hProcess;
  } else {
    CloseHandle(process.hProcess);
  }
  return true;
}

Handle process_open(uint32_t id) { return OpenProcess(SYNCHRONIZE | PROCESS_TERMINATE, FALSE, id); }
bool process_kill(Handle process) { return TerminateProcess(process, 1) != 0; }
bool process_wait(Handle process) { return WaitForSingleObject(process, INFINITE) == WAIT_OBJECT_0; }
void process_close(Handle process) { CloseHandle(process); }

uint32_t process_current_id() { return GetCurrentProcessId(); }

}  // namespace kiv::os
