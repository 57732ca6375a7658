#include <malloc.h>
#include <stdio.h>

#include "os/platform.h"
#include "os/win32/windows_api.h"

namespace kiv::os {

// The system's books are asked, not the memory: IsBadReadPtr would use up the guard pages by which other threads'
// stacks grow, and faults on purpose, which debuggers notice.
MemoryRange readable_range(const void *address) {
  constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                              PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
  MEMORY_BASIC_INFORMATION pages{};
  if (VirtualQuery(address, &pages, sizeof pages) == 0 || pages.State != MEM_COMMIT ||
      (pages.Protect & kReadable) == 0 || (pages.Protect & PAGE_GUARD) != 0) {
    return {0, 0};
  }
  const auto begin = reinterpret_cast<uintptr_t>(pages.BaseAddress);
  return {begin, begin + pages.RegionSize};
}

size_t heap_block_size(void *block) { return _msize(block); }

AddressText address_text(const void *address) {
  AddressText result{};
  // The compiler's own library has the name without the underscore, and prints addresses in small letters.
  (void)_snprintf(result.text, sizeof result.text - 1, "%p", address);
  return result;
}

}  // namespace kiv::os
