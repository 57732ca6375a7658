// What is known to be readable, gathered during one sweep over memory.
//
// Representation. One range of addresses, which grows while the sweep goes on at its end and starts anew elsewhere.
// Invariant. Every page of the range was readable when it was asked for; it is asked for once as long as the sweep
// ascends.
// Cost. A system call for a page on Linux, for a region on Windows; a comparison for everything in between. An object
// is to live for one sweep only: what was true before the last release of memory may not be true after it.
#ifndef KIV_FOUNDATION_READABLE_MEMORY_H
#define KIV_FOUNDATION_READABLE_MEMORY_H

#include "os/platform.h"

namespace kiv {

class ReadableMemory {
 public:
  /// Whether all bytes can be read; no bytes can.
  bool holds(const void *memory, size_t size) {
    const auto begin = reinterpret_cast<uintptr_t>(memory);
    return (begin >= known_.begin && begin <= known_.end && size <= known_.end - begin) || asked(begin, size);
  }

 private:
  bool asked(uintptr_t begin, size_t size) {
    if (size > UINTPTR_MAX - begin) return false;
    if (begin < known_.begin || begin >= known_.end) {
      const os::MemoryRange range = os::readable_range(reinterpret_cast<const void *>(begin));
      if (range.begin == range.end) return size == 0;
      if (range.begin != known_.end) known_.begin = range.begin;
      known_.end = range.end;
    }
    while (known_.end - begin < size) {
      const os::MemoryRange range = os::readable_range(reinterpret_cast<const void *>(known_.end));
      if (range.begin == range.end) return false;
      known_.end = range.end;
    }
    return true;
  }

  os::MemoryRange known_{0, 0};
};

/// For a question that stands alone.
inline bool can_read(const void *memory, size_t size) { return ReadableMemory().holds(memory, size); }

}  // namespace kiv

#endif
