// Cookies found by their text, beside std::map of std::string, std::unordered_map and GLib's GHashTable. The cookies
// are ours; the others get their texts as keys, and the cookies as values. All are asked by a pointer to a text.

#include <glib.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench_support.h"
#include "kiv_cookie.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

/// Cookies, and in which order they are looked for. To make them takes a millisecond for every 64: once is enough.
struct Workload {
  explicit Workload(size_t size) {
    kiv_init_cookie_admin(&admin);
    for (size_t i = 0; i < size; ++i) {
      KIV_COOKIE *cookie = kiv_make_cookie(&admin, 0, nullptr, nullptr);
      require(cookie != nullptr, "ours", "a cookie");
      cookies.push_back(cookie);
    }
    std::mt19937_64 random(size);
    for (size_t i = 0; i < std::max<size_t>(size, 1 << 16); ++i) {
      const KIV_COOKIE *cookie = cookies[random() % size];
      wanted.emplace_back(cookie->text);
      serials += cookie->serial;
    }
  }
  Workload(const Workload &) = delete;
  ~Workload() { kiv_destroy_cookie_admin(&admin); }

  KIV_COOKIE_ADMIN admin;
  std::vector<KIV_COOKIE *> cookies;
  std::vector<std::string> wanted;
  uint64_t serials = 0;  // the sum of what is found
};

struct Ours {
  static constexpr const char *kName = "ours";
  explicit Ours(Workload &work) : admin(&work.admin) {}
  const KIV_COOKIE *find(const char *text) const { return kiv_find_cookie(admin, text); }
  KIV_COOKIE_ADMIN *admin;
};

template <class Map>
struct Standard {
  explicit Standard(Workload &work) {
    for (KIV_COOKIE *cookie : work.cookies) map.emplace(cookie->text, cookie);
  }
  const KIV_COOKIE *find(const char *text) const {
    const auto found = map.find(std::string_view(text));
    return found != map.end() ? found->second : nullptr;
  }
  Map map;
};

struct StdMap : Standard<std::map<std::string, KIV_COOKIE *, std::less<>>> {
  static constexpr const char *kName = "std::map";
  using Standard::Standard;
};

struct Hash : std::hash<std::string_view> {
  using is_transparent = void;
};
struct StdHash : Standard<std::unordered_map<std::string, KIV_COOKIE *, Hash, std::equal_to<>>> {
  static constexpr const char *kName = "unordered_map";
  using Standard::Standard;
};

struct GHash {
  static constexpr const char *kName = "GHashTable";
  explicit GHash(Workload &work) : table(g_hash_table_new(g_str_hash, g_str_equal)) {
    for (KIV_COOKIE *cookie : work.cookies) g_hash_table_insert(table, cookie->text, cookie);
  }
  GHash(const GHash &) = delete;
  ~GHash() { g_hash_table_destroy(table); }
  const KIV_COOKIE *find(const char *text) const {
    return static_cast<const KIV_COOKIE *>(g_hash_table_lookup(table, text));
  }
  GHashTable *table;
};

template <class Set>
void add(Workload &work) {
  kiv::bench::add(kiv::bench::name("cookie", "find", work.cookies.size(), Set::kName), 5, work.wanted.size(), [&work] {
    const Set set(work);
    uint64_t serials = 0;
    const Stopwatch stopwatch;
    for (const std::string &text : work.wanted) serials += set.find(text.c_str())->serial;
    const double seconds = stopwatch.seconds();
    require(serials == work.serials, Set::kName, "cookies");
    return seconds;
  });
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  static Workload small(1000), large(100000);
  for (Workload *work : {&small, &large}) {
    add<Ours>(*work);
    add<StdMap>(*work);
    add<StdHash>(*work);
    add<GHash>(*work);
  }
  return kiv::bench::run(argc, argv);
}
