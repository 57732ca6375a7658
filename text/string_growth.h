// Strings that grow in place, by a source of any kind that may be a part of them.
#ifndef KIV_TEXT_STRING_GROWTH_H
#define KIV_TEXT_STRING_GROWTH_H

#include "text/string_block.h"

namespace kiv {

/// Where the source is once s, of `length` units, has moved to `moved`: the source may be a part of s.
template <class Source>
Source after_move(Source source, const KIV_UNICHAR *s, size_t length, const KIV_UNICHAR *moved) {
  // As numbers: s is dead by now.
  const auto offset = reinterpret_cast<uintptr_t>(source.text) - reinterpret_cast<uintptr_t>(s);
  if (s == nullptr || offset > length * sizeof(KIV_UNICHAR)) return source;
  return {reinterpret_cast<decltype(source.text)>(reinterpret_cast<const char *>(moved) + offset)};
}

/// s, grown, with `count` units of the source behind; null without memory, and s is as it was.
template <class Source>
KIV_STRING grow_behind(KIV_ALLOCATOR *allocator, KIV_STRING s, Source source, size_t count) {
  const size_t length = Units{s}.length();
  KIV_STRING grown = reallocate_units(allocator, s, uint64_t{length} + count + 1);
  if (grown == nullptr) return nullptr;
  copy_units(grown + length, after_move(source, s, length, grown), count);
  grown[length + count] = 0;
  return grown;
}

}  // namespace kiv

#endif
