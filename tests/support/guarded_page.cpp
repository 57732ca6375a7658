#include "tests/support/guarded_page.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace kiv::test {

// The guard is kept in one piece with the page: nobody else's memory gets there.
#ifdef _WIN32

GuardedPage::GuardedPage()
    : memory_(static_cast<uint8_t *>(VirtualAlloc(nullptr, 2 * kSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))) {
  DWORD old = 0;
  VirtualProtect(memory_ + kSize, kSize, PAGE_NOACCESS, &old);
}

GuardedPage::~GuardedPage() { VirtualFree(memory_, 0, MEM_RELEASE); }

#else

GuardedPage::GuardedPage()
    : memory_(static_cast<uint8_t *>(
          mmap(nullptr, 2 * kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
  mprotect(memory_ + kSize, kSize, PROT_NONE);
}

GuardedPage::~GuardedPage() { munmap(memory_, 2 * kSize); }

#endif

}  // namespace kiv::test
