// Searching by regular expression and matching wildcards, beside PCRE2 (on 32-bit units, interpreted and as machine
// code), RE2 and the C library's regexec (on bytes), TRE (on wide characters) and fnmatch.
//
// The peers compile a pattern once, outside of what is timed; ours reads it at every call. All texts are ASCII, so that
// those that work on bytes read a quarter of the memory.

#define PCRE2_CODE_UNIT_WIDTH 32
#include <fnmatch.h>
#include <pcre2.h>
#include <re2/re2.h>
#include <regex.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_string_pattern.h"
#include "tre_search.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

using Text = std::basic_string<KIV_UNICHAR>;

/// A text in every form that a contestant takes.
struct AnyText {
  explicit AnyText(const std::string &text)
      : bytes(text), wide(text.begin(), text.end()), units(text.begin(), text.end()) {}
  std::string bytes;
  std::wstring wide;
  Text units;
};

// --- Contestants: find(text) gives the first index that matches, or -1 -----------------------------------------------

struct Ours {
  static constexpr const char *kName = "ours";
  explicit Ours(const AnyText &pattern) : re(pattern.units) {}
  long find(const AnyText &text) const {
    return kiv_string_substr_matches_with_regular_expression(text.units.c_str(), re.c_str(), nullptr, 0);
  }
  const Text re;
};

template <bool kJit>
struct Pcre2 {
  static constexpr const char *kName = kJit ? "PCRE2-JIT" : "PCRE2";
  explicit Pcre2(const AnyText &pattern) {
    int error = 0;
    PCRE2_SIZE offset = 0;
    code = pcre2_compile(pattern.units.c_str(), pattern.units.size(), 0, &error, &offset, nullptr);
    require(code != nullptr, kName, "compile");
    if (kJit) require(pcre2_jit_compile(code, PCRE2_JIT_COMPLETE) == 0, kName, "jit");
    data = pcre2_match_data_create_from_pattern(code, nullptr);
  }
  Pcre2(const Pcre2 &) = delete;
  ~Pcre2() {
    pcre2_match_data_free(data);
    pcre2_code_free(code);
  }
  long find(const AnyText &text) const {
    const int status =
        (kJit ? pcre2_jit_match : pcre2_match)(code, text.units.c_str(), text.units.size(), 0, 0, data, nullptr);
    require(status > 0 || status == PCRE2_ERROR_NOMATCH, kName, "match");
    return status > 0 ? static_cast<long>(pcre2_get_ovector_pointer(data)[0]) : -1;
  }
  pcre2_code *code;
  pcre2_match_data *data;
};

struct Re2 {
  static constexpr const char *kName = "RE2";
  explicit Re2(const AnyText &pattern) : re(pattern.bytes) {}
  long find(const AnyText &text) const {
    re2::StringPiece found;
    const bool matched = re.Match(text.bytes, 0, text.bytes.size(), RE2::UNANCHORED, &found, 1);
    return matched ? found.data() - text.bytes.data() : -1;
  }
  const RE2 re;
};

struct Regexec {
  static constexpr const char *kName = "regexec";
  explicit Regexec(const AnyText &pattern) {
    require(regcomp(&re, pattern.bytes.c_str(), REG_EXTENDED) == 0, kName, "compile");
  }
  Regexec(const Regexec &) = delete;
  ~Regexec() { regfree(&re); }
  long find(const AnyText &text) const {
    regmatch_t found[1];
    return regexec(&re, text.bytes.c_str(), 1, found, 0) == 0 ? found[0].rm_so : -1;
  }
  regex_t re;
};

struct Tre {
  static constexpr const char *kName = "TRE";
  explicit Tre(const AnyText &pattern) : search(pattern.wide) {}
  long find(const AnyText &text) const { return search.find(text.wide); }
  const kiv::bench::TreSearch search;
};

struct OurWildcards {
  static constexpr const char *kName = "ours";
  explicit OurWildcards(const AnyText &given) : pattern(given.units) {}
  long find(const AnyText &text) const {
    return kiv_string_matches_using_wildcards(text.units.c_str(), pattern.c_str()) - 1;
  }
  const Text pattern;
};

struct Fnmatch {
  static constexpr const char *kName = "fnmatch";
  explicit Fnmatch(const AnyText &given) : pattern(given.bytes) {}
  long find(const AnyText &text) const { return fnmatch(pattern.c_str(), text.bytes.c_str(), 0) == 0 ? 0 : -1; }
  const std::string pattern;
};

// --- Work ------------------------------------------------------------------------------------------------------------

/// A pattern and texts, each sought in `rounds` times; expected is the sum of what is found.
struct Work {
  const char *operation;
  AnyText pattern;
  std::vector<AnyText> texts;
  size_t rounds;
  long expected;
};

template <class Contestant>
void add(const std::shared_ptr<const Work> &work) {
  const std::string name =
      kiv::bench::name("string_pattern", work->operation, work->texts.front().bytes.size(), Contestant::kName);
  kiv::bench::add(name, 1, work->rounds * work->texts.size(), [work] {
    const Contestant contestant(work->pattern);
    double seconds = 0;
    // Once to warm up.
    for (const size_t rounds : {size_t{1}, work->rounds}) {
      long sum = 0;
      const Stopwatch stopwatch;
      for (size_t i = 0; i < rounds; ++i) {
        for (const AnyText &text : work->texts) sum += contestant.find(text);
      }
      seconds = stopwatch.seconds();
      require(sum == static_cast<long>(rounds) * work->expected, Contestant::kName, work->operation);
    }
    return seconds;
  });
}

void add_search(const char *operation, const char *pattern, const std::string &text, size_t rounds, long expected) {
  const auto work = std::make_shared<const Work>(
      Work{operation, AnyText(pattern), std::vector<AnyText>{AnyText(text)}, rounds, expected});
  add<Ours>(work);
  add<Pcre2<false>>(work);
  add<Pcre2<true>>(work);
  add<Re2>(work);
  add<Regexec>(work);
  add<Tre>(work);
}

void add_wildcards(const char *operation, const char *pattern, const std::vector<std::string> &texts, size_t rounds,
                   long expected) {
  const auto work = std::make_shared<const Work>(
      Work{operation, AnyText(pattern), std::vector<AnyText>(texts.begin(), texts.end()), rounds, expected});
  add<OurWildcards>(work);
  add<Fnmatch>(work);
}

}  // namespace

int main(int argc, char **argv) {
  constexpr size_t kMillion = 1000000;
  std::mt19937 random(1);
  std::string letters(kMillion, ' ');
  for (char &c : letters) c = "acdefghijklmnopqrstuvwyz "[random() % 25];
  const std::string a_row(kMillion, 'a');
  add_search("b+_absent", "b+", letters, 20, -1);
  add_search("b+_at_end", "b+", letters + "bb", 20, kMillion);
  add_search("literal_absent", "breakpoint", letters, 20, -1);
  add_search("a.x_absent", "a.x", letters, 20, -1);
  add_search("a.x_absent_dense", "a.x", a_row, 10, -1);
  add_search("a.c_at_end", "a.c", a_row + "c", 10, kMillion - 2);
  add_search("set_at_end", "[0-9][0-9]*", letters + "42", 10, kMillion);
  add_search("words_at_end", "[a-z]+_[a-z]+", letters + "is_it", 1,
             static_cast<long>((letters + "is_it").find_last_of(' ') + 1));
  add_search("a*a*a*a*b", "a*a*a*a*b", std::string(200, 'a'), 2000, -1);
  add_search("short_match", "k.*_[a-z]+", "std::kiv_back_inserter", 20000, 5);
  const std::vector<std::string> symbols = {"std::vector::push_back_1", "std_string_back_12",
                                            "kiv_avl_insert",           "stdout_put",
                                            "std::back_inserter",       "std_back_1"};
  add_wildcards("*a*a*a*a*b", "*a*a*a*a*b", {std::string(200, 'a')}, 20000, -1);
  add_wildcards("symbols", "std*back_1*", symbols, 20000, -3);
  add_wildcards("middle", "*needle*", {letters}, 10, -1);
  return kiv::bench::run(argc, argv);
}
