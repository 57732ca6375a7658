#include "examples/kiv_inspect/line_input.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "kiv_ioterminal.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <poll.h>
#endif

namespace kiv::inspect {
namespace {

constexpr int kStandardInput = 0;

bool input_waits() {
#ifdef _WIN32
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const DWORD type = GetFileType(input);
  if (type != FILE_TYPE_PIPE) return type == FILE_TYPE_DISK;
  DWORD size = 0;
  const bool has_ended = PeekNamedPipe(input, nullptr, 0, nullptr, &size, nullptr) == 0;
  return has_ended || size > 0;
#else
  pollfd input = {kStandardInput, POLLIN, 0};
  return poll(&input, 1, 0) > 0;
#endif
}

bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

bool LineInput::grow() {
  if (size_ > UINT32_MAX / 2) return false;
  const uint32_t size = size_ == 0 ? kFirstSize : 2 * size_;
  void *buffer = allocator_->realloc(allocator_, buffer_, size);
  if (buffer == nullptr) return false;
  buffer_ = static_cast<char *>(buffer);
  size_ = size;
  return true;
}

// Only what is new is searched for a line's end: in a long line each byte is looked at once.
Status LineInput::fill(bool *any) {
  count_ -= lines_;
  if (count_ != 0) std::memmove(buffer_, buffer_ + lines_, count_);
  lines_ = place_ = 0;
  while (lines_ == 0) {
    // One byte more, for the end of a last line that has none.
    if (count_ + 1 >= size_ && !grow()) return errors_.out_of_memory();
    const int read = kiv_ioterminal_read(kStandardInput, buffer_ + count_, size_ - count_ - 1);
    if (read < 0) return errors_.system_failure("standard input cannot be read: [0_S][|]");
    if (read == 0) {
      if (count_ != 0) buffer_[count_++] = '\n';
      lines_ = count_;
      break;
    }
    const std::string_view added(buffer_ + count_, static_cast<size_t>(read));
    const size_t last = added.find_last_of('\n');
    if (last != added.npos) lines_ = count_ + static_cast<uint32_t>(last) + 1;
    count_ += static_cast<uint32_t>(read);
  }
  std::replace(buffer_, buffer_ + lines_, '\n', '\0');
  *any = lines_ != 0;
  return {};
}

bool LineInput::is_ready() const { return place_ != lines_ || input_waits(); }

char *LineInput::next() {
  if (place_ == lines_) return nullptr;
  char *line = buffer_ + place_;
  char *end = line + std::strlen(line);
  place_ = static_cast<uint32_t>(end - buffer_) + 1;
  ++number_;
  while (is_blank(*line)) ++line;
  while (end != line && is_blank(end[-1])) --end;
  *end = '\0';
  return line;
}

}  // namespace kiv::inspect
