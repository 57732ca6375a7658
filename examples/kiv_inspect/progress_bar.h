// How far something has come, on a terminal.
#ifndef KIV_INSPECT_PROGRESS_BAR_H
#define KIV_INSPECT_PROGRESS_BAR_H

#include <cstdint>
#include <cstdio>

#include "examples/kiv_inspect/sink.h"

namespace kiv::inspect {

bool is_terminal(std::FILE *file);

/// A line that is drawn again and again, and in the end is gone.
class ProgressBar {
 public:
  /// Without a terminal behind the sink nothing is drawn. REQUIRES: the sink outlives this.
  ProgressBar(Sink &sink, bool is_terminal) : sink_(sink), is_terminal_(is_terminal) {}
  ~ProgressBar() { hide(); }
  ProgressBar(const ProgressBar &) = delete;
  ProgressBar &operator=(const ProgressBar &) = delete;

  /// Draws that `percent` of it is done, when that is news.
  void show(int32_t percent);

  /// Makes room for other text; the next news draw it again.
  void hide();

 private:
  Sink &sink_;
  const bool is_terminal_;
  bool is_visible_ = false;
  int32_t percent_ = -1;
};

}  // namespace kiv::inspect

#endif
