#include <semaphore.h>
#include <unistd.h>

#include "os/posix/object_pool.h"

namespace kiv::os {
namespace {

/// Lives on the starter's stack until the new thread has posted `ids_stored`.
struct Start {
  KIV_THREAD_ROUTINE routine;
  void *argument;
  ThreadIdSlots ids;
  sem_t ids_stored;
};

/// Only the thread itself can ask for its id, so it stores it and lets the starter go before it runs the routine.
void *run(void *start_pointer) {
  auto *start = static_cast<Start *>(start_pointer);
  const KIV_THREAD_ROUTINE routine = start->routine;
  void *const argument = start->argument;
  const uint32_t id = thread_current_id();
  if (start->ids.first != nullptr) *start->ids.first = id;
  if (start->ids.second != nullptr) *start->ids.second = id;
  sem_post(&start->ids_stored);
  return routine(argument);
}

bool create(Start *start, bool detached, pthread_t *thread) {
  pthread_attr_t attributes;
  int error = pthread_attr_init(&attributes);
  if (error == 0) {
    if (detached) pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    error = pthread_create(thread, &attributes, run, start);
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
  Start start{routine, argument, ids, {}};
  sem_init(&start.ids_stored, 0, 0);
  pthread_t thread;
  const bool created = create(&start, handle == nullptr, &thread);
  if (created) {
    while (sem_wait(&start.ids_stored) != 0) {
    }
  }
  const int error = errno;
  sem_destroy(&start.ids_stored);
  if (object != nullptr) {
    if (created) {
      object->thread = thread;
      *handle = object_open(object, ObjectKind::thread);
    } else {
      object_close(object);
    }
  }
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
