// Records and texts in memory that is given back as a whole.
#ifndef KIV_INSPECT_POOL_H
#define KIV_INSPECT_POOL_H

#include <algorithm>
#include <cstdint>
#include <new>
#include <string_view>
#include <type_traits>

#include "kiv_allocator.h"

namespace kiv::inspect {

/// A copy of the record; null without memory.
template <class T>
T *place(KIV_ALLOCATOR *pool, const T &record) {
  static_assert(std::is_trivially_destructible_v<T>);
  void *block = pool->alloc(pool, sizeof(T));
  return block != nullptr ? new (block) T(record) : nullptr;
}

/// A copy of the text, which is shorter than 4 GiB; one that points nowhere without memory.
inline std::string_view place_text(KIV_ALLOCATOR *pool, std::string_view text) {
  auto *copy = static_cast<char *>(pool->alloc(pool, static_cast<uint32_t>(text.size()) + 1));
  if (copy == nullptr) return {};
  std::copy(text.begin(), text.end(), copy);
  return {copy, text.size()};
}

}  // namespace kiv::inspect

#endif
