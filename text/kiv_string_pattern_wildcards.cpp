// Wildcards: runs of elements that take one character each, with stars between them.
//
// Whether a pattern that begins with a star matches at a place depends on how far in the text that place is, and on
// nothing else: what matches there matches at every earlier place too. Hence a star never gives up the first place at
// which the run behind it matches, and no pattern takes more than pattern times text steps.

#include <cstdint>

#include "empty_string.h"
#include "kiv_string.h"
#include "kiv_string_pattern.h"
#include "pattern_set.h"

namespace kiv {
namespace {

bool ends_run(KIV_UNICHAR c) { return c == 0 || c == '*'; }

/// The place behind the element at p, or null for one that never matches. REQUIRES: p is in a run.
const KIV_UNICHAR *behind_element(const KIV_UNICHAR *p) {
  pattern::Set set;
  if (*p == '[') return pattern::read_set<pattern::SetEscapes::none>(p + 1, &set);
  if (*p != '\\') return p + 1;
  return p[1] != 0 ? p + 2 : nullptr;
}

/// Moves t over the characters that the run at p matches, and p over the run. False, with t at the character that did
/// not match, when the whole run does not.
bool match_run(const KIV_UNICHAR *&t, const KIV_UNICHAR *&p) {
  for (; !ends_run(*p); ++t) {
    if (*t == 0) return false;
    if (*p == '[') {
      pattern::Set set;
      p = pattern::read_set<pattern::SetEscapes::none>(p + 1, &set);
      if (p == nullptr || !pattern::contains<pattern::SetEscapes::none>(set, *t)) return false;
    } else if (*p == '?') {
      ++p;
    } else {
      if (*p == '\\') ++p;  // the 0 behind one that ends the pattern matches no character
      if (*p != *t) return false;
      ++p;
    }
  }
  return true;
}

/// The number of elements of the run at p, which is moved behind it. False for one that never matches.
bool measure_run(const KIV_UNICHAR *&p, int64_t *count) {
  for (*count = 0; !ends_run(*p); ++*count) {
    p = behind_element(p);
    if (p == nullptr) return false;
  }
  return true;
}

/// Moves t to the first place from t on at which the run at p may match. False when there is none.
bool find_candidate(const KIV_UNICHAR *&t, const KIV_UNICHAR *p) {
  if (*p == '?' || *p == '[' || ends_run(*p)) return *t != 0;
  if (*p == '\\') ++p;
  if (*t == *p) return *t != 0;
  if (*p != 0) t = kiv_string_strchr(t, *p);
  return *p != 0 && t != nullptr;
}

/// Moves t behind the first match of the run at p, and p behind the run. False when it matches nowhere.
bool find_run(const KIV_UNICHAR *&t, const KIV_UNICHAR *&p) {
  for (; find_candidate(t, p); ++t) {
    const KIV_UNICHAR *text = t;
    const KIV_UNICHAR *run = p;
    if (match_run(text, run)) {
      t = text;
      p = run;
      return true;
    }
    // At later places there is even less text.
    if (*text == 0) return false;
  }
  return false;
}

/// Matches the pattern at p, which ends or begins with a star, at t.
bool match_from_star(const KIV_UNICHAR *t, const KIV_UNICHAR *p, bool whole) {
  while (*p != 0) {
    if (*++p == 0) return true;
    if (*t == 0) return false;
    if (*p == '*') continue;
    const KIV_UNICHAR *behind = p;
    int64_t run = 0;
    if (!measure_run(behind, &run)) return false;
    if (whole && *behind == 0) {
      const int64_t rest = kiv_string_length(t);
      if (rest < run) return false;
      t += rest - run;
      return match_run(t, p);
    }
    if (!find_run(t, p)) return false;
  }
  return !whole || *t == 0;
}

/// The last index at which the pattern at star matches in text, or -1: its runs are placed from the last to the first,
/// each as far behind as it goes. (Every run takes a character at least, so that looking for its start from the star on
/// costs no more than pattern times text in all.) REQUIRES: the star does not end the pattern.
int64_t last_place_of_star(const KIV_UNICHAR *text, const KIV_UNICHAR *star, int64_t length) {
  int64_t runs = 0, place = length, ignored = 0;
  for (const KIV_UNICHAR *p = star; *p != 0;) {
    const KIV_UNICHAR *stars = p;
    while (*p == '*') ++p;
    if (*p == 0 && p - stars > 1) --place;  // a star before the last one needs a character
    if (*p != 0) ++runs;
    if (!measure_run(p, &ignored)) return -1;
  }
  for (; runs > 0; --runs) {
    const KIV_UNICHAR *run = star, *behind = star;
    int64_t size = 0;
    for (int64_t i = 0; i < runs; ++i) {
      run = behind;
      while (*run == '*') ++run;
      behind = run;
      (void)measure_run(behind, &size);
    }
    for (place -= size; place >= 0; --place) {
      const KIV_UNICHAR *t = text + place, *p = run;
      if (match_run(t, p)) break;
    }
    if (place < 0) return -1;
  }
  return place;
}

}  // namespace
}  // namespace kiv

int kiv_string_matches_using_wildcards(const KIV_UNICHAR *text, const KIV_UNICHAR *pattern) {
  text = kiv::or_empty(text);
  pattern = kiv::or_empty(pattern);
  return kiv::match_run(text, pattern) && kiv::match_from_star(text, pattern, true) ? 1 : 0;
}

int32_t kiv_string_substr_matches_using_wildcards(const KIV_UNICHAR *text, const KIV_UNICHAR *pattern) {
  text = kiv::or_empty(text);
  pattern = kiv::or_empty(pattern);
  const KIV_UNICHAR *behind = pattern;
  int64_t run = 0;
  if (!kiv::measure_run(behind, &run)) return -1;
  const KIV_UNICHAR *t = text;
  if (*t == 0 || !kiv::find_run(t, pattern)) return -1;
  // Where the star behind the first run does not match it does not match further on either.
  return kiv::match_from_star(t, pattern, false) ? static_cast<int32_t>(t - text - run) : -1;
}

int32_t kiv_string_reverse_substr_matches_using_wildcards(const KIV_UNICHAR *text, const KIV_UNICHAR *pattern) {
  text = kiv::or_empty(text);
  pattern = kiv::or_empty(pattern);
  const KIV_UNICHAR *star = pattern;
  int64_t run = 0;
  if (!kiv::measure_run(star, &run)) return -1;
  const int64_t length = kiv_string_length(text);
  if (length < run) return -1;
  bool star_matches = false;
  for (int64_t i = length - (run > 0 ? run : 1); i >= 0; --i) {
    const KIV_UNICHAR *t = text + i;
    const KIV_UNICHAR *p = pattern;
    if (!kiv::match_run(t, p)) continue;
    if (star_matches || kiv::match_from_star(t, star, false)) return static_cast<int32_t>(i);
    // From its last place on backwards the star always matches.
    i = kiv::last_place_of_star(text, star, length) - run + 1;
    star_matches = true;
  }
  return -1;
}
