#include "examples/kiv_inspect/input_lines.h"

#include <cstring>

#include "kiv_ioterminal.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <poll.h>
#endif

namespace kiv::inspect {
namespace {

constexpr int kInput = 0;

bool input_waits() {
#ifdef _WIN32
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const DWORD type = GetFileType(input);
  DWORD size = 0;
  // A pipe that cannot be looked into has ended.
  return type == FILE_TYPE_DISK ||
         (type == FILE_TYPE_PIPE && (PeekNamedPipe(input, nullptr, 0, nullptr, &size, nullptr) == 0 || size > 0));
#else
  pollfd input = {kInput, POLLIN, 0};
  return poll(&input, 1, 0) > 0;
#endif
}

}  // namespace

bool InputLines::is_ready() const { return unread().find('\n') != std::string_view::npos || input_waits(); }

std::optional<std::string_view> InputLines::next() {
  for (;;) {
    const std::string_view text = unread();
    const size_t feed = text.find('\n');
    const bool is_too_long = feed == std::string_view::npos && text.size() >= kRequestSize;
    if (feed != std::string_view::npos || is_too_long) {
      const bool skipped = skips_;
      skips_ = is_too_long;
      begin_ += is_too_long ? text.size() : feed + 1;
      if (!skipped) return text.substr(0, feed);
      continue;
    }
    std::memmove(room_, text.data(), text.size());
    begin_ = 0;
    end_ = text.size();
    const int count = kiv_ioterminal_read(kInput, room_ + end_, static_cast<uint32_t>(sizeof room_ - end_));
    if (count > 0) {
      end_ += static_cast<size_t>(count);
      continue;
    }
    begin_ = end_;
    if (text.empty() || skips_) return std::nullopt;
    return std::string_view(room_, end_);
  }
}

}  // namespace kiv::inspect
