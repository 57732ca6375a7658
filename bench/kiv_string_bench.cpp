// Strings beside the wide functions of glibc, whose wide characters have 32 bits here.
//
// Each operation has to go over the whole text: equal texts are compared, what is searched stands at the end or
// nowhere. The needles of strstr: "rare", of units that hardly stand in the text; "common", whose first two units stand
// there in every other place; "long", half as long as a text in which it almost stands everywhere.

#include <algorithm>
#include <cwchar>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_string.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

using Text = std::vector<KIV_UNICHAR>;

struct Ours {
  static constexpr const char *kName = "ours";
  static size_t length(const KIV_UNICHAR *s) { return kiv_string_length(s); }
  static int compare(const KIV_UNICHAR *s, const KIV_UNICHAR *t) { return kiv_string_compare(s, t); }
  static const void *strchr(const KIV_UNICHAR *s, KIV_UNICHAR c) { return kiv_string_strchr(s, c); }
  static const void *strstr(const KIV_UNICHAR *s, const KIV_UNICHAR *t) { return kiv_string_strstr(s, t); }
};

struct Glibc {
  static constexpr const char *kName = "glibc";
  static const wchar_t *wide(const KIV_UNICHAR *s) { return reinterpret_cast<const wchar_t *>(s); }
  static size_t length(const KIV_UNICHAR *s) { return std::wcslen(wide(s)); }
  static int compare(const KIV_UNICHAR *s, const KIV_UNICHAR *t) { return std::wcscmp(wide(s), wide(t)); }
  static const void *strchr(const KIV_UNICHAR *s, KIV_UNICHAR c) {
    return std::wcschr(wide(s), static_cast<wchar_t>(c));
  }
  static const void *strstr(const KIV_UNICHAR *s, const KIV_UNICHAR *t) { return std::wcsstr(wide(s), wide(t)); }
};

Text make_text(size_t size) {
  std::mt19937 random(7);
  Text text(size + 1);
  for (size_t i = 0; i < size; ++i) text[i] = 'a' + static_cast<KIV_UNICHAR>(random() % 20);
  text[size] = 0;
  return text;
}

/// Adds a contestant of an operation on s: call(contestant, s) has to give `expected`.
template <class Contestant, class Result, class Call>
void add(const char *operation, size_t size, const KIV_UNICHAR *s, Result expected, Call call) {
  const std::string name = kiv::bench::name("string", operation, size, Contestant::kName);
  const Stopwatch trial;
  require(call(Contestant{}, s) == expected, name, operation);
  // Slow calls are measured fewer times.
  const auto calls = static_cast<size_t>(std::clamp(2e-3 / (trial.seconds() + 1e-9), 1.0, 50000.0));
  kiv::bench::add(name, 10, calls, [=] {
    bool right = true;
    const Stopwatch watch;
    for (size_t i = 0; i < calls; ++i) {
      const KIV_UNICHAR *text = s;
      benchmark::DoNotOptimize(text);  // or the compiler calls a function without side effects once
      right &= call(Contestant{}, text) == expected;
    }
    const double seconds = watch.seconds();
    require(right, name, operation);
    return seconds;
  });
}

template <class Result, class Call>
void add_both(const char *operation, size_t size, const KIV_UNICHAR *s, Result expected, Call call) {
  add<Ours>(operation, size, s, expected, call);
  add<Glibc>(operation, size, s, expected, call);
}

void add_all(size_t size) {
  // The texts live as long as the program.
  const auto &s = *new Text(make_text(size));
  const KIV_UNICHAR *equal = (new Text(s))->data();
  add_both("length", size, s.data(), size, [](auto by, auto *text) { return by.length(text); });
  add_both("compare", size, s.data(), 0, [=](auto by, auto *text) { return by.compare(text, equal); });
  const void *const none = nullptr;
  add_both("strchr", size, s.data(), none, [](auto by, auto *text) { return by.strchr(text, 'z'); });

  const KIV_UNICHAR *rare = new KIV_UNICHAR[]{'x', 'y', 'z', 'y', 0};
  auto &with_rare = *new Text(s);
  const void *const place = &*std::copy_backward(rare, rare + 4, with_rare.end() - 1);
  add_both("strstr rare", size, with_rare.data(), place, [=](auto by, auto *text) { return by.strstr(text, rare); });

  auto &pairs = *new Text(size + 1);
  for (size_t i = 0; i < size; ++i) pairs[i] = i % 2 == 0 ? 'a' : 'b';
  const KIV_UNICHAR *common = new KIV_UNICHAR[]{'a', 'b', 'c', 0};
  add_both("strstr common", size, pairs.data(), none, [=](auto by, auto *text) { return by.strstr(text, common); });

  auto &same = *new Text(size + 1, 'a');
  same[size] = 0;
  auto &almost = *new Text(size / 2 + 1, 'a');
  almost[size / 4] = 'b';
  almost[size / 2] = 0;
  const KIV_UNICHAR *needle = almost.data();
  add_both("strstr long", size, same.data(), none, [=](auto by, auto *text) { return by.strstr(text, needle); });
}

}  // namespace

int main(int argc, char **argv) {
  for (const size_t size : {16, 256, 65536}) add_all(size);
  return kiv::bench::run(argc, argv);
}
