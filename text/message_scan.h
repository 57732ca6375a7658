// The search for what is not plain text in a message: a bracket or the terminator.
#ifndef KIV_TEXT_MESSAGE_SCAN_H
#define KIV_TEXT_MESSAGE_SCAN_H

#include "text/convert_vector.h"

namespace kiv::message {

/// The first "[", "]" or 0 from text on. Reads aligned blocks whole, also where the text begins or ends within one.
template <class Unit>
KIV_READS_AROUND inline const Unit *find_special(const Unit *text) {
#if defined(__SSE2__)
  using convert::Vector;
  Vector open, close;
  if constexpr (sizeof(Unit) == 1) {
    open = convert::all8('[');
    close = convert::all8(']');
  } else {
    open = convert::all32('[');
    close = convert::all32(']');
  }
  const auto specials = [=](const Vector *block) __attribute__((always_inline)) {
    const Vector units = _mm_load_si128(block);
    const Vector brackets = convert::either(convert::equals<Unit>(units, open), convert::equals<Unit>(units, close));
    return convert::byte_mask(convert::either(brackets, convert::equals<Unit>(units, _mm_setzero_si128())));
  };
  const size_t before = reinterpret_cast<uintptr_t>(text) % sizeof(Vector);
  const auto *block = reinterpret_cast<const Vector *>(reinterpret_cast<const char *>(text) - before);
  uint32_t found = specials(block) >> before << before;
  while (found == 0) found = specials(++block);
  return reinterpret_cast<const Unit *>(reinterpret_cast<const char *>(block) + std::countr_zero(found));
#else
  while (*text != '[' && *text != ']' && *text != 0) ++text;
  return text;
#endif
}

}  // namespace kiv::message

#endif
