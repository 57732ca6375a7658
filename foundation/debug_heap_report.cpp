// The hook of the debug heap, and the way to it.

#include "foundation/debug_heap_report.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "kiv_debug_heap.h"

namespace {

constexpr char kSourceName[] = "kiv_debug_allocator.cpp";

constinit std::atomic<KIV_DEBUG_HEAP_HOOK> current_hook{kiv_assert_box_win32};

}  // namespace

void kiv::debug_heap::report(Check failed) {
  (void)std::fflush(stdout);
  const int stop = current_hook.load()(failed.line, kSourceName, failed.message);
  (void)std::fflush(stdout);
  if (stop != 0) {
    for (;;) kiv_sleep(1);
  }
}

KIV_DEBUG_HEAP_HOOK kiv_debug_heap_set_hook(KIV_DEBUG_HEAP_HOOK hook) {
  return current_hook.exchange(hook != nullptr ? hook : kiv_assert_box_win32);
}

int kiv_debug_heap_print_hook(int line, const char *file, const char *message) {
  const size_t length = std::strlen(message);
  const bool ended = length != 0 && message[length - 1] == '\n';
  std::fprintf(stderr, "%s:%d: %s%s", file, line, message, ended ? "" : "\n");
  (void)std::fflush(stderr);
  return 0;
}
