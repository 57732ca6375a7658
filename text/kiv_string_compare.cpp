// Comparing strings with strings and char strings.

#include <cwchar>
#include <cwctype>

#include "base/alias.h"
#include "kiv_string.h"
#include "kiv_uni.h"
#include "text/text_source.h"

namespace kiv {
namespace {

int32_t order(KIV_UNICHAR a, KIV_UNICHAR b) { return a == b ? 0 : a < b ? -1 : 1; }

/// The order of the first n units at most, nothing behind a terminator being read.
template <class Source>
int32_t compare_bounded(const KIV_UNICHAR *s, Source t, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    const KIV_UNICHAR a = s[i], b = t[i];
    if (a != b || a == 0) return order(a, b);
  }
  return 0;
}

bool equal(KIV_UNICHAR a, KIV_UNICHAR b, bool nocase) {
  return a == b || (nocase && kiv_uni_tolower(a) == kiv_uni_tolower(b));
}

template <class Source>
int begins_with(const KIV_UNICHAR *s, Source prefix, bool nocase) {
  for (size_t i = 0; prefix[i] != 0; ++i) {
    // At the end of s the comparison fails: no unit but the terminator has it as its lower case.
    if (!equal(s[i], prefix[i], nocase)) return 0;
  }
  return 1;
}

template <class Source>
int ends_with(const KIV_UNICHAR *s, Source suffix, bool nocase) {
  const size_t length = Units{s}.length();
  const size_t wanted = suffix.length();
  if (wanted > length) return 0;
  for (size_t i = 1; i <= wanted; ++i) {
    if (!equal(s[length - i], suffix[wanted - i], nocase)) return 0;
  }
  return 1;
}

/// What the C runtime's wide characters have no room for is no letter.
bool is_letter(KIV_UNICHAR c) {
  return static_cast<KIV_UNICHAR>(static_cast<wint_t>(c)) == c && std::iswalpha(static_cast<wint_t>(c)) != 0;
}

/// The upper case of a letter. Cut to 16 bits on every system, as it is where wide characters have no more.
KIV_UNICHAR upper_case(KIV_UNICHAR letter) {
  const auto wide = static_cast<wint_t>(letter);
  return std::iswlower(wide) != 0 ? static_cast<uint16_t>(std::towupper(wide)) : letter;
}

}  // namespace
}  // namespace kiv

using kiv::SignExtended;
using kiv::Units;
using kiv::ZeroExtended;

int32_t kiv_string_compare(const KIV_UNICHAR *s, const KIV_UNICHAR *t) { return kiv::os::compare(s, t); }

KIV_ALIAS(kiv_string_strcmp, kiv_string_compare);

int32_t kiv_string_strncmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t, uint32_t n) {
  return kiv::compare_bounded(s, Units{t}, n);
}

int32_t kiv_string_compare_with_char_s(const KIV_UNICHAR *s, const char *t) {
  return kiv::compare_bounded(s, ZeroExtended{t}, SIZE_MAX);
}

int32_t kiv_string_ncompare_with_char_s(const KIV_UNICHAR *s, const char *t, uint32_t n) {
  return kiv::compare_bounded(s, ZeroExtended{t}, n);
}

int32_t kiv_string_strcmp_with_char(const KIV_UNICHAR *s, const char *t) {
  return kiv_string_ncompare_with_char_s(s, t, UINT32_MAX);
}

int32_t kiv_string_strncmp_with_char(const KIV_UNICHAR *s, const char *t, uint32_t n) {
  return kiv_string_ncompare_with_char_s(s, t, n);
}

int32_t kiv_string_stricmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t) {
  for (size_t i = 0;; ++i) {
    KIV_UNICHAR a = s[i], b = t[i];
    const bool ends = a == 0;
    if (a != b && kiv::is_letter(a) && kiv::is_letter(b)) {
      a = kiv::upper_case(a);
      b = kiv::upper_case(b);
    }
    if (a != b || ends) return kiv::order(a, b);
  }
}

int32_t kiv_string_strncasecmp(const KIV_UNICHAR *s, const KIV_UNICHAR *t, uint32_t) {
  // The count is ignored: callers pass whole words and rely on their ends being compared.
  return kiv_string_stricmp(s, t);
}

int kiv_string_begins_with(const KIV_UNICHAR *s, const KIV_UNICHAR *prefix, int nocase) {
  return kiv::begins_with(s, Units{prefix}, nocase != 0);
}

int kiv_string_begins_with_char_s(const KIV_UNICHAR *s, const char *prefix, int nocase) {
  return kiv::begins_with(s, SignExtended{prefix}, nocase != 0);
}

int kiv_string_ends_with(const KIV_UNICHAR *s, const KIV_UNICHAR *suffix, int nocase) {
  return kiv::ends_with(s, Units{suffix}, nocase != 0);
}

int kiv_string_ends_with_char_s(const KIV_UNICHAR *s, const char *suffix, int nocase) {
  return kiv::ends_with(s, SignExtended{suffix}, nocase != 0);
}
