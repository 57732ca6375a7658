// Searching: units, sets of units, strings.

#include "kiv_string.h"
#include "text/text_source.h"
#include "text/unit_search.h"

namespace kiv {
namespace {

/// A set of units, with a bit for each residue modulo 64 that it has: most units that are not in it need no search.
struct UnitSet {
  const KIV_UNICHAR *units;
  uint64_t residues = 0;

  explicit UnitSet(const KIV_UNICHAR *set) : units(set) {
    for (; *set != 0; ++set) residues |= uint64_t{1} << (*set & 63u);
  }
  /// Of units other than 0.
  bool contains(KIV_UNICHAR c) const { return (residues >> (c & 63u) & 1u) != 0 && os::find(units, c) != nullptr; }
};

/// The first unit of s whose being in the set is as given; else the terminator.
const KIV_UNICHAR *find_by_set(const KIV_UNICHAR *s, const KIV_UNICHAR *set, bool in_set) {
  const UnitSet units(set);
  while (*s != 0 && units.contains(*s) != in_set) ++s;
  return s;
}

/// Callers get the constness of their own string back.
KIV_STRING place_in_string(const KIV_UNICHAR *place) { return const_cast<KIV_STRING>(place); }

}  // namespace
}  // namespace kiv

KIV_STRING kiv_string_strchr(const KIV_UNICHAR *s, KIV_UNICHAR c) { return kiv::place_in_string(kiv::os::find(s, c)); }

KIV_STRING kiv_string_strrchr(const KIV_UNICHAR *s, KIV_UNICHAR c) {
  return kiv::place_in_string(kiv::os::find_last(s, c));
}

uint32_t kiv_string_strspn(const KIV_UNICHAR *s, const KIV_UNICHAR *set) {
  return static_cast<uint32_t>(kiv::find_by_set(s, set, false) - s);
}

uint32_t kiv_string_strcspn(const KIV_UNICHAR *s, const KIV_UNICHAR *set) {
  return static_cast<uint32_t>(kiv::find_by_set(s, set, true) - s);
}

KIV_STRING kiv_string_strpbrk(const KIV_UNICHAR *s, const KIV_UNICHAR *set) {
  const KIV_UNICHAR *place = kiv::find_by_set(s, set, true);
  return *place != 0 ? kiv::place_in_string(place) : nullptr;
}

KIV_STRING kiv_string_strstr(const KIV_UNICHAR *s, const KIV_UNICHAR *t) {
  if (t == nullptr || t[0] == 0) return kiv::place_in_string(s);
  return kiv::place_in_string(t[1] == 0 ? kiv::os::find(s, t[0]) : kiv::find_string(s, t));
}

uint32_t kiv_string_to_index(uint32_t n, const KIV_STRING *sorted, const KIV_UNICHAR *key) {
  uint32_t low = 0, high = n;
  while (low < high) {
    const uint32_t middle = low + (high - low) / 2;
    const int32_t order = kiv_string_compare(key, sorted[middle]);
    if (order == 0) return middle;
    (order < 0 ? high : low) = order < 0 ? middle : middle + 1;
  }
  return UINT32_MAX;
}
