// Joining: strings that grow behind or in front.

#include <algorithm>
#include <cstring>

#include "kiv_string.h"
#include "text/string_growth.h"

namespace kiv {
namespace {

/// s, grown, with the source in front.
template <class Source>
KIV_STRING grow_in_front(KIV_ALLOCATOR *allocator, Source source, KIV_STRING s) {
  if (source.text == nullptr) return s;
  const size_t count = source.length();
  const size_t length = Units{s}.length();
  KIV_STRING grown = reallocate_units(allocator, s, uint64_t{count} + length + 1);
  if (grown == nullptr) return nullptr;
  std::memmove(grown + count, grown, length * sizeof(KIV_UNICHAR));
  copy_units(grown, after_move(source, s, length, grown + count), count);
  grown[count + length] = 0;
  return grown;
}

/// A new string: s, then `count` units of t.
KIV_STRING concatenate(KIV_ALLOCATOR *allocator, Units s, Units t, size_t count) {
  const size_t length = s.length();
  KIV_STRING joined = allocate_units(allocator, uint64_t{length} + count + 1);
  if (joined == nullptr) return nullptr;
  copy_units(joined, s, length);
  copy_units(joined + length, t, count);
  joined[length + count] = 0;
  return joined;
}

}  // namespace
}  // namespace kiv

using kiv::Units;
using kiv::ZeroExtended;

KIV_STRING kiv_string_append(KIV_ALLOCATOR *allocator, KIV_STRING s, KIV_UNICHAR c) {
  return kiv::grow_behind(allocator, s, Units{&c}, 1);
}

KIV_STRING kiv_string_prepend(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *prefix, KIV_STRING s) {
  return kiv::grow_in_front(allocator, Units{prefix}, s);
}

KIV_STRING kiv_string_prepend_char_s(KIV_ALLOCATOR *allocator, const char *prefix, KIV_STRING s) {
  return kiv::grow_in_front(allocator, ZeroExtended{prefix}, s);
}

KIV_STRING kiv_string_cat_char_s(KIV_ALLOCATOR *allocator, KIV_STRING s, const char *t) {
  if (t == nullptr) return s;
  return kiv::grow_behind(allocator, s, ZeroExtended{t}, std::strlen(t));
}

KIV_STRING kiv_string_strncat(KIV_ALLOCATOR *allocator, KIV_STRING s, const KIV_UNICHAR *t, uint32_t n, int reuse) {
  if (t == nullptr) return reuse != 0 ? s : kiv_string_dup(allocator, s);
  const size_t at_most = n <= INT32_MAX ? n : 0;  // negative as the signed number that it is taken for
  const size_t count = std::min(Units{t}.length(), at_most);
  return reuse != 0 ? kiv::grow_behind(allocator, s, Units{t}, count)
                    : kiv::concatenate(allocator, Units{s}, Units{t}, count);
}

KIV_STRING kiv_string_cat(KIV_ALLOCATOR *allocator, KIV_STRING s, const KIV_UNICHAR *t, int reuse) {
  return kiv_string_strncat(allocator, s, t, 1000000000, reuse);
}
