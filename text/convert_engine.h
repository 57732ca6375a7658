// What the conversions share: finding out how much of a text may be read, the loop around a codec, and new texts.
//
// A codec converts from units From to units To in two ways:
//   step(at)      one character by the rules, whatever it is and however little room is left; false at the end of the
//                 text or of the room, with the cursor before what was not converted.
//   run(at, end)  as much as vectors can do while there is source before `end` and room enough; gives the cursor where
//   it
//                 stopped, anywhere, with no trace behind the destination that later steps would not overwrite.
// So the rules stand in step() alone, and run() may leave to it whatever it finds inconvenient.
#ifndef KIV_TEXT_CONVERT_ENGINE_H
#define KIV_TEXT_CONVERT_ENGINE_H

#include <cstddef>

#include "kiv_allocator.h"
#include "text/convert_vector.h"

namespace kiv::convert {

/// What has no counterpart becomes this.
constexpr uint32_t kReplacement = '?';

template <class From, class To>
struct Cursor {
  const From *source;
  To *destination;
  size_t room;  // units from the destination's cursor on, the terminator's included
};

/// How much of a text is looked at in one go: little enough to be in the nearest cache still when it is converted.
constexpr size_t kWindowBytes = 8192;

/// Converts up to the end of the text or of the room. The source is known to be readable up to its terminator, which
/// nobody has looked for: it is searched for a window ahead of the runs. (Cursors go by value: the compiler then knows
/// that no destination overlaps them.)
template <class Codec>
[[gnu::always_inline]] inline auto convert(Cursor<typename Codec::From, typename Codec::To> at) {
  constexpr size_t kWindow = kWindowBytes / sizeof(typename Codec::From);
  constexpr ptrdiff_t kTooShortForRuns = 128;
  constexpr int kStepsBetweenRuns = 16;
  for (;;) {
    const size_t ahead = units_before_terminator(at.source, kWindow);
    const auto *end = at.source + ahead;
    do {
      at = Codec::run(at, end);
      for (int i = 0; i < kStepsBetweenRuns; ++i) {
        if (!Codec::step(at)) return at;
      }
    } while (ahead < kWindow || end - at.source >= kTooShortForRuns);
  }
}

/// The length of a text.
template <class Unit>
size_t length_of(const Unit *text) {
  return units_before_terminator(text, SIZE_MAX);
}

/// The room for count units and a terminator; null when an allocator cannot be asked for that many bytes.
template <class Unit>
Unit *allocate(KIV_ALLOCATOR *allocator, size_t count) {
  if (count >= UINT32_MAX / sizeof(Unit)) return nullptr;
  return static_cast<Unit *>(allocator->alloc(allocator, static_cast<uint32_t>((count + 1) * sizeof(Unit))));
}

/// A new text of count units at most, filled by convert(text, size).
template <class Unit, class Convert>
Unit *allocate_and(KIV_ALLOCATOR *allocator, size_t count, Convert convert) {
  auto *text = allocate<Unit>(allocator, count);
  if (text != nullptr) (void)convert(text, static_cast<uint32_t>(count + 1));
  return text;
}

}  // namespace kiv::convert

#endif
