#include "tests/support/guarded_page.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/mman.h>
#endif

namespace kiv::test {

// The guards are kept in one piece with the page: nobody else's memory gets there.
#ifdef _WIN32

GuardedPage::GuardedPage()
    : memory_(static_cast<uint8_t *>(VirtualAlloc(nullptr, 3 * kSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)) +
              kSize) {
  DWORD old = 0;
  VirtualProtect(memory_ - kSize, kSize, PAGE_NOACCESS, &old);
  VirtualProtect(memory_ + kSize, kSize, PAGE_NOACCESS, &old);
}

GuardedPage::~GuardedPage() { VirtualFree(memory_ - kSize, 0, MEM_RELEASE); }

#else

GuardedPage::GuardedPage()
    : memory_(
          static_cast<uint8_t *>(mmap(nullptr, 3 * kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) +
          kSize) {
  mprotect(memory_ - kSize, kSize, PROT_NONE);
  mprotect(memory_ + kSize, kSize, PROT_NONE);
}

GuardedPage::~GuardedPage() { munmap(memory_ - kSize, 3 * kSize); }

#endif

}  // namespace kiv::test
