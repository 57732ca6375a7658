// Printing: the choice of the form, and the forms in bases 2 to 16.

#include "kiv_bigflt_text.h"
#include "numbers/bigflt_decimal_print.h"

namespace kiv::bigflt_engine {
namespace {

constexpr char kLowerDigits[] = "0123456789abcdef";
constexpr char kUpperDigits[] = "0123456789ABCDEF";

/// `count` bits of the integer part, from its bit `position` on.
uint32_t integer_bits(const Extended &value, int32_t position, int count) {
  const int32_t shift = position - (value.exponent - 127);
  if (shift >= 128 || -shift >= count) return 0;
  const uint64_t bits = shift >= 0 ? low64(value.mantissa >> shift) : low64(value.mantissa) << -shift;
  return static_cast<uint32_t>(bits) & ((1U << count) - 1);
}

/// The integer part in base 2^bits.
void print_power_of_two_base(TextSink &sink, const Extended &value, int bits, const char *digits) {
  const int32_t last = value.exponent < 0 ? 0 : value.exponent / bits;
  for (int32_t i = last; i >= 0 && !sink.full(); --i) {
    sink.add(value.exponent < 0 ? '0' : digits[integer_bits(value, i * bits, bits)]);
  }
}

/// A 32-bit integer with one of the conversions d, u, o, x and X.
void print_32_bits(TextSink &sink, char conversion, uint32_t value) {
  const bool decimal = conversion == 'd' || conversion == 'u';
  if (decimal) {
    add_decimal(sink, value, 1);
  } else {
    print_power_of_two_base(sink, from_uint128(value, false), conversion == 'o' ? 3 : 4,
                            conversion == 'X' ? kUpperDigits : kLowerDigits);
  }
}

/// The integer part, truncated, modulo 2^32. What has an exponent of 159 or more, the conversions to integers give as
/// 0.
uint32_t low_32_bits(const Extended &value) {
  if (value.exponent < 0 || value.exponent >= 159) return 0;
  const auto upper = uint64_t{integer_bits(value, 16, 16)} << 16;
  const auto magnitude = static_cast<uint32_t>(upper | integer_bits(value, 0, 16));
  return value.negative ? 0 - magnitude : magnitude;
}

void print_hexadecimal(TextSink &sink, const Extended &value, bool separated) {
  sink.add(value.negative && !value.is_nan() ? '-' : '+');
  if (value.is_special()) {
    sink.add(value.is_nan() ? "NaN" : "INF");
    return;
  }
  if (value.is_zero()) {
    sink.add("0x0.0");
    return;
  }
  char text[4 + 4 * 9];
  char *next = text;
  for (const char c : {'0', 'x', '0', '.'}) *next++ = c;
  for (int bit = 124; bit >= 0; bit -= 4) {
    *next++ = kLowerDigits[low64(value.mantissa >> bit) & 15];
    if (separated && bit % 32 == 0 && bit != 0) *next++ = '_';
  }
  sink.add(text, static_cast<size_t>(next - text));
  sink.add(value.exponent >= 0 ? "p+" : "p");
  const int32_t exponent = value.exponent + 1;
  if (exponent < 0) sink.add('-');
  add_decimal(sink, static_cast<uint64_t>(exponent < 0 ? -exponent : exponent), 1);
}

/// What is printed for any value but an integer of 32 bits.
void print_extended(TextSink &sink, char conversion, int precision, const Extended &value) {
  if (conversion == 'a' || conversion == 'A') {
    print_hexadecimal(sink, value, conversion == 'A');
    return;
  }
  if (value.is_special()) {
    sink.add(value.is_nan() ? "NaN" : value.negative ? "-Inf" : "+Inf");
    return;
  }
  const bool negative = value.negative && !value.is_zero();
  const bool wraps = conversion == 'u' || conversion == 'x' || conversion == 'X';
  if (negative && wraps) {
    print_32_bits(sink, conversion, low_32_bits(value));
    return;
  }
  if (negative) sink.add('-');
  precision = std::max(precision, 0);
  switch (conversion) {
    case 'd':
    case 'u':
      return print_integer(sink, value);
    case 'o':
      return print_power_of_two_base(sink, value, 3, kLowerDigits);
    case 'x':
      return print_power_of_two_base(sink, value, 4, kLowerDigits);
    case 'X':
      return print_power_of_two_base(sink, value, 4, kUpperDigits);
    case 'f':
      return print_fixed(sink, value, precision);
    case 'g':
      return print_general(sink, value, precision, 'e');
    case 'G':
      return print_general(sink, value, precision, 'E');
    default:
      return print_exponential(sink, value, precision, 'e');
  }
}

/// The text behind a conversion, as the C runtime's printf prints it, as far as that reads no argument.
void print_text_behind(TextSink &sink, const char *text) {
  for (; *text != '\0'; ++text) {
    if (*text == '%' && *++text != '%') {
      sink.fail();
      return;
    }
    sink.add(*text);
  }
}

bool is_integer_conversion(char c) { return c == 'd' || c == 'u' || c == 'o' || c == 'x' || c == 'X'; }

int print(char *buffer, uint32_t size, const char *conversion, int precision, const bigflt &a) {
  TextSink sink(buffer, size);
  const char letter = conversion != nullptr ? *conversion : '\0';
  if (!is_integer_conversion(letter)) {
    print_extended(sink, letter, precision, load(a));
    return sink.finish();
  }
  int32_t integer = a.exponent;
  if (a.small == 0) {
    const Extended value = load_extended(a);
    if (!fits_small(value, &integer)) {
      print_extended(sink, letter, precision, value);
      return sink.finish();
    }
  }
  auto bits = static_cast<uint32_t>(integer);
  if (letter == 'd' && integer < 0) {
    sink.add('-');
    bits = 0 - bits;
  }
  print_32_bits(sink, letter, bits);
  print_text_behind(sink, conversion + 1);
  return sink.finish();
}

bool is_integer(const bigflt &a) {
  if (a.small != 0) return true;
  const Extended value = load_extended(a);
  if (!value.is_ordinary()) return value.is_zero();
  if (value.exponent >= 127) return true;
  return value.exponent >= 0 && value.mantissa << (value.exponent + 1) == UInt128(0);
}

}  // namespace
}  // namespace kiv::bigflt_engine

int kiv_bigflt_sprint(char *buffer, uint32_t size, const char *conversion, int precision, const bigflt *a) {
  return kiv::bigflt_engine::print(buffer, size, conversion, precision, *a);
}

int kiv_bigflt_fprint(void *stream, KIV_BIGFLT_WRITER write, const char *conversion, int precision, const bigflt *a) {
  char text[1000];
  if (kiv_bigflt_sprint(text, sizeof text, conversion, precision, a) == 0) return 0;
  return write(text, stream) >= 0 ? 1 : 0;
}

int kiv_bigflt_sprint_intuitively(char *buffer, uint32_t size, const bigflt *a) {
  const bool integer = kiv::bigflt_engine::is_integer(*a);
  return kiv_bigflt_sprint(buffer, size, integer ? "d" : "g", integer ? 0 : 7, a);
}

int kiv_bigflt_fprint_intuitively(void *stream, KIV_BIGFLT_WRITER write, const bigflt *a) {
  const bool integer = kiv::bigflt_engine::is_integer(*a);
  return kiv_bigflt_fprint(stream, write, integer ? "d" : "g", integer ? 0 : 7, a);
}
