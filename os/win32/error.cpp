#include <cstring>

#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

bool last_error_text(char *buffer, size_t capacity) {
  char *text = nullptr;
  const DWORD length = FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
      GetLastError(), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<char *>(&text), 0, nullptr);
  if (length == 0 || text == nullptr) return false;
  const size_t copied = length < capacity ? length : capacity - 1;
  std::memcpy(buffer, text, copied);
  buffer[copied] = '\0';
  LocalFree(text);
  return true;
}

LastErrorText::LastErrorText() {
  wchar_t *text = nullptr;
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, GetLastError(), 0, reinterpret_cast<wchar_t *>(&text), 0, nullptr);
  if (length != 0) utf16_ = reinterpret_cast<uint16_t *>(text);
}

void LastErrorText::release() { LocalFree(utf16_); }

const char *last_error_lasting_text() {
  char *text = nullptr;
  const DWORD length =
      FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, GetLastError(),
                     MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<char *>(&text), 0, nullptr);
  return length != 0 && text != nullptr ? text : "";
}

}  // namespace kiv::os
