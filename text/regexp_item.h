// The grammar of regular expressions: a pattern is read item by item, an item being an atom and its quantifier.
#ifndef KIV_TEXT_REGEXP_ITEM_H
#define KIV_TEXT_REGEXP_ITEM_H

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "pattern_set.h"

namespace kiv::regexp {

enum class Atom : uint8_t { literal, any, set };
enum class Quantifier : uint8_t { one, optional, star, plus };

struct Item {
  Atom atom;
  Quantifier quantifier;
  KIV_UNICHAR literal;  // of a literal atom
  pattern::Set set;     // of a set

  /// REQUIRES: c is a character, not the end of the text.
  bool matches(KIV_UNICHAR c) const {
    if (atom == Atom::literal) return c == literal;
    return atom == Atom::any || pattern::contains<pattern::SetEscapes::backslash>(set, c);
  }
  /// Whether matching may go on behind the item without a character.
  bool skippable() const { return quantifier == Quantifier::optional || quantifier == Quantifier::star; }
  /// Whether the item may match again after a character.
  bool repeats() const { return quantifier == Quantifier::star || quantifier == Quantifier::plus; }
  /// Whether matching goes on behind the item after a character. After one that a star matched it does too, but from
  /// the star itself, which can be skipped.
  bool advances() const { return quantifier != Quantifier::star; }
};

enum class Read : uint8_t { item, end, end_of_text, never };

/// Reads the item at p and moves p behind it. At the end of the pattern, at a "$" and at what can never match p stays.
inline Read read_item(const KIV_UNICHAR *&p, Item *item) {
  item->atom = Atom::literal;
  item->quantifier = Quantifier::one;
  const KIV_UNICHAR *behind = p + 1;
  switch (*p) {
    case 0:
      return Read::end;
    case '$':
      return Read::end_of_text;
    case '*':
    case '+':
    case '?':
      return Read::never;
    case '.':
      item->atom = Atom::any;
      break;
    case '[':
      item->atom = Atom::set;
      behind = pattern::read_set<pattern::SetEscapes::backslash>(p + 1, &item->set);
      if (behind == nullptr) return Read::never;
      break;
    case '\\':
      if (p[1] == 0) return Read::never;
      item->literal = p[1];
      behind = p + 2;
      break;
    default:
      item->literal = *p;
  }
  item->quantifier = *behind == '*'   ? Quantifier::star
                     : *behind == '+' ? Quantifier::plus
                     : *behind == '?' ? Quantifier::optional
                                      : Quantifier::one;
  p = item->quantifier == Quantifier::one ? behind : behind + 1;
  return Read::item;
}

/// What one pass over a pattern tells.
struct Outline {
  /// So few that a search for them compares no more than that at any place.
  static constexpr size_t kMostLandmarkUnits = 4;

  const KIV_UNICHAR *pattern;
  size_t items = 0;
  size_t units = 0;          // up to the end or the "$"
  bool never = false;        // no text matches
  bool end_of_text = false;  // ends in a "$"
  bool nullable = true;      // matches without a character
  /// Literals that stand at a fixed distance from the start of every match, ended by 0: the last of the longest rows.
  KIV_UNICHAR landmark[kMostLandmarkUnits + 1] = {};
  size_t landmark_units = 0;
  size_t landmark_offset = 0;
  KIV_UNICHAR required = 0;  // the last literal of every match, when it is none of the landmark's; else 0

  explicit Outline(const KIV_UNICHAR *re) : pattern(re) {
    KIV_UNICHAR row[kMostLandmarkUnits];
    size_t row_units = 0;
    bool fixed = true;  // the distance of the next item from the start
    Item item;
    const KIV_UNICHAR *p = re;
    Read read = Read::end;
    for (; (read = read_item(p, &item)) == Read::item; ++items) {
      if (item.skippable()) {
        fixed = false;
        continue;
      }
      nullable = false;
      const bool literal = item.atom == Atom::literal;
      if (literal) required = item.literal;
      if (!fixed) continue;
      if (!literal || row_units == kMostLandmarkUnits) row_units = 0;
      if (literal) row[row_units++] = item.literal;
      if (literal && row_units >= landmark_units) {
        std::copy(row, row + row_units, landmark);
        landmark_units = row_units;
        landmark_offset = items + 1 - row_units;
        required = 0;
      }
      if (item.repeats()) fixed = false;
    }
    never = read == Read::never;
    end_of_text = read == Read::end_of_text;
    units = static_cast<size_t>(p - re);
  }
};

}  // namespace kiv::regexp

#endif
