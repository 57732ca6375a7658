#include <semaphore.h>
#include <unistd.h>

#include "os/posix/object_pool.h"

namespace kiv::os {
namespace {

/// Lives on the starter's stack until the new thread has posted `stored`.
struct Start {
  KIV_THREAD_ROUTINE routine;
  void *argument;
  ThreadIdSlots ids;
  Object *object;  // null when the thread is detached
  Handle *handle;
  sem_t stored;
};

/// Only the thread itself can ask for its id, so it stores that, and its handle too, and lets the starter go before it
/// runs the routine.
void *run(void *start_pointer) {
  auto *start = static_cast<Start *>(start_pointer);
  const KIV_THREAD_ROUTINE routine = start->routine;
  void *const argument = start->argument;
  const uint32_t id = thread_current_id();
  if (start->ids.first != nullptr) *start->ids.first = id;
  if (start->ids.second != nullptr) *start->ids.second = id;
  if (start->object != nullptr) {
    start->object->thread = pthread_self();
    *start->handle = object_open(start->object, ObjectKind::thread);
  }
  sem_post(&start->stored);
  return routine(argument);
}

bool create(Start *start, bool detached) {
  pthread_attr_t attributes;
  int error = pthread_attr_init(&attributes);
  if (error == 0) {
    if (detached) pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    pthread_t thread;
    error = pthread_create(&thread, &attributes, run, start);
    pthread_attr_destroy(&attributes);
  }
  if (error != 0) errno = error;
  return error == 0;
}

}  // namespace

bool thread_create(KIV_THREAD_ROUTINE routine, void *argument, ThreadIdSlots ids, Handle *handle) {
  Object *object = nullptr;
  if (handle != nullptr) {
    object = object_take();
    if (object == nullptr) return false;
  }
  Start start{routine, argument, ids, object, handle, {}};
  sem_init(&start.stored, 0, 0);
  const bool created = create(&start, handle == nullptr);
  const int error = errno;
  if (created) {
    while (sem_wait(&start.stored) != 0) {
    }
  } else if (object != nullptr) {
    object_close(object);
  }
  sem_destroy(&start.stored);
  errno = error;
  return created;
}

bool thread_join(Handle thread) {
  Object *object = object_of(thread, ObjectKind::thread);
  if (object == nullptr) return false;
  // Of two threads that join one, the second finds the object closed.
  ObjectKind expected = ObjectKind::thread;
  if (!object->kind.compare_exchange_strong(expected, ObjectKind::closed)) {
    errno = EINVAL;
    return false;
  }
  const int error = pthread_join(object->thread, nullptr);
  if (error != 0) {
    object_open(object, ObjectKind::thread);
    errno = error;
    return false;
  }
  object_close(object);
  return true;
}

void thread_exit(int32_t value) { pthread_exit(thread_result(value)); }

uint32_t thread_current_id() { return static_cast<uint32_t>(gettid()); }

}  // namespace kiv::os
