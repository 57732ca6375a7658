// Line terminators and tabs.

#include "kiv_string.h"
#include "text/string_block.h"

namespace kiv {
namespace {

constexpr KIV_UNICHAR kTab = 9, kLineFeed = 10, kCarriageReturn = 13;

constexpr bool is_line_end(KIV_UNICHAR c) { return c == kLineFeed || c == kCarriageReturn; }

template <class Source>
int find_line_terminator(Source text, uint32_t n, uint32_t *position, uint32_t *length) {
  for (uint32_t i = 0; i < n && text[i] != 0; ++i) {
    if (!is_line_end(text[i])) continue;
    const bool pair = i + 1 < n && is_line_end(text[i + 1]) && text[i + 1] != text[i];
    *position = i;
    *length = pair ? 2 : 1;
    return 1;
  }
  return 0;
}

template <class Source>
uint32_t count_line_terminators(Source text, uint32_t n) {
  uint32_t count = 0, position, length;
  for (; find_line_terminator(text, n, &position, &length) != 0; ++count) {
    text.text += position + length;
    n -= position + length;
  }
  return count;
}

/// Columns between tab stops.
struct TabStops {
  uint64_t width;
  uint64_t next(uint64_t column) const { return (column + width) & ~(width - 1); }
};

struct Layout {
  uint64_t columns;
  bool has_tabs;
};

Layout measure(const KIV_UNICHAR *s, uint32_t n, TabStops stops) {
  Layout layout{0, false};
  for (uint32_t i = 0; i < n; ++i) {
    const bool tab = s[i] == kTab;
    layout.columns = tab ? stops.next(layout.columns) : layout.columns + 1;
    layout.has_tabs |= tab;
  }
  return layout;
}

void expand(const KIV_UNICHAR *s, uint32_t n, TabStops stops, KIV_STRING expanded) {
  uint64_t column = 0;
  for (uint32_t i = 0; i < n; ++i) {
    if (s[i] == kTab) {
      for (const uint64_t stop = stops.next(column); column < stop;) expanded[column++] = ' ';
    } else {
      expanded[column++] = s[i];
    }
  }
  expanded[column] = 0;
}

}  // namespace
}  // namespace kiv

using kiv::SignExtended;
using kiv::Units;

int kiv_string_line_terminator_find(const char *char_s, const KIV_UNICHAR *s, uint32_t n, uint32_t *position,
                                    uint32_t *length) {
  return char_s != nullptr ? kiv::find_line_terminator(SignExtended{char_s}, n, position, length)
                           : kiv::find_line_terminator(Units{s}, n, position, length);
}

uint32_t kiv_string_line_terminators_count(const char *char_s, const KIV_UNICHAR *s, uint32_t n) {
  return char_s != nullptr ? kiv::count_line_terminators(SignExtended{char_s}, n)
                           : kiv::count_line_terminators(Units{s}, n);
}

void kiv_string_chop_nl(KIV_STRING s) {
  // Every removed unit is cleared, so that nothing of the line end is left behind the terminator.
  for (size_t i = Units{s}.length(); i > 0 && kiv::is_line_end(s[i - 1]); --i) s[i - 1] = 0;
}

KIV_STRING kiv_string_tabs_expand(KIV_ALLOCATOR *allocator, KIV_STRING s, uint32_t n, uint32_t shift, int force) {
  const kiv::TabStops stops{uint64_t{1} << (shift & 31u)};
  if (n == UINT32_MAX) n = kiv_string_length(s);
  const kiv::Layout layout = kiv::measure(s, n, stops);
  if (!layout.has_tabs && force == 0) return s;
  KIV_STRING expanded = kiv::allocate_units(allocator, layout.columns + 1);
  if (expanded != nullptr) kiv::expand(s, n, stops, expanded);
  return expanded;
}
