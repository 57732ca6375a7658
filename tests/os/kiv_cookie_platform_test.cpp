// Cookies under a clock and a heap of the test's own.

#include <set>
#include <string>

#include "gtest/gtest.h"
#include "kiv_cookie.h"
#include "os/platform.h"
#include "tests/support/platform_seam.h"

namespace kiv::os {
static TimeOfDay now;
TimeOfDay time_of_day() { return now; }
}  // namespace kiv::os

namespace {

using kiv::os::now;
using kiv::test::platform;

KIV_COOKIE *make(KIV_COOKIE_ADMIN *admin) { return kiv_make_cookie(admin, 0, nullptr, nullptr); }

// The texts come from a program in another language.
TEST(CookieText, ComesFromTimeAndRandomState) {
  const struct {
    uint32_t seconds, milliseconds, state;
    const char *text;
    uint32_t next_state;
  } cases[] = {
      {0, 0, 0x0, "7onqh6reFQvSFQv", 0x2DB879},
      {1700000000, 123, 0x123456, "7oGh8Z5urZ3RDWd", 0x410727},
      {1700000000, 123, 0x410727, "NIGBeJ5erZ3RwPy", 0x6BCABC},
      {0xFFFFFFFF, 999, 0xFFFFFF, "8jEhKf58l2VLonq", 0xCD0AF4},
      {1 << 24, 0, 0x800000, "7onqh6reFQvSFQv", 0xADB879},
      {1700000000, 500, 0xABCDEF, "tImR8Jru7qG2YXa", 0x3A38A4},
  };
  for (const auto &c : cases) {
    now = {c.seconds, c.milliseconds};
    KIV_COOKIE_ADMIN admin;
    kiv_init_cookie_admin(&admin);
    EXPECT_EQ(admin.random_state, c.seconds % (1 << 24));
    admin.random_state = c.state;
    const KIV_COOKIE *cookie = make(&admin);
    EXPECT_STREQ(cookie->text, c.text);
    EXPECT_EQ(admin.random_state, c.next_state);
    EXPECT_EQ(cookie->created_seconds, c.seconds);
    EXPECT_EQ(cookie->created_milliseconds, c.milliseconds);
    kiv_destroy_cookie_admin(&admin);
  }
}

TEST(CookieText, IsWaitedForWhenAllOfAMillisecondAreTaken) {
  platform = {};
  now = {1700000000, 0};
  KIV_COOKIE_ADMIN admin;
  kiv_init_cookie_admin(&admin);
  platform.on_sleep = [] { ++now.milliseconds; };
  std::set<std::string> texts;
  for (uint32_t i = 0; i < 200; ++i) {
    const KIV_COOKIE *cookie = make(&admin);
    ASSERT_NE(cookie, nullptr);
    EXPECT_EQ(cookie->serial, i);
    EXPECT_EQ(cookie->created_milliseconds, i / 64);
    EXPECT_TRUE(texts.insert(cookie->text).second);
  }
  platform.on_sleep = {};
  while (texts.size() < 256) texts.insert(make(&admin)->text);
  const size_t live = platform.live;
  EXPECT_EQ(make(&admin), nullptr);  // the clock stands still
  EXPECT_EQ(platform.live, live);
  kiv_destroy_cookie_admin(&admin);
  EXPECT_EQ(platform.live, 0u);
}

TEST(CookieHeap, FailureLeavesNothingBehind) {
  uint32_t made = 0;
  for (uint32_t point = 0; made != 50; ++point) {
    SCOPED_TRACE(point);
    platform = {};
    platform.successes = point;
    platform.failures = UINT32_MAX;
    now = {1700000000, point % 1000};
    KIV_COOKIE_ADMIN admin;
    kiv_init_cookie_admin(&admin);
    for (made = 0; made < 50; ++made) {
      const size_t nodes = kiv_avl_count_nodes(admin.by_text);
      const KIV_COOKIE *cookie = make(&admin);
      EXPECT_EQ(kiv_avl_count_nodes(admin.by_text), nodes + (cookie != nullptr));
      EXPECT_EQ(kiv_avl_count_nodes(admin.by_serial), nodes + (cookie != nullptr));
      if (cookie == nullptr) break;
    }
    kiv_remove_stale_cookies(&admin);
    kiv_destroy_cookie_admin(&admin);
    EXPECT_EQ(platform.live, 0u);
  }
}

}  // namespace
