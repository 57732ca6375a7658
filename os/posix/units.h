// The scans of os/units.h by the C library, whose wide characters are signed 32-bit numbers.
#ifndef KIV_OS_POSIX_UNITS_H
#define KIV_OS_POSIX_UNITS_H

#include <cwchar>

namespace kiv::os {

static_assert(sizeof(wchar_t) == sizeof(Unit));

inline const wchar_t *as_wide(const Unit *s) { return reinterpret_cast<const wchar_t *>(s); }
inline const Unit *as_units(const wchar_t *s) { return reinterpret_cast<const Unit *>(s); }

inline const Unit *find_end(const Unit *s) { return s + std::wcslen(as_wide(s)); }

inline const Unit *find(const Unit *s, Unit c) { return as_units(std::wcschr(as_wide(s), static_cast<wchar_t>(c))); }

inline const Unit *find_last(const Unit *s, Unit c) {
  return as_units(std::wcsrchr(as_wide(s), static_cast<wchar_t>(c)));
}

/// The order of strings that differ somewhere, found by pieces: no terminator stands before the place, hence a piece
/// without a difference is whole.
[[gnu::noinline]] inline int compare_different(const Unit *s, const Unit *t) {
  constexpr size_t kPiece = 256;
  while (std::wcsncmp(as_wide(s), as_wide(t), kPiece) == 0) {
    s += kPiece;
    t += kPiece;
  }
  skip_equal(s, t);
  return compare_here(s, t);
}

/// wcscmp knows equality at full speed, but puts units from 2^31 on below all others.
inline int compare_long(const Unit *s, const Unit *t) {
  return std::wcscmp(as_wide(s), as_wide(t)) == 0 ? 0 : compare_different(s, t);
}

}  // namespace kiv::os

#endif
