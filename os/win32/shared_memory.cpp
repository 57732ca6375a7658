#include "os/platform.h"
#include "os/shared_segment_name.h"
#include "os/win32/windows_api.h"

namespace kiv::os {
namespace {

/// Maps a whole segment; without a view the mapping is closed.
void *map(HANDLE mapping, size_t bytes) {
  void *base = MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, bytes);
  if (base == nullptr) CloseHandle(mapping);
  return base;
}

}  // namespace

// The system counts the users and ends the segment with the last of them. Its access list is the process's own default:
// the user and the system.
bool shared_segment_create(uint32_t total, uint32_t process, SharedSegment *segment) {
  for (uint32_t attempt = 0; attempt < kSegmentAttempts; ++attempt) {
    const int32_t number = segment_number(process, attempt);
    const SegmentName name("", number);
    SetLastError(ERROR_SUCCESS);
    HANDLE mapping = CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, total, name.text);
    if (mapping == nullptr) continue;
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
      CloseHandle(mapping);
      continue;
    }
    void *base = map(mapping, total);
    if (base == nullptr) return false;
    __atomic_store_n(static_cast<uint32_t *>(base), total, __ATOMIC_RELAXED);
    *segment = {number, base, mapping, total};
    return true;
  }
  return false;
}

// Whoever guesses a number may meet a segment whose total is not there yet: it reads as 0 then.
bool shared_segment_attach(int32_t number, SharedSegment *segment) {
  HANDLE mapping = OpenFileMappingA(FILE_MAP_ALL_ACCESS, FALSE, SegmentName("", number).text);
  if (mapping == nullptr) return false;
  constexpr size_t kWhole = 0;
  void *base = map(mapping, kWhole);
  if (base == nullptr) return false;
  MEMORY_BASIC_INFORMATION pages{};
  VirtualQuery(base, &pages, sizeof pages);
  *segment = {number, base, mapping, pages.RegionSize};
  return true;
}

bool shared_segment_detach(const SharedSegment &segment) {
  const bool unmapped = UnmapViewOfFile(segment.base) != 0;
  return CloseHandle(segment.mapping) != 0 && unmapped;
}

}  // namespace kiv::os
