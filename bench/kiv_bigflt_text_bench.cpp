// Printing and reading of numbers of random mantissas and exponents -200 to 200: 39 significant digits in exponential
// form, and short decimal numbers as people write them; beside MPFR of 128 bits, Boost's cpp_bin_float of 128 and
// __float128, which has 113 only. And products with powers of ten.

#include <mpfr.h>
#include <quadmath.h>

#include <boost/multiprecision/cpp_bin_float.hpp>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_bigflt_text.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kCount = 256;
constexpr size_t kRounds = 40;
constexpr int kDigits = 39;

/// __float128 tells 34 digits, from up to 10^4932: the digits of the others that it must have as well.
constexpr size_t kCommonDigits = 33;

struct Ours {
  static constexpr const char *kName = "ours";
  bigflt value;
  void read(const char *text) { kiv_bigflt_sscan(text, UINT32_MAX, &value); }
  void print(char *text, uint32_t size, int digits) const { kiv_bigflt_sprint(text, size, "e", digits - 1, &value); }
};

struct Mpfr {
  static constexpr const char *kName = "MPFR 128";
  Mpfr() { mpfr_init2(value, 128); }
  Mpfr(const Mpfr &) = delete;
  Mpfr &operator=(const Mpfr &) = delete;
  ~Mpfr() { mpfr_clear(value); }
  mpfr_t value;
  void read(const char *text) { mpfr_strtofr(value, text, nullptr, 10, MPFR_RNDN); }
  void print(char *text, uint32_t size, int digits) const { mpfr_snprintf(text, size, "%.*Re", digits - 1, value); }
};

/// The digits alone, without a layout.
struct MpfrDigits : Mpfr {
  static constexpr const char *kName = "MPFR 128 digits";
  void print(char *text, uint32_t, int digits) const {
    mpfr_exp_t exponent = 0;
    mpfr_get_str(text, &exponent, 10, static_cast<size_t>(digits), value, MPFR_RNDN);
  }
};

struct Boost {
  static constexpr const char *kName = "cpp_bin_float";
  using Value = boost::multiprecision::number<
      boost::multiprecision::cpp_bin_float<128, boost::multiprecision::digit_base_2, void, int32_t, -32767, 32767>,
      boost::multiprecision::et_off>;
  Value value;
  void read(const char *text) { value.assign(text); }
  void print(char *text, uint32_t size, int digits) const {
    const std::string printed = value.str(digits - 1, std::ios_base::scientific);
    text[printed.copy(text, size - 1)] = '\0';
  }
};

__extension__ using QuadFloat = __float128;
struct Quad {
  static constexpr const char *kName = "__float128";
  QuadFloat value;
  void read(const char *text) { value = strtoflt128(text, nullptr); }
  void print(char *text, uint32_t size, int digits) const { quadmath_snprintf(text, size, "%.*Qe", digits - 1, value); }
};

using Texts = std::vector<std::string>;

/// Texts with a digit before the point and `digits` in all.
Texts make_texts(int digits, int exponents) {
  std::mt19937 random(1);
  Texts texts(kCount);
  for (std::string &text : texts) {
    text = {static_cast<char>('1' + random() % 9), '.'};
    for (int i = 1; i < digits; ++i) text += static_cast<char>('0' + random() % 10);
    if (exponents != 0) text += 'e' + std::to_string(static_cast<int>(random() % (2 * exponents + 1)) - exponents);
  }
  return texts;
}

/// The first digits of a text, without what stands between them.
std::string first_digits(const std::string &text, size_t most) {
  std::string digits;
  for (const char c : text) {
    if (c == 'e' || digits.size() == most) break;
    if (c >= '0' && c <= '9') digits += c;
  }
  return digits;
}

template <class Contestant>
void check(const std::vector<Contestant> &values, const Texts &texts, int digits, const std::string &name) {
  for (size_t i = 0; i < kCount; ++i) {
    char printed[200];
    values[i].print(printed, sizeof printed, digits);
    const size_t common = std::min<size_t>(kCommonDigits, static_cast<size_t>(digits)) - 1;
    require(first_digits(printed, common) == first_digits(texts[i], common), name, printed);
  }
}

template <class Contestant>
void add(const char *what, const Texts &texts, int digits) {
  const auto size = static_cast<size_t>(digits);
  const std::string reading =
      kiv::bench::name("bigflt_text", (std::string("read ") + what).c_str(), size, Contestant::kName);
  kiv::bench::add(reading, 10, kCount * kRounds, [=] {
    std::vector<Contestant> values(kCount);
    const Stopwatch watch;
    for (size_t round = 0; round < kRounds; ++round) {
      for (size_t i = 0; i < kCount; ++i) values[i].read(texts[i].c_str());
      benchmark::ClobberMemory();
    }
    const double seconds = watch.seconds();
    check(values, texts, digits, reading);
    return seconds;
  });
  const std::string printing =
      kiv::bench::name("bigflt_text", (std::string("print ") + what).c_str(), size, Contestant::kName);
  kiv::bench::add(printing, 10, kCount * kRounds, [=] {
    std::vector<Contestant> values(kCount);
    for (size_t i = 0; i < kCount; ++i) values[i].read(texts[i].c_str());
    char text[200];
    const Stopwatch watch;
    for (size_t round = 0; round < kRounds; ++round) {
      for (size_t i = 0; i < kCount; ++i) {
        values[i].print(text, sizeof text, digits);
        benchmark::ClobberMemory();
      }
    }
    const double seconds = watch.seconds();
    check(values, texts, digits, printing);
    return seconds;
  });
}

void add_all(const char *what, const Texts &texts, int digits) {
  add<Ours>(what, texts, digits);
  add<Mpfr>(what, texts, digits);
  add<MpfrDigits>(what, texts, digits);
  add<Boost>(what, texts, digits);
  add<Quad>(what, texts, digits);
}

}  // namespace

int main(int argc, char **argv) {
  add_all("exponential", make_texts(kDigits, 200), kDigits);
  add_all("short", make_texts(7, 0), 7);
  return kiv::bench::run(argc, argv);
}
