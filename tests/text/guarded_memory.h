// A page of memory between two that may not be touched.
#ifndef KIV_TESTS_TEXT_GUARDED_MEMORY_H
#define KIV_TESTS_TEXT_GUARDED_MEMORY_H

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#endif

#include <cstddef>

#include "kiv_types.h"

namespace kiv::test {

class GuardedMemory {
 public:
  static constexpr size_t kPage = 4096;

#if defined(_WIN32)
  GuardedMemory() : pages_(static_cast<char *>(VirtualAlloc(nullptr, 3 * kPage, MEM_RESERVE, PAGE_NOACCESS))) {
    VirtualAlloc(pages_ + kPage, kPage, MEM_COMMIT, PAGE_READWRITE);
  }
  ~GuardedMemory() { VirtualFree(pages_, 0, MEM_RELEASE); }
#else
  GuardedMemory()
      : pages_(static_cast<char *>(mmap(nullptr, 3 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    mprotect(pages_ + kPage, kPage, PROT_READ | PROT_WRITE);
  }
  ~GuardedMemory() { munmap(pages_, 3 * kPage); }
#endif
  GuardedMemory(const GuardedMemory &) = delete;
  GuardedMemory &operator=(const GuardedMemory &) = delete;

  KIV_UNICHAR *begin() const { return reinterpret_cast<KIV_UNICHAR *>(pages_ + kPage); }
  KIV_UNICHAR *end() const { return reinterpret_cast<KIV_UNICHAR *>(pages_ + 2 * kPage); }

 private:
  char *pages_;
};

}  // namespace kiv::test

#endif
