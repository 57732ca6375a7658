// Cookies: staleness, texts to look for, and random lives beside a model, with callbacks that meddle.

#include "kiv_cookie.h"

#include <cmath>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/guarded_page.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;

TEST(Cookie, GoesStaleAtItsLifetime) {
  const struct {
    double lifetime;
    uint32_t now_seconds, now_milliseconds;
    int stale;
  } cases[] = {
      {0.2, 10, 100, 1},       {std::nextafter(0.2, 1), 10, 100, 0},
      {0.2, 10, 99, 0},        {-1, 99, 0, 0},
      {0.0, 99, 0, 0},         {std::nan(""), 99, 0, 0},
      {HUGE_VAL, ~0u, 0, 0},   {5e-324, 9, 900, 0},
      {5e-324, 9, 901, 1},     {1, 8, 0, 0},
      {1, 10, 899, 0},         {1, 10, 900, 1},
      {4294967286, ~0u, 0, 0},  // 9.9 seconds short of 2^32 - 1 - 9.9
      {4294967285, ~0u, 0, 1},
  };
  for (const auto &c : cases) {
    const KIV_COOKIE cookie = {0, 9, 900, "", c.lifetime};
    EXPECT_EQ(kiv_cookie_has_gone_stale(&cookie, c.now_seconds, c.now_milliseconds), c.stale)
        << c.lifetime << " at " << c.now_seconds << '.' << c.now_milliseconds;
  }
  EXPECT_EQ(kiv_cookie_has_gone_stale(nullptr, 9, 9), 0);
}

TEST(Cookie, IsFoundByItsFirst15Characters) {
  kiv::test::GuardedPage page;
  KIV_COOKIE_ADMIN admin;
  kiv_init_cookie_admin(&admin);
  KIV_COOKIE *cookie = kiv_make_cookie(&admin, 0, nullptr, &page);
  ASSERT_NE(cookie, nullptr);
  EXPECT_EQ(cookie->user, &page);
  for (size_t length = 0; length <= 15; ++length) {
    char *text = page.last<char>(length + 1);
    std::memcpy(text, cookie->text, length);
    text[length] = '\0';
    EXPECT_EQ(kiv_find_cookie(&admin, text), length == 15 ? cookie : nullptr);
  }
  EXPECT_EQ(kiv_find_cookie(&admin, (cookie->text + std::string("longer")).c_str()), cookie);
  EXPECT_EQ(kiv_find_cookie(&admin, nullptr), nullptr);
  EXPECT_EQ(kiv_find_cookie(nullptr, cookie->text), nullptr);
  // Serial numbers come again; those in use are passed over.
  admin.counter = UINT32_MAX;
  EXPECT_EQ(kiv_make_cookie(&admin, 0, nullptr, nullptr)->serial, UINT32_MAX);
  EXPECT_EQ(kiv_make_cookie(&admin, 0, nullptr, nullptr)->serial, 1u);
  kiv_destroy_cookie_admin(&admin);
  EXPECT_EQ(admin.by_text, nullptr);
  EXPECT_EQ(admin.by_serial, nullptr);
}

/// An administration and what should be in it.
struct World {
  World() { kiv_init_cookie_admin(&admin); }
  ~World() { kiv_destroy_cookie_admin(&admin); }

  void make(bool stale, bool tells) {
    KIV_COOKIE *cookie = kiv_make_cookie(&admin, stale ? 10 : 1e6, tells ? on_stale : nullptr, this);
    ASSERT_NE(cookie, nullptr);
    if (stale) cookie->created_seconds -= 20;
    untold += stale && tells;
    EXPECT_TRUE(alive.emplace(cookie->serial, Entry{cookie, stale}).second);
  }

  void destroy(uint32_t serial) {
    const auto [cookie, stale] = alive.at(serial);
    untold -= stale && cookie->on_stale != nullptr;
    alive.erase(serial);
    kiv_destroy_cookie(&admin, cookie);
  }

  uint32_t any() { return std::next(alive.begin(), below(random, static_cast<uint32_t>(alive.size())))->first; }

  void sweep() {
    kiv_remove_stale_cookies(&admin);
    forget_stale(UINT32_MAX);
  }

  /// What a sweep has removed when it comes to a serial number.
  void forget_stale(uint32_t end) {
    std::erase_if(alive, [end](const auto &entry) { return entry.second.stale && entry.first < end; });
  }

  static void on_stale(KIV_COOKIE *cookie) {
    auto *world = static_cast<World *>(cookie->user);
    const uint32_t serial = cookie->serial;
    EXPECT_EQ(kiv_find_cookie(&world->admin, cookie->text), cookie);
    EXPECT_TRUE(world->told.empty() || world->told.back() < serial);
    world->told.push_back(serial);
    --world->untold;
    world->forget_stale(serial);
    const uint32_t choice = below(world->random, 10);
    if (choice < 2) world->make(false, true);
    if (choice < 4) world->destroy(world->any());
    if (choice == 4) world->sweep();
    if (choice == 5) world->destroy(serial);
  }

  void check() {
    EXPECT_EQ(kiv_avl_count_nodes(admin.by_text), alive.size());
    EXPECT_EQ(kiv_avl_count_nodes(admin.by_serial), alive.size());
    for (const auto &[serial, entry] : alive) {
      ASSERT_EQ(entry.cookie->serial, serial);
      ASSERT_EQ(std::strlen(entry.cookie->text), 15u);
      ASSERT_EQ(kiv_find_cookie(&admin, entry.cookie->text), entry.cookie);
    }
  }

  struct Entry {
    KIV_COOKIE *cookie;
    bool stale;
  };
  KIV_COOKIE_ADMIN admin;
  std::map<uint32_t, Entry> alive;
  std::vector<uint32_t> told;
  int untold = 0;  // stale cookies that will be told
  std::mt19937_64 random = kiv::test::make_random();
};

TEST(Cookie, LivesAsTheModelSays) {
  SCOPED_TRACE(kiv::test::seed());
  World world;
  for (int round = 0; round < 40 && !HasFailure(); ++round) {
    for (uint32_t i = below(world.random, 40); i > 0; --i) {
      const bool stale = below(world.random, 2) != 0, tells = below(world.random, 4) != 0;
      world.make(stale, tells);
    }
    if (!world.alive.empty()) world.destroy(world.any());
    world.check();
    world.told.clear();
    world.sweep();
    EXPECT_EQ(world.untold, 0);
    world.check();
  }
}

}  // namespace
