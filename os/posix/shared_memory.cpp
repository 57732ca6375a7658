// Segments of shared memory: files in the system's memory file system, with a lock that tells whether anybody is
// attached.
//
// A segment is a file in /dev/shm. Each attachment is an open file description of its own, which holds a read lock on
// the file (an "open file description lock", fcntl(2)). Its view alone keeps the description: the descriptor is closed,
// so that attachments are not limited by the descriptors that a process may have. The kernel drops the lock when the
// last view is gone, also by the death of the process: no lock of a dead process stays. Views that fork() has copied
// are of the same description.
//
// Invariants:
//  1. A file gets its name complete and with its maker's read lock: it is made without a name (O_TMPFILE), and linkat()
//     gives it one, or fails if the name is taken. Before that its maker's death frees it.
//  2. It has one name once. A link count of 1 means that it still has it; then the name is this file's.
//  3. Who holds the write lock is alone: nobody is attached. Only then the name may be removed.
//  4. A file is never resized or used for a second segment: whoever still has it mapped never loses pages.
//
// A file with a name and no lock is dead: its users were killed. Nobody can attach (5), and the next maker of a segment
// removes all that are dead.
//
// Attaching:  (a) open; (b) see that there is a read lock, else fail; (c) take one, without waiting; (d) see that the
//             file has its name still, else fail; map it; close the descriptor. Who fails after (c) closes the
//             descriptor, and with it gives the lock back, and goes on as one who leaves.
// Leaving:    (e) unmap, which gives the read lock back; then remove the file if it is dead.
// Removing the dead:  (f) open what has the name now; (g) try the write lock; (h) with it, and if the file has its name
//             still, remove that; close.
//
//  5. Users follow each other without a gap: attaching needs, at (b), the read lock of another who is attached or has
//     passed (b) in the same way, and so on back to the maker.
//  6. It succeeds always while another stays attached: by 3 nobody has the write lock then and nobody removes the name,
//     so (b), (c) and (d) pass.
//  7. The last to leave takes the name along. Take the last (e) on a file. After it, (g) fails only where another one
//     holds the write lock, who goes on to (h), or the read lock: one who has passed (b) and (c) late. That one is
//     attached by 5, or fails at (d), and leaves. The file stays dead where one who is about to remove it is killed or
//     has no descriptor free for (f), and where (e) is not an own step: the last views went with their processes, or
//     were in a child of fork() on its way to exec().
//  8. At (h) the name is removed from this file and no other: with the link count of 1 it is this file's (2), and by 3
//     nobody else can remove it meanwhile. It may be another file than the one left at (e), which then is gone already;
//     by 3 the other one goes only if it is dead.
//
// Files of other users are refused: /dev/shm is open to all, and who owns a file can cut it short under its users.

// Totals from 2 GiB on, also on 32-bit systems.
#define _FILE_OFFSET_BITS 64  // NOLINT(bugprone-reserved-identifier)

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "os/platform.h"
#include "os/shared_segment_name.h"

namespace kiv::os {
namespace {

constexpr char kFolder[] = "/dev/shm";
constexpr char kInFolder[] = "/dev/shm/";

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  int number() const { return number_; }
  bool valid() const { return number_ >= 0; }
  void close() {
    if (valid()) ::close(std::exchange(number_, -1));
  }

 private:
  int number_;
};

// --- Locks -----------------------------------------------------------------------------------------------------------

struct flock whole_file(int type) {
  struct flock range {};
  range.l_type = static_cast<short>(type);
  range.l_whence = SEEK_SET;
  return range;
}

/// Takes a lock; false when another open file description has one that forbids it.
bool lock(const Descriptor &file, int type) {
  const struct flock range = whole_file(type);
  return fcntl(file.number(), F_OFD_SETLK, &range) == 0;
}

/// Whether anybody else has a read lock.
bool has_users(const Descriptor &file) {
  struct flock range = whole_file(F_WRLCK);
  return fcntl(file.number(), F_OFD_GETLK, &range) == 0 && range.l_type == F_RDLCK;
}

// --- Files -----------------------------------------------------------------------------------------------------------

int open_segment(const char *path) { return open(path, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); }

/// Whether this is a segment of the user that has its name; tells the bytes.
bool has_name(const Descriptor &file, uint64_t *bytes) {
  struct stat state;
  if (fstat(file.number(), &state) != 0 || !S_ISREG(state.st_mode)) return false;
  *bytes = static_cast<uint64_t>(state.st_size);
  return state.st_nlink == 1 && state.st_uid == geteuid();
}

/// Takes the pages from the system now: without them a later access would end the process. In pieces, since a signal
/// makes the system give the pages of a call back; it would never get to the end of a large one under a timer.
bool allocate(const Descriptor &file, uint32_t bytes) {
  constexpr uint32_t kPiece = 16u << 20;
  for (uint32_t done = 0; done < bytes;) {
    const uint32_t piece = bytes - done < kPiece ? bytes - done : kPiece;
    if (fallocate(file.number(), 0, off_t{done}, off_t{piece}) == 0) {
      done += piece;
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

void *map(const Descriptor &file, size_t bytes) {
  void *base = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.number(), 0);
  return base != MAP_FAILED ? base : nullptr;
}

/// Maps the segment that the file is, if it still is one and its total is one that it can have.
bool map_segment(const Descriptor &file, SharedSegment *segment) {
  uint64_t bytes;
  if (!has_name(file, &bytes) || bytes < sizeof(uint32_t) || bytes > UINT32_MAX) return false;
  const auto size = static_cast<uint32_t>(bytes);
  void *base = map(file, size);
  if (base == nullptr) return false;
  const uint32_t total = __atomic_load_n(static_cast<uint32_t *>(base), __ATOMIC_RELAXED);
  if (total < sizeof(uint32_t) || total > size) {
    munmap(base, size);
    return false;
  }
  segment->base = base;
  segment->size = size;
  return true;
}

// --- The end of segments ---------------------------------------------------------------------------------------------

/// Removes the name from the file that has it now, unless that one has users.
void remove_if_dead(const char *path) {
  const Descriptor file(open_segment(path));
  uint64_t bytes;
  if (file.valid() && lock(file, F_WRLCK) && has_name(file, &bytes)) unlink(path);
}

/// Whether a file's name can be one that shared_segment_create() has given; others are not ours to remove.
bool is_segment_name(const char *name) {
  constexpr size_t kPrefixLength = sizeof kSegmentPrefix - 1;
  if (std::strncmp(name, kSegmentPrefix, kPrefixLength) != 0) return false;
  const char *number = name + kPrefixLength;
  const size_t digits = std::strspn(number, "0123456789");
  return digits >= 1 && digits <= 5 && number[digits] == '\0';
}

void remove_dead_segments() {
  DIR *folder = opendir(kFolder);
  if (folder == nullptr) return;
  while (const dirent *entry = readdir(folder)) {
    if (!is_segment_name(entry->d_name)) continue;
    char path[sizeof kInFolder + sizeof entry->d_name];
    std::snprintf(path, sizeof path, "%s%s", kInFolder, entry->d_name);
    remove_if_dead(path);
  }
  closedir(folder);
}

/// Gives a file that has no name the first free one.
bool link_segment(const Descriptor &file, uint32_t process, int32_t *number) {
  char self[32];
  std::snprintf(self, sizeof self, "/proc/self/fd/%d", file.number());
  for (uint32_t attempt = 0; attempt < kSegmentAttempts; ++attempt) {
    *number = segment_number(process, attempt);
    const SegmentName name(kInFolder, *number);
    if (linkat(AT_FDCWD, self, AT_FDCWD, name.text, AT_SYMLINK_FOLLOW) == 0) return true;
  }
  return false;
}

}  // namespace

bool shared_segment_create(uint32_t total, uint32_t process, SharedSegment *segment) {
  remove_dead_segments();
  constexpr mode_t kOwnerOnly = 0600;
  Descriptor file(open(kFolder, O_TMPFILE | O_RDWR | O_CLOEXEC, kOwnerOnly));
  // The mode again: the process's mask can take bits away.
  if (!file.valid() || fchmod(file.number(), kOwnerOnly) != 0 || !allocate(file, total)) return false;
  void *base = map(file, total);
  if (base == nullptr) return false;
  __atomic_store_n(static_cast<uint32_t *>(base), total, __ATOMIC_RELAXED);
  int32_t number;
  if (!lock(file, F_RDLCK) || !link_segment(file, process, &number)) {
    munmap(base, total);
    return false;
  }
  *segment = {number, base, nullptr, total};
  return true;
}

bool shared_segment_attach(int32_t number, SharedSegment *segment) {
  const SegmentName name(kInFolder, number);
  Descriptor file(open_segment(name.text));
  if (!file.valid() || !has_users(file) || !lock(file, F_RDLCK)) return false;
  if (!map_segment(file, segment)) {
    file.close();
    remove_if_dead(name.text);
    return false;
  }
  segment->number = number;
  segment->mapping = nullptr;
  return true;
}

bool shared_segment_detach(const SharedSegment &segment) {
  const bool unmapped = munmap(segment.base, segment.size) == 0;
  remove_if_dead(SegmentName(kInFolder, segment.number).text);
  return unmapped;
}

}  // namespace kiv::os
