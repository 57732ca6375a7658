// Reading numbers. One grammar over a source of characters, with one character of look-ahead.

#include "kiv_bigflt_text.h"
#include "numbers/bigflt_decimal_text.h"

namespace kiv::bigflt_engine {
namespace {

constexpr int kFailed = -1;

struct TextSource {
  const char *next;
  int get() { return *next == '\0' ? -1 : static_cast<unsigned char>(*next++); }
  void unget(int) {}
};

struct CallbackSource {
  KIV_BIGFLT_GET get_character;
  KIV_BIGFLT_UNGET unget_character;
  void *context;
  int get() { return get_character(context); }
  void unget(int c) {
    if (unget_character != nullptr) unget_character(c, context);
  }
};

constexpr bool is_space(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
constexpr bool is_digit(int c) { return c >= '0' && c <= '9'; }
/// The lower case of ASCII letters; no other character becomes one.
constexpr int lower(int c) { return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c; }
constexpr int hexit(int c) {
  const int letter = lower(c);
  return is_digit(c) ? c - '0' : letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

template <class Source>
class Scanner {
 public:
  Scanner(const Source &source, uint32_t limit) : source_(source), left_(std::min<uint32_t>(limit, INT32_MAX)) {
    limit_ = left_;
    advance();
  }

  /// The number of characters read, or kFailed.
  int scan(Extended *result) {
    while (is_space(c_)) advance();
    const bool negative = c_ == '-';
    if (negative || c_ == '+') advance();
    const bool right = scan_magnitude(negative, result);
    if (c_ >= 0) {
      source_.unget(c_);
      ++left_;
    }
    return right ? static_cast<int>(limit_ - left_) : kFailed;
  }

 private:
  void advance() {
    c_ = -1;
    if (left_ == 0) return;
    c_ = source_.get();
    if (c_ >= 0) --left_;
  }

  /// Takes a letter, of either case.
  bool take(char letter) {
    if (lower(c_) != letter) return false;
    advance();
    return true;
  }

  bool take_word(const char *word) {
    while (*word != '\0') {
      if (!take(*word++)) return false;
    }
    return true;
  }

  bool scan_magnitude(bool negative, Extended *result) {
    switch (lower(c_)) {
      case 'i':
        *result = infinity(negative);
        return take_word("inf") && (lower(c_) != 'i' || take_word("inity"));
      case 'n':
        *result = kNan;
        return take_word("nan");
      default:
        break;
    }
    bool digits = false;
    if (c_ == '0') {
      digits = true;
      advance();
      if (take('x')) return scan_hexadecimal(negative, result);
    }
    DecimalText text;
    return scan_decimal(digits, text) && (*result = text.value(negative), true);
  }

  bool scan_decimal(bool digits, DecimalText &text) {
    digits = scan_digits(text) != 0 || digits;
    if (c_ == '.') {
      advance();
      const uint32_t fraction_digits = scan_digits(text);
      text.scale(-int64_t{fraction_digits});
      digits = digits || fraction_digits != 0;
    }
    if (!digits) return false;
    if (!take('e')) return true;
    int64_t exponent = 0;
    if (!scan_exponent(&exponent)) return false;
    text.scale(exponent);
    return true;
  }

  /// Any number of digits; gives how many.
  uint32_t scan_digits(DecimalText &text) {
    const uint32_t left = left_ + (c_ >= 0 ? 1 : 0);
    if (text.is_zero()) {
      while (c_ == '0') advance();
    }
    DecimalText::Partial partial = text.partial();
    for (; is_digit(c_); advance()) text.add(partial, static_cast<unsigned>(c_ - '0'));
    text.set_partial(partial);
    return left - (left_ + (c_ >= 0 ? 1 : 0));
  }

  bool scan_hexadecimal(bool negative, Extended *result) {
    HexadecimalText text;
    bool digits = false;
    if (!scan_hexits(text, &digits)) return false;
    if (c_ == '.') {
      advance();
      text.point();
      if (hexit(c_) >= 0 && !scan_hexits(text, &digits)) return false;
    }
    if (!digits) return false;
    int64_t exponent = 0;
    if (take('p') && !scan_exponent(&exponent)) return false;
    *result = text.value(negative, exponent);
    return true;
  }

  /// None, or some that end with a hexit.
  bool scan_hexits(HexadecimalText &text, bool *any) {
    while (hexit(c_) >= 0) {
      text.add(static_cast<unsigned>(hexit(c_)));
      *any = true;
      advance();
      if (c_ != '_') continue;
      advance();
      if (hexit(c_) < 0) return false;
    }
    return true;
  }

  /// A sign and digits. What is beyond 10^12 has the effect of that: a text of digits has fewer than 2^31.
  bool scan_exponent(int64_t *exponent) {
    constexpr int64_t kLimit = 1000000000000;
    const bool negative = c_ == '-';
    if (negative || c_ == '+') advance();
    if (!is_digit(c_)) return false;
    int64_t magnitude = 0;
    for (; is_digit(c_); advance()) magnitude = std::min(magnitude * 10 + (c_ - '0'), kLimit);
    *exponent = negative ? -magnitude : magnitude;
    return true;
  }

  Source source_;
  uint32_t left_, limit_ = 0;
  int c_ = -1;
};

template <class Source>
int scan(const Source &source, uint32_t limit, bigflt *r) {
  Extended value;
  const int result = Scanner<Source>(source, limit).scan(&value);
  if (result >= 0) store(r, value);
  return result;
}

}  // namespace
}  // namespace kiv::bigflt_engine

int kiv_bigflt_sscan(const char *text, uint32_t limit, bigflt *r) {
  return kiv::bigflt_engine::scan(kiv::bigflt_engine::TextSource{text}, limit, r);
}

int kiv_bigflt_scan_generic(KIV_BIGFLT_GET get, KIV_BIGFLT_UNGET unget, void *context, uint32_t limit, bigflt *r) {
  return kiv::bigflt_engine::scan(kiv::bigflt_engine::CallbackSource{get, unget, context}, limit, r);
}
