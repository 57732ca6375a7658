// Cookies: two trees of the same records.
//
// Invariants:
//  1. A cookie is in both trees or in neither; no two have the same serial number or the same text.
//  2. by_serial owns the cookies.
//  3. A text is 15 characters and the terminator, in a search key zero-filled from the terminator on: the order of all
//     16 bytes is that of the texts.

#include "kiv_cookie.h"

#include <cstring>
#include <utility>

#include "base/record_layout.h"
#include "kiv_time.h"
#include "os/platform.h"

KIV_LAYOUT_32(sizeof(KIV_COOKIE) == 48);
KIV_LAYOUT_32(offsetof(KIV_COOKIE, text) == 12 && offsetof(KIV_COOKIE, lifetime) == 32);
KIV_LAYOUT_32(offsetof(KIV_COOKIE, on_stale) == 40 && offsetof(KIV_COOKIE, user) == 44);
KIV_LAYOUT_32(sizeof(KIV_COOKIE_ADMIN) == 16);
KIV_LAYOUT_32(offsetof(KIV_COOKIE_ADMIN, by_serial) == 4 && offsetof(KIV_COOKIE_ADMIN, counter) == 8);

namespace {

constexpr unsigned kTextLength = KIV_COOKIE_TEXT_SIZE - 1;

// --- Texts -----------------------------------------------------------------------------------------------------------

constexpr uint32_t k24Bits = 0xFFFFFF;

/// A linear congruential generator of period 2^24. The six lowest bits have a period of 64, and nothing else of the
/// state gets into a text: that is all that keeps apart the texts of one millisecond.
uint32_t next_random(uint32_t x) { return (x * 125 + 34567) & k24Bits; }

char symbol(uint32_t index) { return "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_@"[index]; }

/// The text of a cookie that is made at `created`. Characters 0 to 7 mix the seconds with the random state, 8 to 11
/// the milliseconds with the seconds, the last three come from the random state alone.
void write_text(const KIV_TIME &created, uint32_t *random_state, char *text) {
  uint32_t seconds = created.seconds & k24Bits;
  uint32_t mixed = (created.milliseconds & k24Bits) ^ seconds;
  uint32_t scrambler = 0;
  uint32_t random = *random_state;
  for (int i = 0; i < 8; ++i, seconds >>= 4) {
    scrambler = next_random(scrambler);
    random = next_random(random);
    *text++ = symbol(((scrambler ^ seconds) & 15) + (random & 48));
  }
  for (int i = 0; i < 4; ++i, mixed >>= 6) {
    scrambler = next_random(scrambler ^ mixed);
    *text++ = symbol((scrambler ^ mixed) & 63);
  }
  for (int i = 0; i < 3; ++i) {
    random = next_random(random);
    *text++ = symbol(random & 63);
  }
  *text = '\0';
  *random_state = random;
}

// --- Orders ----------------------------------------------------------------------------------------------------------

uint64_t load_big_endian(const char *bytes) {
  uint64_t word;
  std::memcpy(&word, bytes, sizeof word);
  return __builtin_bswap64(word);
}

template <class Number>
int order(Number a, Number b) {
  return (a > b) - (a < b);
}

int compare_texts(const void *key, const void *value) {
  const char *a = static_cast<const KIV_COOKIE *>(key)->text;
  const char *b = static_cast<const KIV_COOKIE *>(value)->text;
  const int first = order(load_big_endian(a), load_big_endian(b));
  return first != 0 ? first : order(load_big_endian(a + 8), load_big_endian(b + 8));
}

int compare_serials(const void *key, const void *value) {
  return order(static_cast<const KIV_COOKIE *>(key)->serial, static_cast<const KIV_COOKIE *>(value)->serial);
}

// --- Making ----------------------------------------------------------------------------------------------------------

void free_cookie(void *cookie, void * /*context*/) { kiv::os::heap_free(cookie); }

/// After 2^32 cookies numbers come again; those of cookies that are alive are passed over.
void number(KIV_COOKIE_ADMIN *admin, KIV_COOKIE *cookie) {
  do cookie->serial = admin->counter++;
  while (kiv_avl_find(admin->by_serial, cookie) != nullptr);
}

/// Gives the cookie its time and a text that no other has. A millisecond whose texts are all taken is waited out; false
/// when that does not help, because the clock stands still.
bool stamp(KIV_COOKIE_ADMIN *admin, KIV_COOKIE *cookie) {
  constexpr int kPatienceMilliseconds = 1000;
  for (int waited = 0; waited <= kPatienceMilliseconds; ++waited) {
    if (waited > 0) kiv::os::sleep_milliseconds(1);
    KIV_TIME now;
    kiv_get_time(&now);
    cookie->created_seconds = now.seconds;
    cookie->created_milliseconds = now.milliseconds;
    write_text(now, &admin->random_state, cookie->text);
    if (kiv_avl_find(admin->by_text, cookie) == nullptr) return true;
  }
  return false;
}

bool insert(KIV_COOKIE_ADMIN *admin, KIV_COOKIE *cookie) {
  if (kiv_avl_insert(admin->by_text, cookie) != 0) return false;
  if (kiv_avl_insert(admin->by_serial, cookie) == 0) return true;
  kiv_avl_delete(admin->by_text, cookie);
  return false;
}

KIV_AVL_TREE *destroyed(KIV_AVL_TREE *tree) {
  return reinterpret_cast<KIV_AVL_TREE *>(static_cast<intptr_t>(kiv_avl_destroy_tree(tree)));
}

}  // namespace

void kiv_init_cookie_admin(KIV_COOKIE_ADMIN *admin) {
  if (admin == nullptr) return;
  KIV_TIME now;
  kiv_get_time(&now);
  admin->by_text = kiv_avl_new(compare_texts, nullptr, nullptr);
  admin->by_serial = kiv_avl_new(compare_serials, free_cookie, nullptr);
  admin->counter = 0;
  admin->random_state = now.seconds & k24Bits;
}

KIV_COOKIE *kiv_make_cookie(KIV_COOKIE_ADMIN *admin, double lifetime, KIV_COOKIE_ON_STALE on_stale, void *user) {
  if (admin == nullptr) return nullptr;
  auto *cookie = static_cast<KIV_COOKIE *>(kiv::os::heap_calloc(1, sizeof(KIV_COOKIE)));
  if (cookie == nullptr) return nullptr;
  number(admin, cookie);
  cookie->lifetime = lifetime;
  cookie->on_stale = on_stale;
  cookie->user = user;
  if (stamp(admin, cookie) && insert(admin, cookie)) return cookie;
  kiv::os::heap_free(cookie);
  return nullptr;
}

KIV_COOKIE *kiv_find_cookie(KIV_COOKIE_ADMIN *admin, const char *text) {
  if (admin == nullptr || text == nullptr) return nullptr;
  KIV_COOKIE key = {};
  std::memcpy(key.text, text, strnlen(text, kTextLength));
  return static_cast<KIV_COOKIE *>(kiv_avl_find(admin->by_text, &key));
}

void kiv_destroy_cookie(KIV_COOKIE_ADMIN *admin, KIV_COOKIE *cookie) {
  if (admin == nullptr || cookie == nullptr) return;
  kiv_avl_delete(admin->by_text, cookie);
  kiv_avl_delete(admin->by_serial, cookie);
}

int kiv_cookie_has_gone_stale(const KIV_COOKIE *cookie, uint32_t now_seconds, uint32_t now_milliseconds) {
  // A lifetime that is no number fails the first comparison.
  return cookie != nullptr && cookie->lifetime > 0 &&
         kiv_delta_time(now_seconds, now_milliseconds, cookie->created_seconds, cookie->created_milliseconds) >=
             cookie->lifetime;
}

// Callbacks may change the trees: between two cookies nothing is remembered but a serial number. A sweep goes as far as
// the cookies that there were when it began; callbacks that make new ones could keep it going after the clock was set
// back.
void kiv_remove_stale_cookies(KIV_COOKIE_ADMIN *admin) {
  if (admin == nullptr) return;
  KIV_TIME now;
  kiv_get_time(&now);
  const auto *newest = static_cast<KIV_COOKIE *>(kiv_avl_largest(admin->by_serial));
  if (newest == nullptr) return;
  const uint32_t last_serial = newest->serial;
  auto *cookie = static_cast<KIV_COOKIE *>(kiv_avl_least(admin->by_serial));
  KIV_COOKIE handled = {};
  while (cookie != nullptr && cookie->serial <= last_serial) {
    handled.serial = cookie->serial;
    if (kiv_cookie_has_gone_stale(cookie, now.seconds, now.milliseconds) != 0) {
      if (KIV_COOKIE_ON_STALE on_stale = std::exchange(cookie->on_stale, nullptr)) {
        on_stale(cookie);
        cookie = static_cast<KIV_COOKIE *>(kiv_avl_find(admin->by_serial, &handled));
      }
      kiv_destroy_cookie(admin, cookie);
    }
    cookie = static_cast<KIV_COOKIE *>(kiv_avl_find_least_greater(admin->by_serial, &handled));
  }
}

void kiv_destroy_cookie_admin(KIV_COOKIE_ADMIN *admin) {
  if (admin == nullptr) return;
  admin->by_text = destroyed(admin->by_text);
  admin->by_serial = destroyed(admin->by_serial);
}
