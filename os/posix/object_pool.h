// The objects behind the handles of mutexes, semaphores and joinable threads.
//
// Memory of the pool is never given back: a handle that was closed still points at an object, which says that it is
// closed, so that using it fails in place of crashing. Closed objects are used again in the order of their closing,
// which keeps a stale handle failing for as long as possible.
#ifndef KIV_OS_POSIX_OBJECT_POOL_H
#define KIV_OS_POSIX_OBJECT_POOL_H

#include <atomic>
#include <cerrno>
#include <cstdint>

#include <pthread.h>

#include "os/platform.h"

namespace kiv::os {

enum class ObjectKind : uint32_t { closed, mutex, semaphore, thread };

struct Semaphore {
  pthread_mutex_t guard;
  pthread_cond_t positive;
  int32_t count;
};

struct Object {
  std::atomic<ObjectKind> kind;
  Object *next_closed;
  union {
    pthread_mutex_t mutex;
    Semaphore semaphore;
    pthread_t thread;
  };
};

/// A closed object for the caller to fill and open, or null with errno set.
Object *object_take();

/// Publishes a filled object under its handle.
inline Handle object_open(Object *object, ObjectKind kind) {
  object->kind.store(kind, std::memory_order_release);
  return object;
}

/// Closes the object; the caller has ended what it held.
void object_close(Object *object);

/// The open object behind a handle, or null with errno set.
inline Object *object_of(Handle handle, ObjectKind kind) {
  auto *object = static_cast<Object *>(handle);
  if (object != nullptr && object->kind.load(std::memory_order_acquire) == kind) [[likely]]
    return object;
  errno = EINVAL;
  return nullptr;
}

}  // namespace kiv::os

#endif
