// Cookies under a clock and a heap of the test's own.

#include "kiv_cookie.h"

#include <cmath>
#include <cstring>
#include <map>

#include "gtest/gtest.h"
#include "os/platform.h"
#include "tests/support/guarded_page.h"
#include "tests/support/platform_seam.h"
#include "tests/support/random.h"

namespace kiv::os {
static TimeOfDay now;
TimeOfDay time_of_day() { return now; }
}  // namespace kiv::os

namespace {

using kiv::os::now;
using kiv::test::below;
using kiv::test::platform;

// The texts come from a program in another language.
TEST(Cookie, TextComesFromTimeAndRandomState) {
  const struct {
    uint32_t seconds, milliseconds, state;
    const char *text;
    uint32_t next_state;
  } cases[] = {
      {0, 0, 0x0, "7onqh6reFQvSFQv", 0x2DB879},
      {1700000000, 123, 0x123456, "7oGh8Z5urZ3RDWd", 0x410727},
      {0xFFFFFFFF, 999, 0xFFFFFF, "8jEhKf58l2VLonq", 0xCD0AF4},
  };
  kiv::test::GuardedPage page;
  for (const auto &c : cases) {
    now = {c.seconds, c.milliseconds};
    KIV_COOKIE_ADMIN admin;
    kiv_init_cookie_admin(&admin);
    EXPECT_EQ(admin.random_state, c.seconds % (1 << 24));
    admin.random_state = c.state;
    admin.counter = UINT32_MAX;
    KIV_COOKIE *cookie = kiv_make_cookie(&admin, 0, nullptr, nullptr);
    EXPECT_STREQ(cookie->text, c.text);
    EXPECT_EQ(admin.random_state, c.next_state);
    EXPECT_EQ(admin.counter, 0u);
    EXPECT_EQ(cookie->created_milliseconds, c.milliseconds);
    EXPECT_EQ(kiv_find_cookie(&admin, std::strcpy(page.last<char>(15), std::string(c.text, 14).c_str())), nullptr);
    EXPECT_EQ(kiv_find_cookie(&admin, (c.text + std::string("longer")).c_str()), cookie);
    admin.counter = UINT32_MAX;  // in use
    EXPECT_EQ(kiv_make_cookie(&admin, 0, nullptr, nullptr)->serial, 0u);
    kiv_destroy_cookie_admin(&admin);
  }
}

TEST(Cookie, GoesStaleAtItsLifetime) {
  const struct {
    double lifetime;
    uint32_t seconds, milliseconds;
    int stale;
  } cases[] = {
      {0.2, 10, 100, 1}, {std::nextafter(0.2, 1), 10, 100, 0},
      {0.0, 99, 0, 0},   {std::nan(""), 99, 0, 0},
      {-1, 99, 0, 0},    {5e-324, 9, 900, 0},
      {1, 8, 0, 0},      {4294967285, ~0u, 0, 1},
  };
  for (const auto &c : cases) {
    const KIV_COOKIE cookie = {0, 9, 900, "", c.lifetime};
    EXPECT_EQ(kiv_cookie_has_gone_stale(&cookie, c.seconds, c.milliseconds), c.stale)
        << c.lifetime << " at " << c.seconds << '.' << c.milliseconds;
  }
}

TEST(Cookie, FailureLeavesNothingBehind) {
  int made = 0;
  // The heap fails earlier or later, at last not before all texts of a millisecond are taken, and the clock stands
  // still.
  platform = {};
  for (uint32_t point = 0; platform.log.size() < 1000 && made < 100; ++point) {
    platform = {point, UINT32_MAX};
    KIV_COOKIE_ADMIN admin;
    kiv_init_cookie_admin(&admin);
    for (made = 0; kiv_make_cookie(&admin, 0, nullptr, nullptr) != nullptr; ++made) {
    }
    EXPECT_EQ(kiv_avl_count_nodes(admin.by_text), made);
    EXPECT_EQ(kiv_avl_count_nodes(admin.by_serial), made);
    kiv_destroy_cookie_admin(&admin);
    EXPECT_EQ(platform.live, 0u);
  }
  EXPECT_EQ(made, 64);
}

/// An administration and what should be in it: cookies for 10 seconds; they meddle when they go stale.
struct World {
  void make() {
    KIV_COOKIE *cookie = kiv_make_cookie(&admin, 10, on_stale, this);
    alive[cookie->serial] = cookie;
  }

  static void on_stale(KIV_COOKIE *cookie) {
    auto &[admin, alive, told, random] = *static_cast<World *>(cookie->user);
    EXPECT_EQ(kiv_find_cookie(&admin, cookie->text), cookie);
    EXPECT_GT(cookie->serial, told);
    told = cookie->serial;
    EXPECT_EQ(alive.erase(cookie->serial), 1u);
    const uint32_t choice = below(random, 8);
    if (choice < 3) static_cast<World *>(cookie->user)->make();
    if (choice == 2) kiv_remove_stale_cookies(&admin);
    if (choice == 3) kiv_destroy_cookie(&admin, cookie);
    if (choice >= 4 && !alive.empty()) {
      const auto victim = std::next(alive.begin(), below(random, static_cast<uint32_t>(alive.size())));
      kiv_destroy_cookie(&admin, victim->second);
      alive.erase(victim);
    }
  }

  KIV_COOKIE_ADMIN admin;
  std::map<uint32_t, KIV_COOKIE *> alive;
  int64_t told = -1;
  std::mt19937_64 random = kiv::test::make_random();
};

TEST(Cookie, CallbacksMayChangeWhatIsSwept) {
  SCOPED_TRACE(kiv::test::seed());
  platform = {};
  now = {};
  platform.on_sleep = [] { now.seconds += ++now.milliseconds / 1000, now.milliseconds %= 1000; };
  World world;
  kiv_init_cookie_admin(&world.admin);
  for (int round = 0; round < 100; ++round) {
    for (uint32_t i = below(world.random, 100); i > 0; --i) world.make();
    for (uint32_t i = below(world.random, 40); i > 0; --i) kiv_make_cookie(&world.admin, 10, nullptr, nullptr);
    now.seconds += 10;
    const uint32_t end = world.admin.counter;
    kiv_remove_stale_cookies(&world.admin);
    EXPECT_EQ(kiv_avl_count_nodes(world.admin.by_text), world.alive.size());
    EXPECT_EQ(kiv_avl_count_nodes(world.admin.by_serial), world.alive.size());
    for (const auto &[serial, cookie] : world.alive) {
      EXPECT_GE(serial, end);
      EXPECT_EQ(kiv_find_cookie(&world.admin, cookie->text), cookie);
    }
  }
  kiv_destroy_cookie_admin(&world.admin);
  EXPECT_EQ(platform.live, 0u);
}

}  // namespace
