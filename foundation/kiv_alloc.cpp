// Helpers that work through any allocator record: grouped blocks, chunk-wise resizing, and byte strings.

#include <cstring>

#include "kiv_allocator.h"

namespace {

constexpr uint32_t round_up(uint32_t size, uint32_t power_of_two) { return (size + power_of_two - 1) & -power_of_two; }

template <size_t kParts>
int allocate_group(KIV_ALLOCATOR *allocator, const uint32_t (&sizes)[kParts], void **const (&outs)[kParts], bool zero) {
  uint32_t total = 0;
  for (const uint32_t size : sizes) total += round_up(size, 8);
  if (total == 0) return 0;
  void *group = zero ? allocator->calloc(allocator, 1, total) : allocator->alloc(allocator, total);
  if (group == nullptr) return 1;
  auto *position = static_cast<uint8_t *>(group);
  for (size_t i = 0; i < kParts; ++i) {
    if (sizes[i] == 0) continue;
    *outs[i] = position;
    position += round_up(sizes[i], 8);
  }
  return 0;
}

}  // namespace

int kiv_alloc4(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4, void **out1,
               void **out2, void **out3, void **out4) {
  return allocate_group<4>(allocator, {size1, size2, size3, size4}, {out1, out2, out3, out4}, false);
}

int kiv_calloc4(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4, void **out1,
                void **out2, void **out3, void **out4) {
  return allocate_group<4>(allocator, {size1, size2, size3, size4}, {out1, out2, out3, out4}, true);
}

int kiv_alloc8(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4, uint32_t size5,
               uint32_t size6, uint32_t size7, uint32_t size8, void **out1, void **out2, void **out3, void **out4,
               void **out5, void **out6, void **out7, void **out8) {
  return allocate_group<8>(allocator, {size1, size2, size3, size4, size5, size6, size7, size8},
                           {out1, out2, out3, out4, out5, out6, out7, out8}, false);
}

int kiv_calloc8(KIV_ALLOCATOR *allocator, uint32_t size1, uint32_t size2, uint32_t size3, uint32_t size4,
                uint32_t size5, uint32_t size6, uint32_t size7, uint32_t size8, void **out1, void **out2, void **out3,
                void **out4, void **out5, void **out6, void **out7, void **out8) {
  return allocate_group<8>(allocator, {size1, size2, size3, size4, size5, size6, size7, size8},
                           {out1, out2, out3, out4, out5, out6, out7, out8}, true);
}

int kiv_alloc_realloc_chunkwise(KIV_ALLOCATOR *allocator, uint32_t chunk_shift, void **block, uint32_t old_size,
                                uint32_t new_size, uint32_t zero_new_bytes) {
  const uint32_t chunk = 1u << (chunk_shift & 31u);
  const uint32_t old_capacity = round_up(old_size, chunk);
  const uint32_t new_capacity = round_up(new_size, chunk);
  if (new_capacity == 0 && old_capacity != 0) {
    allocator->free(allocator, *block);
    *block = nullptr;
  } else if (new_capacity != old_capacity) {
    void *resized = allocator->realloc(allocator, *block, new_capacity);
    if (resized != nullptr) {
      *block = resized;
    } else if (old_capacity < new_capacity) {
      return 1;
    }
  }
  // The capacity of a size near 2^32 wraps to 0: there is no room to fill then.
  if (zero_new_bytes != 0 && old_size < new_size && new_size <= new_capacity) {
    std::memset(static_cast<uint8_t *>(*block) + old_size, 0, new_size - old_size);
  }
  return 0;
}

char *kiv_strdup(KIV_ALLOCATOR *allocator, const char *text) {
  if (text == nullptr) text = "";
  const size_t size = std::strlen(text) + 1;
  if (size > UINT32_MAX) return nullptr;
  void *copy = allocator->alloc(allocator, static_cast<uint32_t>(size));
  return copy != nullptr ? static_cast<char *>(std::memcpy(copy, text, size)) : nullptr;
}

char *kiv_strcat(KIV_ALLOCATOR *allocator, char *text, const char *more) {
  if (more == nullptr) return text;
  const size_t length = text != nullptr ? std::strlen(text) : 0;
  const size_t added = std::strlen(more) + 1;
  if (length + added > UINT32_MAX) return nullptr;
  auto *grown = static_cast<char *>(allocator->realloc(allocator, text, static_cast<uint32_t>(length + added)));
  if (grown != nullptr) std::memcpy(grown + length, more, added);
  return grown;
}
