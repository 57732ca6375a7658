// Arguments of messages, type by type.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "kiv_bigflt.h"
#include "kiv_bigflt_convert.h"
#include "kiv_bigflt_text.h"
#include "text/message_double.h"
#include "text/message_integer.h"
#include "text/message_values.h"

namespace kiv::message {

namespace {

/// Appends characters or units with blanks up to the field's width.
template <class Unit>
bool append_field(Output *output, const Placeholder &p, const Unit *units, size_t length) {
  if (p.width <= length) return output->append(units, length);
  const size_t blanks = p.width - length;
  if (p.left) return output->append(units, length) && output->fill(' ', blanks);
  return output->fill(' ', blanks) && output->append(units, length);
}

template <class Unit>
bool append_string(Output *output, const Placeholder &p, const Unit *string) {
  const size_t limit = p.precision != 0 ? p.precision : SIZE_MAX;
  return append_field(output, p, string, std::min(limit, convert::units_before_terminator(string, limit)));
}

/// Appends the sign, zeros up to the precision, and the digits.
bool append_digits(Output *output, const Placeholder &p, Digits *digits) {
  if (p.precision <= digits->length()) {
    digits->write_sign();
    return append_field(output, p, digits->text(), digits->length());
  }
  const size_t length = p.precision + (digits->negative() ? 1 : 0);
  const size_t blanks = p.width > length ? p.width - length : 0;
  return (p.left || output->fill(' ', blanks)) &&              //
         (!digits->negative() || output->append('-')) &&       //
         output->fill('0', p.precision - digits->length()) &&  //
         output->append(digits->text(), digits->length()) &&   //
         (!p.left || output->fill(' ', blanks));
}

bool append_integer(Output *output, const Placeholder &p, const void *word) {
  Digits digits;
  if (p.code >= kFirstCodeOf128) {
    write_integer_128(&digits, p, read<KIV_U128>(word));
  } else {
    write_integer(&digits, p, read_integer(p.code, word));
  }
  return append_digits(output, p, &digits);
}

/// Truth values and characters, which a letter or "x" makes integers.
bool append_as_integer(Output *output, Placeholder p, uint32_t value) {
  p.code = p.letter == 'd' ? 8 : 8 | kUnsigned;
  return append_integer(output, p, &value);
}

bool is_asked_as_integer(const Placeholder &p) { return p.hexadecimal || p.letter == 'd' || p.letter == 'u'; }

bool append_truth(Output *output, const Placeholder &p, uint32_t value) {
  if (is_asked_as_integer(p)) return append_as_integer(output, p, value);
  return value != 0 ? append_field(output, p, "true", 4) : append_field(output, p, "false", 5);
}

bool append_character(Output *output, const Placeholder &p, KIV_UNICHAR c) {
  if (is_asked_as_integer(p)) return append_as_integer(output, p, c);
  return append_field(output, p, &c, c != 0 ? 1 : 0);
}

/// A floating number's characters, printed with fewer digits than asked for when the rest are zeros: these belong
/// behind the last digit.
bool append_real(Output *output, const Placeholder &p, const char *text, size_t length, size_t zeros) {
  if (zeros == 0) return append_field(output, p, text, length);
  const auto *exponent = static_cast<const char *>(std::memchr(text, 'e', length));
  const size_t head = exponent != nullptr ? static_cast<size_t>(exponent - text) : length;
  const size_t blanks = p.width > length + zeros ? p.width - length - zeros : 0;
  return (p.left || output->fill(' ', blanks)) && output->append(text, head) && output->fill('0', zeros) &&
         output->append(text + head, length - head) && (!p.left || output->fill(' ', blanks));
}

/// Drops the zeros that end the digits behind the point, and a point without digits. Gives the new end.
char *without_zeros(char *text, char *end) {
  if (std::memchr(text, '.', static_cast<size_t>(end - text)) == nullptr) return end;
  while (end[-1] == '0') --end;
  return end[-1] == '.' ? end - 1 : end;
}

/// The form g of C: `significant` digits, without zeros at their end, with an exponent when it is below -4 or not below
/// their number.
void print_general(char *text, uint32_t size, uint32_t significant, const bigflt &magnitude) {
  const auto digits = static_cast<int>(significant);
  kiv_bigflt_sprint(text, size, "e", digits - 1, &magnitude);
  char *exponent = std::strchr(text, 'e');
  const long power = std::strtol(exponent + 1, nullptr, 10);
  if (power >= -4 && power < digits) {
    kiv_bigflt_sprint(text, size, "f", digits - 1 - static_cast<int>(power), &magnitude);
    *without_zeros(text, text + std::strlen(text)) = 0;
  } else {
    std::memmove(without_zeros(text, exponent), exponent, std::strlen(exponent) + 1);
  }
}

/// As a bigflt, which holds every double exactly: the C runtime's own printing may take memory from the heap, and has
/// the locale's decimal point. Its buffer is large: a function of its own.
[[gnu::noinline]] bool append_any_double(Output *output, const Placeholder &p, double value) {
  // No double has a digit other than 0 behind these; with g zeros at the end are not printed.
  constexpr uint32_t kMostDigits = 1074;
  // The greatest double has 309 digits before the point.
  char text[kMostDigits + 330];
  constexpr uint32_t kRoom = sizeof text - 1;  // behind the sign: a zero in a bigflt has none
  const uint32_t precision = std::min(p.precision, kMostDigits);
  const bool is_general = p.letter != 'e' && p.letter != 'f';
  const bool is_negative = std::signbit(value);
  bigflt magnitude;
  kiv_bigflt_double_to_bigflt(&magnitude, std::fabs(value));
  text[0] = '-';
  if (is_general) {
    print_general(text + 1, kRoom, std::max(precision, 1U), magnitude);
  } else {
    const char conversion[] = {p.letter, 0};
    kiv_bigflt_sprint(text + 1, kRoom, conversion, static_cast<int>(precision), &magnitude);
  }
  const char *start = is_negative ? text : text + 1;
  return append_real(output, p, start, std::strlen(start), is_general ? 0 : p.precision - precision);
}

bool append_double(Output *output, const Placeholder &p, double value) {
  if (std::isnan(value)) return append_field(output, p, "nan", 3);
  if (std::isinf(value)) return value < 0 ? append_field(output, p, "-inf", 4) : append_field(output, p, "inf", 3);
  if (p.letter != 'e') {
    char short_text[ShortDouble::kLongestText];
    const ShortDouble number(value);
    const size_t short_length =
        p.letter == 'f' ? number.print_fixed(p.precision, short_text) : number.print_general(p.precision, short_text);
    if (short_length != 0) return append_field(output, p, short_text, short_length);
  }
  return append_any_double(output, p, value);
}

/// Prints with a buffer of this size; *fits tells whether that was enough.
template <size_t kSize>
[[gnu::noinline]] bool append_bigflt(Output *output, const Placeholder &p, const bigflt &value, bool *fits) {
  // No value has more digits behind its point, after which only zeros follow.
  constexpr uint32_t kMostDigits = 33000;
  const uint32_t precision = std::min(p.precision, kMostDigits);
  const char conversion[] = {p.hexadecimal ? 'x' : p.letter, 0};
  char text[kSize];
  *fits = kiv_bigflt_sprint(text, sizeof text, conversion, static_cast<int>(precision), &value) != 0;
  if (!*fits) return false;
  const bool has_precision = conversion[0] == 'e' || conversion[0] == 'f' || conversion[0] == 'g';
  const bool is_finite = kiv_bigflt_is_finite_as_bool(&value) != 0;
  return append_real(output, p, text, std::strlen(text), has_precision && is_finite ? p.precision - precision : 0);
}

bool append_bigflt(Output *output, const Placeholder &p, const void *word) {
  const auto value = read<bigflt>(word);
  bool fits = false;
  const bool done = append_bigflt<256>(output, p, value, &fits);
  // 9,865 digits before the point at most.
  return fits ? done : append_bigflt<44 * 1024>(output, p, value, &fits);
}

}  // namespace

bool append_argument(Output *output, const Placeholder &p, const void *word) {
  if (word == nullptr) return append_field(output, p, "(null)", 6);
  switch (p.code) {
    case kTruth:
      return append_truth(output, p, read<uint32_t>(word));
    case kByteCharacter:
      return append_character(output, p, read<uint8_t>(word));
    case kCodePoint:
      return append_character(output, p, read<uint32_t>(word));
    case kDouble:
      return append_double(output, p, read<double>(word));
    case kBigflt:
      return append_bigflt(output, p, word);
    case kByteString:
      return append_string(output, p, static_cast<const char *>(word));
    case kString:
      return append_string(output, p, static_cast<const KIV_UNICHAR *>(word));
    default:
      return append_integer(output, p, word);
  }
}

bool is_one(TypeCode code, const void *word) {
  if (word == nullptr) return false;
  if (code == kDouble) return read<double>(word) == 1.0;
  if (code == kBigflt) {
    const auto value = read<bigflt>(word);
    bigflt one;
    kiv_bigflt_assign_one(&one);
    return kiv_bigflt_compare2integer(&value, &one) == 0;
  }
  if (code >= kFirstCodeOf128) {
    const auto value = read<KIV_U128>(word);
    return value.hi == 0 && value.lo == 1;
  }
  return read_integer(code, word) == 1;
}

}  // namespace kiv::message
