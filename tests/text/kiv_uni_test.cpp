#include "kiv_uni.h"

#include <cctype>
#include <clocale>
#include <string>

#include "gtest/gtest.h"

namespace {

const struct {
  const char *name;
  int (*ours)(KIV_UNICHAR);
  int (*runtime)(int);
  int above;
} kClasses[] = {
    {"isalnum", kiv_uni_isalnum, [](int c) { return std::isalnum(c); }, 0},
    {"isalpha", kiv_uni_isalpha, [](int c) { return std::isalpha(c); }, 0},
    {"iscntrl", kiv_uni_iscntrl, [](int c) { return std::iscntrl(c); }, 0},
    {"isdigit", kiv_uni_isdigit, [](int c) { return std::isdigit(c); }, 0},
    {"isxdigit", kiv_uni_isxdigit, [](int c) { return std::isxdigit(c); }, 0},
    {"isgraph", kiv_uni_isgraph, [](int c) { return std::isgraph(c); }, 1},
    {"ispunct", kiv_uni_ispunct, [](int c) { return std::ispunct(c); }, 0},
    {"isprint", kiv_uni_isprint, [](int c) { return std::isprint(c); }, 1},
    {"islower", kiv_uni_islower, [](int c) { return std::islower(c); }, 0},
    {"isupper", kiv_uni_isupper, [](int c) { return std::isupper(c); }, 0},
    {"isspace", kiv_uni_isspace, [](int c) { return std::isspace(c); }, 0},
};

const struct {
  const char *name;
  KIV_UNICHAR (*ours)(KIV_UNICHAR);
  int (*runtime)(int);
} kMappings[] = {
    {"tolower", kiv_uni_tolower, [](int c) { return std::tolower(c); }},
    {"toupper", kiv_uni_toupper, [](int c) { return std::toupper(c); }},
};

// U+0141 and U+10041 have the low byte of "A": a cut code point would show.
const KIV_UNICHAR kAbove[] = {0x100, 0x141, 0x161, 0x120, 0x4E2D, 0x10041, 0x80000041, 0xFFFFFF41, 0xFFFFFFFF};

/// The C runtime is asked at each call: answers follow the locale.
TEST(Uni, AsksTheRuntimeUpTo255) {
  for (const char *locale : {"C", "C.UTF-8", ".1252", "en_US.ISO-8859-1", "de_DE.ISO-8859-1", "C"}) {
    if (std::setlocale(LC_CTYPE, locale) == nullptr) continue;  // systems differ in what they have
    for (int c = 0; c < 256; ++c) {
      const auto unit = static_cast<KIV_UNICHAR>(c);
      for (const auto &row : kClasses) EXPECT_EQ(row.ours(unit), row.runtime(c) != 0) << row.name << c << locale;
      for (const auto &row : kMappings) {
        EXPECT_EQ(row.ours(unit), static_cast<KIV_UNICHAR>(row.runtime(c))) << row.name << c << locale;
      }
    }
  }
}

TEST(Uni, HasFixedAnswersAbove255) {
  for (const KIV_UNICHAR c : kAbove) {
    for (const auto &row : kClasses) EXPECT_EQ(row.ours(c), row.above) << row.name << c;
    for (const auto &row : kMappings) EXPECT_EQ(row.ours(c), c) << row.name;
  }
}

}  // namespace
