#include "numbers/bigflt_decimal_print.h"

#include "numbers/bigflt_digits.h"

namespace kiv::bigflt_engine {
namespace {

template <class Digits>
void add_fixed(TextSink &sink, const Digits &digits, int precision) {
  const int64_t first = std::max<int64_t>(digits.leading_position(), 0);
  digits.add_to(sink, first, static_cast<uint64_t>(first) + 1);
  if (precision == 0) return;
  sink.add('.');
  digits.add_to(sink, -1, static_cast<uint64_t>(precision));
}

void add_exponent(TextSink &sink, int64_t exponent, char letter) {
  sink.add(letter);
  sink.add(exponent < 0 ? '-' : '+');
  add_decimal(sink, static_cast<uint64_t>(exponent < 0 ? -exponent : exponent), 2);
}

template <class Digits>
void add_exponential(TextSink &sink, const Digits &digits, int precision, char letter) {
  const int64_t first = digits.leading_position();
  digits.add_to(sink, first, 1);
  if (precision != 0) {
    sink.add('.');
    digits.add_to(sink, first - 1, static_cast<uint64_t>(precision));
  }
  add_exponent(sink, first, letter);
}

void add_zero(TextSink &sink, int precision) {
  sink.add('0');
  if (precision == 0) return;
  sink.add('.');
  sink.fill('0', static_cast<uint64_t>(precision));
}

// The expansions take 14 KiB of stack, which functions that rarely need them should not reserve.

[[gnu::noinline]] void print_long_integer(TextSink &sink, const Extended &value) {
  const ExactDigits exact(binary_of(value));
  const LongDigits digits(exact);
  digits.add_to(sink, digits.leading_position(), static_cast<uint64_t>(digits.leading_position()) + 1);
}

[[gnu::noinline]] void print_long_fixed(TextSink &sink, const Extended &value, int precision) {
  ExactDigits exact(binary_of(value));
  exact.expand(-int64_t{precision} - 1);
  exact.round(-int64_t{precision});
  add_fixed(sink, LongDigits(exact), precision);
}

[[gnu::noinline]] void print_long_exponential(TextSink &sink, const Extended &value, int precision, char letter) {
  ExactDigits exact(binary_of(value));
  exact.expand(leading_position_estimate(value) - precision - 1);
  exact.round(exact.leading_position() - precision);
  add_exponential(sink, LongDigits(exact), precision, letter);
}

}  // namespace

void print_integer(TextSink &sink, const Extended &value) {
  if (value.exponent < 0) {
    sink.add('0');
  } else if (value.exponent > 127) {
    print_long_integer(sink, value);
  } else {
    ShortDigits digits;
    digits.assign(value.mantissa >> (127 - value.exponent));
    digits.add_to(sink, digits.leading_position(), static_cast<uint64_t>(digits.leading_position()) + 1);
  }
}

void print_fixed(TextSink &sink, const Extended &value, int precision) {
  // Below a tenth of the last digit's unit there is nothing to round.
  if (value.is_zero() || leading_position_estimate(value) + 2 < -int64_t{precision}) {
    add_zero(sink, precision);
    return;
  }
  ShortDigits digits;
  if (digits.round(value, -int64_t{precision})) {
    add_fixed(sink, digits, precision);
  } else {
    print_long_fixed(sink, value, precision);
  }
}

void print_exponential(TextSink &sink, const Extended &value, int precision, char letter) {
  if (value.is_zero()) {
    add_zero(sink, precision);
    add_exponent(sink, 0, letter);
    return;
  }
  const int64_t first = leading_position_estimate(value), last = first - precision;
  ShortDigits digits;
  bool rounded = digits.round(value, last);
  // One digit too many: the estimate was one too low, or nines have been rounded up. What the latter gives is the same.
  if (rounded && digits.leading_position() > first) rounded = digits.round(value, last + 1);
  if (rounded) {
    add_exponential(sink, digits, precision, letter);
  } else {
    print_long_exponential(sink, value, precision, letter);
  }
}

void print_general(TextSink &sink, const Extended &value, int precision, char letter) {
  // 10^precision >= 2^exponent; 14267572527 / 2^32 is log2(10), truncated: floor of the product is right for all that
  // is compared here. From 9865 on every finite value is below the power. Zero has a very low exponent.
  const int64_t digits = std::min(precision, 9865);
  const bool fixed = value.exponent >= -13 && value.exponent <= digits * INT64_C(14267572527) >> 32;
  if (fixed) {
    print_fixed(sink, value, precision);
  } else {
    print_exponential(sink, value, precision, letter);
  }
}

}  // namespace kiv::bigflt_engine
