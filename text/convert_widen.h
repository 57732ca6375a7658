// Between bytes and wider units of the same value, sixteen at a time.
#ifndef KIV_TEXT_CONVERT_WIDEN_H
#define KIV_TEXT_CONVERT_WIDEN_H

#include "kiv_types.h"
#include "text/convert_vector.h"

namespace kiv::convert {

/// What becomes of a code point above 0x7F: "?", or the end of the run.
enum class Narrowing { replace, stop };

#if defined(__SSE2__)

inline void widen16(Vector bytes, uint16_t *destination) {
  store(destination, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
  store(destination + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

inline void widen8(Vector units, uint32_t *destination) {
  store(destination, _mm_unpacklo_epi16(units, _mm_setzero_si128()));
  store(destination + 4, _mm_unpackhi_epi16(units, _mm_setzero_si128()));
}

inline void widen16(Vector bytes, uint32_t *destination) {
  widen8(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()), destination);
  widen8(_mm_unpackhi_epi8(bytes, _mm_setzero_si128()), destination + 8);
}

/// Sixteen code points.
struct Vectors {
  Vector a, b, c, d;

  explicit Vectors(const KIV_UNICHAR *string)
      : a(load(string)), b(load(string + 4)), c(load(string + 8)), d(load(string + 12)) {}

  /// The bits that some of them have, in four sets.
  Vector any_bits() const { return either(either(a, b), either(c, d)); }

  bool are_ascii() const { return are_all(below(any_bits(), 7)); }

  // As signed numbers.
  bool are_above(uint32_t limit) const {
    return are_all(both(both(above(a, limit), above(b, limit)), both(above(c, limit), above(d, limit))));
  }
  bool is_one_above(uint32_t limit) const {
    return !are_none(either(either(above(a, limit), above(b, limit)), either(above(c, limit), above(d, limit))));
  }

  /// As bytes. REQUIRES: they are ASCII.
  Vector narrow() const { return _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)); }

  void replace_others() {
    a = ascii_or_replacement(a), b = ascii_or_replacement(b), c = ascii_or_replacement(c), d = ascii_or_replacement(d);
  }

 private:
  static Vector ascii_or_replacement(Vector v) {
    const Vector ascii = below(v, 7);
    return choose(ascii, v, all32('?'));
  }
};

/// Widens bytes and gives their number: `count`, or somewhat less.
template <class To>
size_t widen_run(const char *chars, size_t count, To *destination) {
  size_t i = 0;
  for (; count - i >= 16; i += 16) widen16(load(chars + i), destination + i);
  return i;
}

/// Narrows code points and gives their number: `count`, or somewhat less, or where one above 0x7F is near.
template <Narrowing kNarrowing>
size_t narrow_run(const KIV_UNICHAR *string, size_t count, char *chars) {
  size_t i = 0;
  for (; count - i >= 16; i += 16) {
    Vectors units(string + i);
    if (kNarrowing == Narrowing::replace) units.replace_others();
    if (kNarrowing == Narrowing::stop && !units.are_ascii()) break;
    store(chars + i, units.narrow());
  }
  return i;
}

#else

template <class To>
size_t widen_run(const char *, size_t, To *) {
  return 0;
}

template <Narrowing kNarrowing>
size_t narrow_run(const KIV_UNICHAR *, size_t, char *) {
  return 0;
}

#endif

}  // namespace kiv::convert

#endif
