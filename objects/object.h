// What all kinds of objects are made of: header, storage, release, text buffers.
#ifndef KIV_OBJECTS_OBJECT_H
#define KIV_OBJECTS_OBJECT_H

#include <cstdint>
#include <cstring>

#include "kiv_obj.h"

namespace kiv::object {

/// Descriptors of kinds that hashtables know by more than their operations.
extern const KIV_OBJ_TYPE int_type, u32_type, ptr_type, u64_type, unichar_s_type;

/// A number of 64 bits, or an address of any width, as one of 32.
constexpr uint32_t fold(uint64_t number) { return static_cast<uint32_t>(number ^ number >> 32); }
inline uint32_t fold(const void *address) { return fold(uint64_t{reinterpret_cast<uintptr_t>(address)}); }

/// The payload's bytes and their number.
inline uint8_t *payload(KIV_OBJ *object) { return reinterpret_cast<uint8_t *>(object + 1); }
inline const uint8_t *payload(const KIV_OBJ *object) { return reinterpret_cast<const uint8_t *>(object + 1); }
inline uint32_t payload_size(const KIV_OBJ_TYPE &type) {
  return type.object_size - static_cast<uint32_t>(sizeof(KIV_OBJ));
}

/// count * size zero bytes; null without memory, and for automatic scalars, which have no allocator.
inline void *allocate_zeroed(KIV_ALLOCATOR *allocator, uint32_t size) {
  return allocator != nullptr ? allocator->calloc(allocator, 1, size) : nullptr;
}

/// A new object with a zero payload and one owner; null without memory. Record is the kind's, or KIV_OBJ where only the
/// descriptor knows.
template <class Record>
Record *allocate(KIV_ALLOCATOR *allocator, const KIV_OBJ_TYPE &type) {
  auto *record = static_cast<Record *>(allocate_zeroed(allocator, type.object_size));
  if (record == nullptr) return nullptr;
  auto *header = reinterpret_cast<KIV_OBJ *>(record);
  header->type = &type;
  header->allocator = allocator;
  return record;
}

/// The same in the caller's storage.
template <class Record>
Record *build_automatic(Record *storage, const KIV_OBJ_TYPE &type, KIV_ALLOCATOR *allocator) {
  std::memset(static_cast<void *>(storage), 0, sizeof *storage);
  storage->header = {&type, allocator, 1, 0};
  return storage;
}

/// Gives an object's storage back, unless it is the caller's: the end of every kind's del.
inline void free_storage(KIV_OBJ *object) {
  if (object->automatic == 0) object->allocator->free(object->allocator, object);
}

/// Ends one owner's share; the last one deletes the object. Null is ignored.
inline void release(KIV_OBJ *object) {
  if (object == nullptr) return;
  if (object->extra_refs == 0) {
    object->type->del(object);
  } else {
    --object->extra_refs;
  }
}

/// A buffer of so many zero bytes for a text of the object; null without memory.
inline char *allocate_text(const KIV_OBJ *object, uint32_t size) {
  return static_cast<char *>(allocate_zeroed(object->allocator, size));
}

/// The buffer cut to its text of so many characters. When the allocator cannot do that, the buffer as it is.
inline char *shrink_text(const KIV_OBJ *object, char *text, uint32_t length) {
  void *shrunk = object->allocator->realloc(object->allocator, text, length + 1);
  return shrunk != nullptr ? static_cast<char *>(shrunk) : text;
}

}  // namespace kiv::object

#endif
