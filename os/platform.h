// Everything the library needs from an operating system. os/posix/ and os/win32/ implement it, file by file under the
// same names; what needs no system call stands in os/ itself. The build picks the folder.
//
// A failed call leaves its reason where last_error_text() finds it. Tests stand in their own heap, sleep and crash by
// defining these functions in a program that links the static library: each group is a source file of its own.
#ifndef KIV_OS_PLATFORM_H
#define KIV_OS_PLATFORM_H

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "kiv_types.h"

namespace kiv::os {

// --- The C runtime's heap (heap.cpp) ---------------------------------------------------------------------------------

void *heap_alloc(size_t size);
void *heap_calloc(size_t count, size_t size);
void *heap_realloc(void *block, size_t size);
void heap_free(void *block);

// --- Memory (memory.cpp) ---------------------------------------------------------------------------------------------

/// Addresses from begin to before end.
struct MemoryRange {
  uintptr_t begin;
  uintptr_t end;
};

/// A range of whole pages that holds address and can be read; empty when address cannot. Does not touch the memory: no
/// fault, no signal. Other threads may change the answer at any time. Costs a system call.
MemoryRange readable_range(const void *address);

/// The bytes that the C runtime has given for a live block of its heap: at least as many as were asked for.
size_t heap_block_size(void *block);

/// An address as the C runtime prints "%p".
struct AddressText {
  char text[24];
};
AddressText address_text(const void *address);

// --- Time (clock.cpp) ------------------------------------------------------------------------------------------------

/// 0 yields the processor; all ones sleeps forever.
void sleep_milliseconds(uint32_t milliseconds);

// --- Time of day (time_of_day.cpp) -----------------------------------------------------------------------------------

struct TimeOfDay {
  uint64_t seconds;  // since 1970-01-01 00:00 UTC
  uint32_t milliseconds;
};
TimeOfDay time_of_day();

// --- Measured time (stopwatch.cpp) -----------------------------------------------------------------------------------

/// As kiv_get_microtime() gives it.
uint64_t microtime();

/// In units of 100 ns.
struct ProcessorTime {
  uint64_t kernel;
  uint64_t user;
  uint64_t total() const { return kernel + user; }
};

/// What the calling thread and the process have used.
bool processor_times(ProcessorTime *thread, ProcessorTime *process);

// --- The end of the process (crash.cpp) ------------------------------------------------------------------------------

/// Faults by changing the word at address 0.
[[noreturn]] void crash();

// --- Errors (error.cpp) ----------------------------------------------------------------------------------------------

/// Copies the system's message for this thread's last failed call, cut to the buffer. False when there is none.
bool last_error_text(char *buffer, size_t capacity);

/// The system's message for this thread's last failed call, as the system has it: in UTF-16, in UTF-8 or not at all,
/// and then both are null. It may end in a line end.
class LastErrorText {
 public:
  LastErrorText();
  ~LastErrorText() { release(); }
  LastErrorText(const LastErrorText &) = delete;
  LastErrorText &operator=(const LastErrorText &) = delete;

  const uint16_t *utf16() const { return utf16_; }
  const char *utf8() const { return utf8_; }

 private:
  void release();

  uint16_t *utf16_ = nullptr;
  const char *utf8_ = nullptr;
  char buffer_[128];
};

/// The same in the system's 8-bit characters, "" when there is none. It is never freed.
const char *last_error_lasting_text();

// --- Formatted printing (format.cpp) ---------------------------------------------------------------------------------

/// kiv_do_vsnprintf(). REQUIRES: a null buffer has the size 0.
int format_bounded(char *buffer, size_t size, const char *format, va_list arguments);

// --- Mutexes and semaphores (lock.cpp) -------------------------------------------------------------------------------

/// A kernel handle on Windows, an object of the pool in os/posix/object_pool.h elsewhere. Every function takes null and
/// closed handles, and fails.
using Handle = void *;

enum class TryWait { taken, would_block, failed };

/// A recursive mutex that nobody owns; null on failure.
Handle mutex_create();
/// 0 or 1, as the exported functions give it: without a conversion of the result they need no stack frame, which is a
/// tenth of the time that an uncontended mutex takes.
int mutex_lock(Handle mutex);
int mutex_unlock(Handle mutex);

/// Null also for a count below 0 or above kSemaphoreMaximum.
Handle semaphore_create(int32_t initial);
bool semaphore_wait(Handle semaphore);
TryWait semaphore_try_wait(Handle semaphore);
/// Fails at kSemaphoreMaximum.
bool semaphore_post(Handle semaphore);

inline constexpr int32_t kSemaphoreMaximum = 0x40000000;

/// Ends a mutex or semaphore.
bool lock_close(Handle lock);

// --- Threads (thread.cpp) --------------------------------------------------------------------------------------------

using ThreadResult = std::invoke_result_t<KIV_THREAD_ROUTINE, void *>;

/// A thread routine's result: an integer on Windows, a pointer elsewhere.
inline ThreadResult thread_result(int32_t value) { return (ThreadResult)(intptr_t)value; }

/// Where a new thread's id is to be stored; null pointers are skipped.
struct ThreadIdSlots {
  uint32_t *first;
  uint32_t *second;
};

/// Starts routine(argument). Id slots and handle are stored before the routine runs, and not touched afterwards: they
/// may lie in memory that the routine frees. A null handle detaches the thread. On failure nothing is stored.
bool thread_create(KIV_THREAD_ROUTINE routine, void *argument, ThreadIdSlots ids, Handle *handle);

/// Waits for the end of the thread and closes the handle; on failure the handle is kept.
bool thread_join(Handle thread);

[[noreturn]] void thread_exit(int32_t value);
uint32_t thread_current_id();

// --- Descriptors of the C runtime (descriptor.cpp) -------------------------------------------------------------------

/// The C runtime's own: a count or -1 and errno.
int descriptor_read(int fd, void *buffer, uint32_t n);
int descriptor_write(int fd, const void *buffer, uint32_t n);
int descriptor_close(int fd);

// --- Processes (process.cpp) -----------------------------------------------------------------------------------------

struct ProcessStart {
  const char *const *argv;
  const char *output_file;  // null: output goes where the parent's goes
  uint32_t mode;            // KIV_PROCESS_HIDDEN and the like
};

/// Starts a process as kiv_process_start() tells. A null handle: nobody has to wait for the process. On failure nothing
/// is stored.
bool process_start(const ProcessStart &start, uint32_t *id, Handle *handle);

/// A handle of a running process, to wait for it and to end it; null on failure.
Handle process_open(uint32_t id);

/// Begins to end the process.
bool process_kill(Handle process);

/// Waits for the end. A child is gone afterwards: its handle can only be closed.
bool process_wait(Handle process);
void process_close(Handle process);

uint32_t process_current_id();

// --- Thread-specific data (thread_data.cpp) --------------------------------------------------------------------------

/// A key that is never in use.
inline constexpr uint32_t kNoThreadDataKey = UINT32_MAX;

bool thread_data_create(uint32_t *key);
bool thread_data_destroy(uint32_t key);
bool thread_data_set(uint32_t key, void *value);
void *thread_data_get(uint32_t key);

// --- Shared memory (shared_memory.cpp) -------------------------------------------------------------------------------

/// A segment that this process is attached to. Its first word has the total of its bytes.
struct SharedSegment {
  int32_t number;
  void *base;
  void *mapping;   // the system's handle, if it has one
  uintptr_t size;  // the bytes that are mapped, at least 4
};

/// Makes a zero-filled segment of `total` bytes, at least 4, and stores the total in it. The number is the first free
/// one of those that segment_number() has for the process. On failure nothing is stored.
bool shared_segment_create(uint32_t total, uint32_t process, SharedSegment *segment);

/// Attaches to a segment that some process is attached to. On failure nothing is stored.
bool shared_segment_attach(int32_t number, SharedSegment *segment);

/// Ends the attachment, and with the last one the segment; false when the system refuses.
bool shared_segment_detach(const SharedSegment &segment);

}  // namespace kiv::os

#endif
