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
  bool has_letter;
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
  Kind kind;
  union {
    struct {
      const Unit *units;
      size_t length;
    } text;
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
    if (next_text(items)) return 1;
    if (is_digit(at_[1])) {
      ++at_;
      items->kind = parse_placeholder(&items->placeholder) ? Kind::placeholder : Kind::malformed;
      return 1;
    }
    return parse_plural(items);
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

  bool skip(char c) {
    if (*at_ != static_cast<Unit>(c)) return false;
    ++at_;
    return true;
  }

  /// A decimal number, UINT32_MAX when it is greater. REQUIRES: a digit.
  uint32_t number() {
    uint64_t value = 0;
    for (; is_digit(*at_); ++at_) {
      value = value * 10 + static_cast<uint32_t>(*at_ - '0');
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

  /// At the first digit.
  bool parse_placeholder(Placeholder *p) {
    p->argument = number();
    if (!skip('_') || !parse_type(&p->code)) return false;
    p->hexadecimal = skip('x');
    const Unit letter = *at_;
    p->has_letter = letter == 'd' || letter == 'e' || letter == 'f' || letter == 'g' || letter == 'u';
    p->letter = p->has_letter ? static_cast<char>(letter) : 'g';
    if (p->has_letter) ++at_;
    p->left = skip('-');
    p->width = is_digit(*at_) ? number() : 0;
    p->precision = 0;
    if (skip('.')) {
      if (!is_digit(*at_)) return false;
      p->precision = number();
    }
    return skip(']') && p->width <= KIV_I18N_MOST_WIDTH && p->precision <= KIV_I18N_MOST_WIDTH;
  }

  bool parse_type(TypeCode *code) {
    const Unit type = *at_;
    if (!is_letter(type)) return false;
    ++at_;
    if (type == 's' || type == 'u') {
      if (is_digit(*at_)) {
        const unsigned flags = (type == 'u' ? kUnsigned : 0u) | (sizeof(Unit) == 1 ? kPromoted : 0u);
        *code = static_cast<TypeCode>(4 * parse_width() | flags);
        return true;
      }
      *code = kByteString;
      return type == 's';
    }
    *code = type == 'b'   ? kTruth
            : type == 'c' ? kByteCharacter
            : type == 'C' ? kCodePoint
            : type == 'd' ? kDouble
            : type == 'S' ? kString
                          : kBigflt;
    return true;
  }

  /// A known width is as long as it is: digits behind it begin the format. Others have all digits, and the first of
  /// them decides. REQUIRES: a digit.
  unsigned parse_width() {
    const Unit first = *at_++;
    unsigned width = first == '8' ? 0 : first == '1' ? 4 : first == '3' ? 2 : 3;
    if (first == '1' && *at_ == '6') {
      width = 1;
      ++at_;
    } else if ((first == '3' && *at_ == '2') || (first == '6' && *at_ == '4')) {
      ++at_;
    } else if (first == '1' && *at_ == '2' && at_[1] == '8') {
      at_ += 2;
    } else if (first != '8') {
      while (is_digit(*at_)) ++at_;
    }
    (void)skip('m');
    return width;
  }

  /// At a "[" with a name behind it.
  size_t parse_plural(Item<Unit> *items) {
    items->kind = Kind::malformed;
    const Unit *name = ++at_;
    while (is_letter(*at_) || *at_ == '_') ++at_;
    const PluralWord *word = find_plural_word(name, static_cast<size_t>(at_ - name));
    if (word == nullptr || !skip('(')) return 1;
    for (unsigned i = 1; i <= word->arguments; ++i) {
      if ((i > 1 && !skip(',')) || !parse_argument(&items[i])) return 1;
    }
    const bool of_number = items[1].kind == Kind::placeholder && is_number(items[1].placeholder.code);
    if (!of_number || !skip(')') || !skip(']')) return 1;
    items->kind = Kind::plural;
    items->plural = word;
    return size_t{1} + word->arguments;
  }

  bool parse_argument(Item<Unit> *item) {
    while (is_blank(*at_)) ++at_;
    if (*at_ == '[') {
      item->kind = Kind::placeholder;
      return is_digit(*++at_) && parse_placeholder(&item->placeholder);
    }
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
