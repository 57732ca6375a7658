// Standard input, a line at a time, and whether one can be had at once.
#ifndef KIV_INSPECT_INPUT_LINES_H
#define KIV_INSPECT_INPUT_LINES_H

#include <optional>
#include <string_view>

#include "examples/kiv_inspect/request_line.h"

namespace kiv::inspect {

class InputLines {
 public:
  InputLines() = default;
  InputLines(const InputLines &) = delete;
  InputLines &operator=(const InputLines &) = delete;

  /// Whether there is a line, or the beginning of one, or the end. When the system does not know, as for a Windows
  /// console, there is not.
  bool is_ready() const;

  /// The next line without its end, valid until the next call; none at the end of the input. Of one that is longer than
  /// a request may be, so much of it that it is.
  std::optional<std::string_view> next();

 private:
  std::string_view unread() const { return {room_ + begin_, end_ - begin_}; }

  char room_[2 * kRequestSize];
  size_t begin_ = 0, end_ = 0;
  bool skips_ = false;  // the rest of a line
};

}  // namespace kiv::inspect

#endif
