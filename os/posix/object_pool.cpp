#include "os/posix/object_pool.h"

namespace kiv::os {
namespace {

struct Block {
  Block *older;
  Object objects[32];
};

struct Pool {
  pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
  Block *newest = nullptr;
  Object *first_closed = nullptr;
  Object *last_closed = nullptr;
};

Pool pool;

void append_closed(Object *object) {
  object->next_closed = nullptr;
  (pool.last_closed != nullptr ? pool.last_closed->next_closed : pool.first_closed) = object;
  pool.last_closed = object;
}

bool grow() {
  auto *block = static_cast<Block *>(heap_calloc(1, sizeof(Block)));
  if (block == nullptr) return false;
  block->older = pool.newest;
  pool.newest = block;
  for (Object &object : block->objects) append_closed(&object);
  return true;
}

}  // namespace

Object *object_take() {
  pthread_mutex_lock(&pool.guard);
  Object *object = nullptr;
  if (pool.first_closed != nullptr || grow()) {
    object = pool.first_closed;
    pool.first_closed = object->next_closed;
    if (pool.first_closed == nullptr) pool.last_closed = nullptr;
  }
  pthread_mutex_unlock(&pool.guard);
  if (object == nullptr) errno = ENOMEM;
  return object;
}

void object_close(Object *object) {
  object->kind.store(ObjectKind::closed, std::memory_order_release);
  pthread_mutex_lock(&pool.guard);
  append_closed(object);
  pthread_mutex_unlock(&pool.guard);
}

}  // namespace kiv::os
