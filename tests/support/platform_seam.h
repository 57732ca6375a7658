// Stands in for the heap, the sleep and the crash of os/platform.h, in test programs that link the static library and
// have platform_seam.cpp among their sources.
#ifndef KIV_TESTS_SUPPORT_PLATFORM_SEAM_H
#define KIV_TESTS_SUPPORT_PLATFORM_SEAM_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kiv_mutex.h"

namespace kiv::test {

struct PlatformSeam {
  /// The heap's next `failures` allocations fail, after `successes` good ones.
  uint32_t successes = 0;
  uint32_t failures = 0;
  /// Blocks that are alive.
  size_t live = 0;
  /// What the next malloc gives in place of a new block.
  void *next = nullptr;
  /// Freed blocks are kept as they are, for a look at them; the test frees them.
  bool keeps_freed = false;
  std::vector<void *> kept;
  /// Called for a sleep, behind its entry in the log.
  std::function<void()> on_sleep;
  /// Calls since the last reset: "malloc 8", "calloc 2 4", "realloc null 8", "realloc block 8", "sleep 1000", "crash".
  std::vector<std::string> log;
};

extern PlatformSeam platform;

/// As at the start, but for what the pool of mutexes keeps: where they are the library's own, it is made before.
void reset_platform();

/// While it lives the heap fails and there is no mutex left in the pool. Not for Windows, which makes mutexes itself.
struct NoMutexes {
  NoMutexes();
  ~NoMutexes();
  NoMutexes(const NoMutexes &) = delete;
  std::vector<kiv_mutex> taken;
};

/// Runs body and tells whether it called crash(), which ends it there.
bool crashes(const std::function<void()> &body);

}  // namespace kiv::test

#endif
