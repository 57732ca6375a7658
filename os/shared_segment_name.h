// How segments of shared memory are numbered and named, on every system.
#ifndef KIV_OS_SHARED_SEGMENT_NAME_H
#define KIV_OS_SHARED_SEGMENT_NAME_H

#include <cstdint>
#include <cstdio>

namespace kiv::os {

inline constexpr char kSegmentPrefix[] = "__PLQ_shm_";

/// A process tries so many numbers for a new segment, each once.
inline constexpr uint32_t kSegmentAttempts = 1024;
inline int32_t segment_number(uint32_t process, uint32_t attempt) {
  return static_cast<int32_t>((process + attempt) % 32768);
}

/// A segment's name behind the folder that the system has for them, if it has one.
struct SegmentName {
  SegmentName(const char *folder, int32_t number) {
    std::snprintf(text, sizeof text, "%s%s%d", folder, kSegmentPrefix, static_cast<int>(number));
  }
  char text[40];
};

}  // namespace kiv::os

#endif
