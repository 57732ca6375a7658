// The message syntax, read once for byte strings and strings of code points: a parser that turns a message into items.
//
// The parser neither allocates nor recurses, and reads no unit behind the end mark or the terminator. Its time is
// linear in the length of the message.
#ifndef KIV_TEXT_MESSAGE_SYNTAX_H
#define KIV_TEXT_MESSAGE_SYNTAX_H

#include <cstddef>
#include <cstdint>

#include "kiv_i18n.h"
#include "text/message_scan.h"

namespace kiv::message {

/// What a placeholder prints. Integers have the codes 0 to 19: four times the width (0 to 4 for 8 to 128 bits), and the
/// flags below.
using TypeCode = uint8_t;
inline constexpr TypeCode kPromoted = 1;  ///< in a byte-string message: the value has 32 bits at least
inline constexpr TypeCode kUnsigned = 2;
inline constexpr TypeCode kFirstCodeOf128 = 16;
inline constexpr TypeCode kTruth = 20;
inline constexpr TypeCode kByteCharacter = 21;
inline constexpr TypeCode kCodePoint = 22;
inline constexpr TypeCode kDouble = 23;
inline constexpr TypeCode kBigflt = 24;
inline constexpr TypeCode kByteString = 25;
inline constexpr TypeCode kString = 26;

inline constexpr bool is_integer(TypeCode code) { return code < kTruth; }
inline constexpr bool is_number(TypeCode code) { return is_integer(code) || code == kDouble || code == kBigflt; }

struct Placeholder {
  uint32_t argument;
  uint32_t width;
  uint32_t precision;
  TypeCode code;
  char letter;  ///< of "defgu"; 'g' without one
  bool hexadecimal;
  bool left;
};

/// What a plural word does with its second argument, the word.
enum class Plural : uint8_t { append_s, append_es, y_to_ies, choose };

struct PluralWord {
  char name[13];
  uint8_t arguments;
  Plural plural;
  bool when_one;  ///< it does so when the number is one; otherwise when it is not. A choice takes its first word then.
};

/// The plural word with this name of so many units; null when there is none.
template <class Unit>
inline const PluralWord *find_plural_word(const Unit *name, size_t length) {
  static constexpr PluralWord kWords[] = {
      {"SING_S", 2, Plural::append_s, true},     {"PLURAL_S", 2, Plural::append_s, false},
      {"SING_ES", 2, Plural::append_es, true},   {"PLURAL_ES", 2, Plural::append_es, false},
      {"SING_Y_IES", 2, Plural::y_to_ies, true}, {"PLURAL_Y_IES", 2, Plural::y_to_ies, false},
      {"PLURAL_IRR", 3, Plural::choose, true}};
  if (length >= sizeof(PluralWord::name)) return nullptr;
  for (const PluralWord &word : kWords) {
    size_t i = 0;
    while (i < length && static_cast<Unit>(word.name[i]) == name[i]) ++i;
    if (i == length && word.name[i] == 0) return &word;
  }
  return nullptr;
}

enum class Kind : uint8_t { end, malformed, text, character, placeholder, plural };

template <class Unit>
struct Item {
  struct Run {
    const Unit *units;
    size_t length;
  };

  Kind kind;
  union {
    Run text;
    KIV_UNICHAR character;
    Placeholder placeholder;
    const PluralWord *plural;  ///< Its arguments are the items behind it: a placeholder, then placeholders and texts.
  };
};

/// The most items that one step of the parser gives: a plural word and its arguments.
inline constexpr size_t kItemsPerStep = 4;

template <class Unit>
class Parser {
 public:
  explicit Parser(const Unit *message) : at_(message) {}

  const Unit *position() const { return at_; }

  /// Reads on and gives the number of items: one, or a plural word and its arguments. After an end or a malformed item
  /// there is no next step.
  size_t next(Item<Unit> *items) {
    if (*at_ == '[' && is_digit(at_[1])) {
      parse_placeholder(at_ + 1, items);
      return 1;
    }
    return next_text(items) ? 1 : parse_plural(items);
  }

  /// The same for a text without arguments: false, with nothing read, at a "[" that begins no escape and no end mark.
  bool next_text(Item<Unit> *item) {
    if (*at_ != '[' || at_[1] == '[') {
      const Unit *start = at_;
      for (;; ++at_) {
        at_ = find_special(at_);
        // Of a doubled bracket the first is the last unit of the text.
        const bool doubled = *at_ != 0 && at_[1] == *at_;
        if (doubled) return at_ += 2, make_text(item, start, at_ - 1);
        if (*at_ != ']') break;
      }
      if (at_ != start) return make_text(item, start, at_);
    }
    if (*at_ == 0 || at_[1] == '|') {
      item->kind = Kind::end;
      return true;
    }
    if (at_[1] == '&') {
      item->kind = parse_escape(&item->character) ? Kind::character : Kind::malformed;
      return true;
    }
    return false;
  }

  /// After next_text() has given false: takes the "[" for itself.
  void skip_bracket() { ++at_; }

 private:
  static bool is_digit(Unit c) { return c >= '0' && c <= '9'; }
  static bool is_letter(Unit c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
  /// Blanks before an argument: everything up to the blank but the terminator. Bytes from 0x80 on are none.
  static bool is_blank(Unit c) { return c > 0 && c <= ' '; }

  static bool make_text(Item<Unit> *item, const Unit *start, const Unit *end) {
    item->kind = Kind::text;
    item->text.units = start;
    item->text.length = static_cast<size_t>(end - start);
    return true;
  }

  static bool skip(const Unit *&at, char c) {
    const bool is_there = *at == static_cast<Unit>(c);
    at += is_there ? 1 : 0;
    return is_there;
  }

  /// A decimal number, UINT32_MAX when it is greater. REQUIRES: a digit.
  static uint32_t number(const Unit *&at) {
    uint64_t value = static_cast<uint32_t>(*at++ - '0');
    for (; is_digit(*at); ++at) {
      value = value * 10 + static_cast<uint32_t>(*at - '0');
      if (value > UINT32_MAX) value = UINT32_MAX;
    }
    return static_cast<uint32_t>(value);
  }

  /// Behind a "[&".
  bool parse_escape(KIV_UNICHAR *character) {
    uint64_t value = 0;
    for (at_ += 2;; ++at_) {
      const Unit c = *at_;
      const bool is_hexadecimal_letter = c >= 'a' && c <= 'f';
      if (!is_digit(c) && !is_hexadecimal_letter) break;
      value = value << 4 | static_cast<uint32_t>(is_hexadecimal_letter ? c - 'a' + 10 : c - '0');
      if (value > UINT32_MAX) return false;
    }
    // Any character closes it. A text cannot have the character 0; no digits at all have this value, too.
    if (*at_ == 0 || value == 0) return false;
    ++at_;
    *character = static_cast<KIV_UNICHAR>(value);
    return true;
  }

  /// At the first digit. False when the placeholder is malformed. The position is a local variable here: most of a
  /// message's time goes by in this.
  bool parse_placeholder(const Unit *at, Item<Unit> *item) {
    Placeholder *p = &item->placeholder;
    item->kind = Kind::malformed;
    p->argument = number(at);
    if (!skip(at, '_') || !parse_type(at, &p->code)) return false;
    p->width = p->precision = 0;
    p->letter = 'g';
    p->hexadecimal = p->left = false;
    if (*at != ']' && !parse_format(at, p)) return false;
    if (!skip(at, ']')) return false;
    at_ = at;
    item->kind = Kind::placeholder;
    return true;
  }

  static bool parse_format(const Unit *&at, Placeholder *p) {
    p->hexadecimal = skip(at, 'x');
    const Unit letter = *at;
    if (letter == 'd' || letter == 'e' || letter == 'f' || letter == 'g' || letter == 'u') {
      p->letter = static_cast<char>(letter);
      ++at;
    }
    p->left = skip(at, '-');
    if (is_digit(*at)) p->width = number(at);
    if (skip(at, '.')) {
      if (!is_digit(*at)) return false;
      p->precision = number(at);
    }
    return p->width <= KIV_I18N_MOST_WIDTH && p->precision <= KIV_I18N_MOST_WIDTH;
  }

  static bool parse_type(const Unit *&at, TypeCode *code) {
    const Unit type = *at;
    if (!is_letter(type)) return false;
    ++at;
    if ((type == 's' || type == 'u') && is_digit(*at)) {
      const unsigned flags = (type == 'u' ? kUnsigned : 0u) | (sizeof(Unit) == 1 ? kPromoted : 0u);
      *code = static_cast<TypeCode>(4 * parse_width(at) | flags);
      return true;
    }
    *code = type == 's'   ? kByteString
            : type == 'S' ? kString
            : type == 'd' ? kDouble
            : type == 'b' ? kTruth
            : type == 'c' ? kByteCharacter
            : type == 'C' ? kCodePoint
                          : kBigflt;
    return type != 'u';
  }

  /// A known width is as long as it is: digits behind it begin the format. Others have all digits, and the first of
  /// them decides. REQUIRES: a digit.
  static unsigned parse_width(const Unit *&at) {
    const Unit first = *at++;
    unsigned width = first == '8' ? 0 : first == '1' ? 4 : first == '3' ? 2 : 3;
    if (first == '1' && *at == '6') {
      width = 1;
      ++at;
    } else if ((first == '3' && *at == '2') || (first == '6' && *at == '4')) {
      ++at;
    } else if (first == '1' && *at == '2' && at[1] == '8') {
      at += 2;
    } else if (first != '8') {
      while (is_digit(*at)) ++at;
    }
    (void)skip(at, 'm');
    return width;
  }

  /// At a "[" with a name behind it.
  size_t parse_plural(Item<Unit> *items) {
    items->kind = Kind::malformed;
    const Unit *name = ++at_;
    while (is_letter(*at_) || *at_ == '_') ++at_;
    const PluralWord *word = find_plural_word(name, static_cast<size_t>(at_ - name));
    if (word == nullptr || !skip(at_, '(')) return 1;
    for (unsigned i = 1; i <= word->arguments; ++i) {
      if ((i > 1 && !skip(at_, ',')) || !parse_argument(&items[i])) return 1;
    }
    const bool of_number = items[1].kind == Kind::placeholder && is_number(items[1].placeholder.code);
    if (!of_number || !skip(at_, ')') || !skip(at_, ']')) return 1;
    items->kind = Kind::plural;
    items->plural = word;
    return size_t{1} + word->arguments;
  }

  bool parse_argument(Item<Unit> *item) {
    while (is_blank(*at_)) ++at_;
    if (*at_ == '[') return is_digit(at_[1]) && parse_placeholder(at_ + 1, item);
    const Unit quote = *at_;
    if (quote == 0) return false;
    const Unit *start = ++at_;
    while (*at_ != quote) {
      if (*at_ == 0) return false;
      ++at_;
    }
    return make_text(item, start, at_++);
  }

  const Unit *at_;
};

}  // namespace kiv::message

#endif
