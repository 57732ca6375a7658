#include "os/process_error.h"

#include <atomic>
#include <cstring>
#include <utility>

#include "kiv_process.h"
#include "os/platform.h"

namespace os = kiv::os;

namespace {

/// On the heap; null before the first failure. Held only while a pointer or a line of text is copied.
char *error_text;
std::atomic_flag error_text_is_held;

class HeldErrorText {
 public:
  HeldErrorText() {
    while (error_text_is_held.test_and_set(std::memory_order_acquire)) os::sleep_milliseconds(0);
  }
  ~HeldErrorText() { error_text_is_held.clear(std::memory_order_release); }
  HeldErrorText(const HeldErrorText &) = delete;
  HeldErrorText &operator=(const HeldErrorText &) = delete;

  char *replace(char *text) { return std::exchange(error_text, text); }
  const char *get() const { return error_text != nullptr ? error_text : ""; }
};

}  // namespace

namespace kiv {

void keep_process_error() {
  char text[1024];
  char *copy = nullptr;
  if (os::last_error_text(text, sizeof text)) {
    const size_t size = std::strlen(text) + 1;
    copy = static_cast<char *>(os::heap_alloc(size));
    if (copy != nullptr) std::memcpy(copy, text, size);
  }
  os::heap_free(HeldErrorText().replace(copy));
}

}  // namespace kiv

uint32_t kiv_process_error_text(char *buffer, uint32_t size) {
  const HeldErrorText held;
  const size_t length = std::strlen(held.get());
  if (size != 0) {
    const size_t copied = length < size ? length : size - 1;
    std::memcpy(buffer, held.get(), copied);
    buffer[copied] = '\0';
  }
  return static_cast<uint32_t>(length);
}
