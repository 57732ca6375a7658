// The scans of os/units.h by 16-byte registers: the C runtime's wide characters have 16 bits.
#ifndef KIV_OS_WIN32_UNITS_H
#define KIV_OS_WIN32_UNITS_H

namespace kiv::os {

inline const Unit *find_end(const Unit *s) { return scan(s, is_end); }

inline const Unit *find(const Unit *s, Unit c) {
  const __m128i wanted = four(c);
  const Unit *place = scan(s, [wanted](__m128i units) { return _mm_or_si128(equal(units, wanted), is_end(units)); });
  return *place == c ? place : nullptr;
}

inline const Unit *find_last(const Unit *s, Unit c) {
  if (c == 0) return find_end(s);
  const __m128i wanted = four(c);
  const auto is_wanted = [wanted](__m128i units) { return equal(units, wanted); };
  auto [block, skipped] = block_of(s);
  uint32_t searched = UINT32_MAX << skipped;
  const Unit *last = nullptr;
  for (;; block += 4, searched = UINT32_MAX) {
    const uint32_t end = block_mask(block, is_end) & searched;
    const uint32_t found = block_mask(block, is_wanted) & searched & before_first(end);
    if (found != 0) last = reinterpret_cast<const Unit *>(block) + (31 - __builtin_clz(found));
    if (end != 0) return last;
  }
}

inline int compare_long(const Unit *s, const Unit *t) {
  skip_equal(s, t);
  return compare_here(s, t);
}

}  // namespace kiv::os

#endif
