// What the string operations read: units, or bytes widened to units in one of two ways. Each operation is written once,
// over the kind of its source.
//
// A source has operator[] (the unit at an index), text (the pointer) and length() (0 for null).
#ifndef KIV_TEXT_TEXT_SOURCE_H
#define KIV_TEXT_TEXT_SOURCE_H

#include <cstring>

#include "kiv_types.h"
#include "os/units.h"

namespace kiv {

struct Units {
  const KIV_UNICHAR *text;
  KIV_UNICHAR operator[](size_t i) const { return text[i]; }
  size_t length() const { return text != nullptr ? static_cast<size_t>(os::find_end(text) - text) : 0; }
};

enum class Widening { zero, sign };

template <Widening kWidening>
struct Chars {
  const char *text;
  KIV_UNICHAR operator[](size_t i) const {
    if constexpr (kWidening == Widening::zero) {
      return static_cast<uint8_t>(text[i]);
    } else {
      return static_cast<KIV_UNICHAR>(static_cast<int8_t>(text[i]));
    }
  }
  size_t length() const { return text != nullptr ? std::strlen(text) : 0; }
};

using ZeroExtended = Chars<Widening::zero>;
using SignExtended = Chars<Widening::sign>;

inline void copy_units(KIV_UNICHAR *destination, Units source, size_t count) {
  if (count != 0) std::memcpy(destination, source.text, count * sizeof(KIV_UNICHAR));
}

template <Widening kWidening>
void copy_units(KIV_UNICHAR *destination, Chars<kWidening> source, size_t count) {
  for (size_t i = 0; i < count; ++i) destination[i] = source[i];
}

}  // namespace kiv

#endif
