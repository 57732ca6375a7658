#include "examples/kiv_inspect/progress_bar.h"

#include <algorithm>
#include <string_view>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

namespace kiv::inspect {
namespace {

constexpr int32_t kWidth = 40;
constexpr std::string_view kFull = "########################################";
static_assert(kFull.size() == kWidth);

}  // namespace

bool is_terminal(std::FILE *file) {
#ifdef _WIN32
  return _isatty(_fileno(file)) != 0;
#else
  return isatty(fileno(file)) == 1;
#endif
}

void ProgressBar::show(int32_t percent) {
  percent = std::clamp(percent, 0, 100);
  if (!is_terminal_ || percent == percent_) return;
  percent_ = percent;
  is_visible_ = true;
  char text[kWidth + 16];
  const int length = std::snprintf(text, sizeof text, "\r[%-*.*s] %3d %%", kWidth, percent * kWidth / 100, kFull.data(),
                                   static_cast<int>(percent));
  sink_.write(text, static_cast<size_t>(length));
  (void)sink_.flush();
}

// Blanks rather than a control sequence: not every terminal knows these.
void ProgressBar::hide() {
  if (!is_visible_) return;
  is_visible_ = false;
  char text[kWidth + 16];
  const int length = std::snprintf(text, sizeof text, "\r%*s\r", kWidth + 8, "");
  sink_.write(text, static_cast<size_t>(length));
  (void)sink_.flush();
}

}  // namespace kiv::inspect
