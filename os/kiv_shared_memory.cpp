// Shared memory: the handle's record. What a segment is, each system says for itself in shared_memory.cpp.

#include "kiv_shared_memory.h"

#include <algorithm>

#include "base/alias.h"
#include "base/record_layout.h"
#include "kiv_process.h"
#include "os/platform.h"

KIV_LAYOUT_32(sizeof(KIV_SHARED_MEMORY) == 20);
KIV_LAYOUT_32(offsetof(KIV_SHARED_MEMORY, number) == 4 && offsetof(KIV_SHARED_MEMORY, base) == 8);
KIV_LAYOUT_32(offsetof(KIV_SHARED_MEMORY, mapping) == 12 && offsetof(KIV_SHARED_MEMORY, view) == 16);

namespace {

using kiv::os::SharedSegment;

constexpr uint32_t kSizeWord = sizeof(uint32_t);

bool is_attached(const KIV_SHARED_MEMORY *handle) { return handle != nullptr && handle->attached != 0; }

uintptr_t mapped_bytes(const KIV_SHARED_MEMORY *handle) { return reinterpret_cast<uintptr_t>(handle->view); }

/// The status of an attempt to attach, whose result goes into the handle.
int store(KIV_SHARED_MEMORY *handle, bool attached, const SharedSegment &segment) {
  if (!attached) return 1;
  // The bytes that are mapped stand where a handle would: there is no other field for them.
  *handle = {1, segment.number, segment.base, segment.mapping, reinterpret_cast<void *>(segment.size)};
  return 0;
}

}  // namespace

int kiv_shared_memory_create_and_attach(KIV_SHARED_MEMORY *handle, uint32_t size) {
  if (handle == nullptr || size > UINT32_MAX - kSizeWord) return 1;
  SharedSegment segment{};
  const bool made = kiv::os::shared_segment_create(size + kSizeWord, kiv_process_get_pid(), &segment);
  return store(handle, made, segment);
}

int kiv_shared_memory_attach(KIV_SHARED_MEMORY *handle, int32_t number) {
  if (handle == nullptr) return 1;
  SharedSegment segment{};
  const bool attached = kiv::os::shared_segment_attach(number, &segment);
  return store(handle, attached, segment);
}

int kiv_shared_memory_detach(KIV_SHARED_MEMORY *handle) {
  if (!is_attached(handle)) return 1;
  handle->attached = 0;
  return kiv::os::shared_segment_detach({handle->number, handle->base, handle->mapping, mapped_bytes(handle)}) ? 0 : 1;
}
KIV_ALIAS(kiv_shared_memory_detach_and_destroy, kiv_shared_memory_detach);

int32_t kiv_shared_memory_get_id(const KIV_SHARED_MEMORY *handle) { return is_attached(handle) ? handle->number : -1; }

void *kiv_shared_memory_get_data(const KIV_SHARED_MEMORY *handle) {
  return is_attached(handle) ? static_cast<uint8_t *>(handle->base) + kSizeWord : nullptr;
}

uint32_t kiv_shared_memory_get_size(const KIV_SHARED_MEMORY *handle) {
  if (!is_attached(handle)) return 0;
  const uintptr_t total = __atomic_load_n(static_cast<const uint32_t *>(handle->base), __ATOMIC_RELAXED);
  return total < kSizeWord ? 0 : static_cast<uint32_t>(std::min(total, mapped_bytes(handle)) - kSizeWord);
}
