#include "kiv_enum_translate.h"

#include <string>

#include "gtest/gtest.h"
#include "kiv_sccs.h"

namespace {

TEST(EnumTranslate, PairsInBothDirections) {
  KIV_ENUM_TABLE_OF(4) table = {{3, 77}, {{1, 10}, {2, 10}, {1, 20}, {3, 30}}};
  const auto look_up = [&](auto *function, uint32_t value) {
    uint32_t result = 99;
    return function(value, &table.head, &result, 5) == 0 ? result : result + 1;
  };
  const auto forward = [&](uint32_t value) { return look_up(kiv_enum_translate_to_enum, value); };
  const auto reverse = [&](uint32_t value) { return look_up(kiv_enum_translate_to_enum_reverse, value); };
  EXPECT_TRUE(forward(1) == 10 && forward(2) == 10 && forward(3) == 100);  // 3 is behind the count
  EXPECT_TRUE(reverse(10) == 1 && reverse(20) == 1 && reverse(30) == 100);
  table.head.count = -1;
  EXPECT_TRUE(forward(1) == 100 && reverse(10) == 100);
}

TEST(EnumTranslate, Names) {
  const KIV_ENUM_NAME names[] = {{7, "seven"}, {8, "eight"}, {7, "sept"},          {9, "eight"},
                                 {5, "\xE9"},  {6, nullptr}, {6, "behind the end"}};
  const KIV_UNICHAR eight[] = {'e', 'i', 'g', 'h', 't', 0}, latin[] = {0xE9, 0}, none[] = {'n', 0};
  EXPECT_STREQ(kiv_enum_translate_to_string(7, names), "seven");
  EXPECT_EQ(kiv_enum_translate_to_string(6, names), nullptr);
  const auto from = [&](const char *name, const KIV_UNICHAR *string) {
    uint32_t result = 99;
    return kiv_enum_translate_from_string(name, string, names, 0, &result) == 0 ? result : result + 1;
  };
  EXPECT_TRUE(from("sept", nullptr) == 7 && from(nullptr, eight) == 8 && from(nullptr, latin) == 5);
  EXPECT_TRUE(from("sept", eight) == 8 && from("seven", eight) == 7 && from("none", eight) == 8);
  EXPECT_TRUE(from(nullptr, none) == 100 && from("Seven", nullptr) == 100 && from("behind the end", nullptr) == 100);
  EXPECT_EQ(from(nullptr, nullptr), 100u);
}

TEST(Sccs, Order) {
  struct Case {
    uint32_t a[4], b[4];
    int32_t order;  // of a and b
  };
  const Case cases[] = {
      {{1, 2, 0, 0}, {1, 3, 0, 0}, -1},
      {{1, 9, 0, 0}, {2, 0, 0, 0}, -1},
      {{1, 2, 1, 1}, {1, 3, 0, 0}, -2},
      {{1, 2, 0, 0}, {1, 3, 1, 1}, -1},
      {{1, 2, 1, 1}, {1, 3, 1, 1}, -2},
      {{1, 2, 0, 7}, {1, 3, 0, 0}, -2},
      {{1, 2, 1, 1}, {1, 2, 1, 2}, -1},
      {{1, 2, 0, 0}, {1, 2, 1, 1}, -1},
      {{1, 2, 3, 4}, {1, 2, 3, 4}, 0},
      {{0, 1, 0, 0}, {65535, 1, 0, 0}, -1},
      {{1, 1, 0, 9}, {1, 1, 40000, 0}, -1},
      // Numbers that do not fit run into the one before.
      {{1, 65536, 0, 0}, {2, 0, 0, 0}, 0},
      {{65536, 1, 0, 0}, {0, 1, 0, 0}, 0},
      {{1, 2, 65536, 0}, {1, 3, 0, 0}, -1},
  };
  for (const auto &[a, b, order] : cases) {
    const int32_t reversed = order == KIV_SCCS_UNRELATED ? order : -order;
    EXPECT_EQ(kiv_sccs_version_ids_compare(a[0], a[1], a[2], a[3], b[0], b[1], b[2], b[3]), order) << a[1] << a[2];
    EXPECT_EQ(kiv_sccs_version_ids_compare(b[0], b[1], b[2], b[3], a[0], a[1], a[2], a[3]), reversed) << a[1] << a[2];
  }
}

TEST(Sccs, Texts) {
  const auto text_of = [](uint32_t release, uint32_t level, uint32_t branch, uint32_t sequence) {
    char text[KIV_SCCS_VERSION_ID_SIZE];
    return std::string(text, size_t(kiv_sccs_version_id_to_string(release, level, branch, sequence, text)) + 1);
  };
  EXPECT_EQ(text_of(1, 2, 0, 7), std::string("1.2", 4));
  EXPECT_EQ(text_of(1, 2, 3, 0), std::string("1.2.3.0", 8));
  EXPECT_EQ(text_of(~0u, ~0u, ~0u, ~0u), std::string("4294967295.4294967295.4294967295.4294967295", 44));
}

}  // namespace
