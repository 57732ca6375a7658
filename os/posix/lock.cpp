#include "os/posix/object_pool.h"

namespace kiv::os {
namespace {

/// Setting errno is kept out of the way of success.
[[gnu::noinline, gnu::cold]] int failed(int error) {
  errno = error;
  return 1;
}

/// Turns a pthread result into 0 or 1, with errno.
int status(int error) {
  if (error == 0) [[likely]]
    return 0;
  return failed(error);
}

bool ok(int error) { return status(error) == 0; }

bool init_recursive_mutex(pthread_mutex_t *mutex) {
  pthread_mutexattr_t recursive;
  if (!ok(pthread_mutexattr_init(&recursive))) return false;
  pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
  const bool made = ok(pthread_mutex_init(mutex, &recursive));
  pthread_mutexattr_destroy(&recursive);
  return made;
}

/// Closing a mutex that one holds is allowed, as often as one has taken it; one that another thread holds stays.
bool destroy_mutex(pthread_mutex_t *mutex) {
  if (!ok(pthread_mutex_trylock(mutex))) return false;
  int error = 0;
  do {
    pthread_mutex_unlock(mutex);
    error = pthread_mutex_destroy(mutex);
  } while (error == EBUSY);
  return ok(error);
}

}  // namespace

Handle mutex_create() {
  Object *object = object_take();
  if (object == nullptr) return nullptr;
  if (init_recursive_mutex(&object->mutex)) return object_open(object, ObjectKind::mutex);
  const int error = errno;
  object_close(object);
  errno = error;
  return nullptr;
}

int mutex_lock(Handle mutex) {
  Object *object = object_of(mutex, ObjectKind::mutex);
  return object != nullptr ? status(pthread_mutex_lock(&object->mutex)) : 1;
}

int mutex_unlock(Handle mutex) {
  Object *object = object_of(mutex, ObjectKind::mutex);
  return object != nullptr ? status(pthread_mutex_unlock(&object->mutex)) : 1;
}

Handle semaphore_create(int32_t initial) {
  if (initial < 0 || initial > kSemaphoreMaximum) {
    errno = EINVAL;
    return nullptr;
  }
  Object *object = object_take();
  if (object == nullptr) return nullptr;
  // With default attributes these allocate nothing and cannot fail.
  pthread_mutex_init(&object->semaphore.guard, nullptr);
  pthread_cond_init(&object->semaphore.positive, nullptr);
  object->semaphore.count = initial;
  return object_open(object, ObjectKind::semaphore);
}

bool semaphore_wait(Handle semaphore) {
  Object *object = object_of(semaphore, ObjectKind::semaphore);
  if (object == nullptr) return false;
  auto &s = object->semaphore;
  pthread_mutex_lock(&s.guard);
  while (s.count == 0) pthread_cond_wait(&s.positive, &s.guard);
  --s.count;
  pthread_mutex_unlock(&s.guard);
  return true;
}

TryWait semaphore_try_wait(Handle semaphore) {
  Object *object = object_of(semaphore, ObjectKind::semaphore);
  if (object == nullptr) return TryWait::failed;
  auto &s = object->semaphore;
  pthread_mutex_lock(&s.guard);
  const bool taken = s.count > 0;
  if (taken) --s.count;
  pthread_mutex_unlock(&s.guard);
  return taken ? TryWait::taken : TryWait::would_block;
}

bool semaphore_post(Handle semaphore) {
  Object *object = object_of(semaphore, ObjectKind::semaphore);
  if (object == nullptr) return false;
  auto &s = object->semaphore;
  pthread_mutex_lock(&s.guard);
  const bool full = s.count == kSemaphoreMaximum;
  if (!full) {
    ++s.count;
    // Signalled while the guard is held: a waiter that wakes and deletes the semaphore finds nobody inside.
    pthread_cond_signal(&s.positive);
  }
  pthread_mutex_unlock(&s.guard);
  if (full) errno = EOVERFLOW;
  return !full;
}

bool lock_close(Handle lock) {
  auto *object = static_cast<Object *>(lock);
  switch (object == nullptr ? ObjectKind::closed : object->kind.load(std::memory_order_acquire)) {
    case ObjectKind::mutex:
      if (!destroy_mutex(&object->mutex)) return false;
      break;
    case ObjectKind::semaphore:
      pthread_cond_destroy(&object->semaphore.positive);
      pthread_mutex_destroy(&object->semaphore.guard);
      break;
    default:
      errno = EINVAL;
      return false;
  }
  object_close(object);
  return true;
}

}  // namespace kiv::os
