// The hashtable beside GLib's GHashTable, std::unordered_set, uthash and APR's hash: sets of keys that stay where the
// caller has them, 64-bit numbers and symbol names in 32-bit units, with one hash and one compare function for all,
// called through pointers. uthash has no pointers to functions: it is told to call the same ones. APR compares bytes.
//
// "weak names" have the hash that is built in for strings. "numbers" and "names" take their memory from the C runtime's
// heap. "arena ..." is what a reader of symbols does: ours stands on the library's fast allocator, the standard's set
// on a monotonic buffer, and APR's is on its pool anyway.
//
// Three orders are independent of each other: that of the keys in memory, of the puts, and of the operation that is
// timed. A probe is another copy of its key.

#include <apr_general.h>
#include <apr_hash.h>
#include <glib.h>
#include <uthash.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory_resource>
#include <numeric>
#include <random>
#include <unordered_set>
#include <vector>

#include "bench_support.h"
#include "kiv_hashtable.h"
#include "kiv_string.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr uint32_t kChunkSize = 64 << 10;

// --- Keys: a kind has the hash and the compare function that all contestants call ------------------------------------

/// Kept out of line: every contestant calls these.
struct Numbers {
  static constexpr const char *kName = "numbers";
  [[gnu::noinline]] static uint32_t hash(const void *key) {
    return static_cast<uint32_t>(*static_cast<const uint64_t *>(key) * 0x9E3779B97F4A7C15 >> 32);
  }
  [[gnu::noinline]] static int compare(const void *key, const void *element) {
    const auto a = *static_cast<const uint64_t *>(key), b = *static_cast<const uint64_t *>(element);
    return (a > b) - (a < b);
  }
  static size_t units(const KIV_UNICHAR *) { return 2; }
  /// Different for different numbers, and without any order.
  static void make(uint64_t number, std::vector<KIV_UNICHAR> *out) {
    number = (number ^ number >> 30) * 0xBF58476D1CE4E5B9;
    number = (number ^ number >> 27) * 0x94D049BB133111EB;
    out->push_back(static_cast<KIV_UNICHAR>(number));
    out->push_back(static_cast<KIV_UNICHAR>(number >> 32));
  }
};

struct Names {
  static constexpr const char *kName = "names";
  [[gnu::noinline]] static uint32_t hash(const void *key) {
    uint32_t hash = 0x811C9DC5;
    for (auto unit = static_cast<const KIV_UNICHAR *>(key); *unit != 0; ++unit) hash = (hash ^ *unit) * 0x01000193;
    return hash;
  }
  [[gnu::noinline]] static int compare(const void *key, const void *element) {
    return kiv_string_compare(static_cast<const KIV_UNICHAR *>(key), static_cast<const KIV_UNICHAR *>(element));
  }
  static size_t units(const KIV_UNICHAR *key) { return kiv_string_length(key) + 1; }
  /// A mangled name of a method.
  static void make(uint64_t number, std::vector<KIV_UNICHAR> *out) {
    static const char *const parts[] = {"3dbg",   "6Symbol", "5Table", "6Reader", "4Line",   "7Program",
                                        "5Frame", "6Memory", "3get",   "4find",   "6insert", "5parse",
                                        "4read",  "6remove", "4size",  "5begin"};
    std::string name = "_ZN";
    for (uint64_t rest = number; rest != 0; rest >>= 4) name += parts[rest % 16];
    name += "E" + std::to_string(number % 7) + (number % 2 != 0 ? "PKcj" : "v");
    out->insert(out->end(), name.begin(), name.end());
    out->push_back(0);
    if (out->size() % 2 != 0) out->push_back(0);  // so that numbers could follow
  }
};

/// With the hash that is built in for strings: names in ASCII have 128 different ones at most.
struct WeakNames : Names {
  static constexpr const char *kName = "weak names";
  [[gnu::noinline]] static uint32_t hash(const void *key) {
    uint32_t hash = 0;
    for (auto unit = static_cast<const KIV_UNICHAR *>(key); *unit != 0; ++unit) hash ^= *unit;
    return hash;
  }
};

// --- Contestants -----------------------------------------------------------------------------------------------------

KIV_ALLOCATOR *default_allocator() {
  static KIV_ALLOCATOR *allocator = kiv_allocator_default_new(nullptr);
  return allocator;
}

template <class Keys>
struct Ours {
  static constexpr const char *kName = "ours";
  explicit Ours(size_t, KIV_ALLOCATOR *allocator = default_allocator())
      : table(kiv_hashtable_new(allocator, 0, 0, Keys::hash, Keys::compare, [](const void *entry) { return entry; })) {}
  Ours(const Ours &) = delete;
  ~Ours() { kiv_hashtable_delete(table); }
  void put(void *key) { kiv_hashtable_put(table, key); }
  const void *find(void *key) { return kiv_hashtable_get(table, key); }
  void remove(void *key) { kiv_hashtable_remove(table, key); }
  KIV_HASHTABLE *table;
};

struct FastAllocator {
  FastAllocator() {
    require(kiv_allocator_fast_new(&record, default_allocator(), 0, nullptr, 0, kChunkSize) == 0, "ours", "fast_new");
  }
  ~FastAllocator() { kiv_allocator_fast_delete(&record); }
  KIV_ALLOCATOR record;
};

template <class Keys>
struct OursInArena : FastAllocator, Ours<Keys> {
  explicit OursInArena(size_t n) : Ours<Keys>(n, &record) {}
};

template <class Keys>
struct GlibTable {
  static constexpr const char *kName = "GHashTable";
  explicit GlibTable(size_t)
      : table(g_hash_table_new(Keys::hash,
                               [](const void *a, const void *b) -> gboolean { return Keys::compare(a, b) == 0; })) {}
  GlibTable(const GlibTable &) = delete;
  ~GlibTable() { g_hash_table_destroy(table); }
  void put(void *key) { g_hash_table_add(table, key); }
  const void *find(void *key) { return g_hash_table_lookup(table, key); }
  void remove(void *key) { g_hash_table_remove(table, key); }
  GHashTable *table;
};

struct HashThrough {
  uint32_t (*hash)(const void *);
  size_t operator()(const void *key) const { return hash(key); }
};

struct EqualThrough {
  int (*compare)(const void *, const void *);
  bool operator()(const void *a, const void *b) const { return compare(a, b) == 0; }
};

using StdTable = std::unordered_set<void *, HashThrough, EqualThrough>;
using PmrTable = std::pmr::unordered_set<void *, HashThrough, EqualThrough>;

template <class Keys, class Table = StdTable>
struct StdSet {
  static constexpr const char *kName = "unordered_set";
  template <class... Resource>
  explicit StdSet(size_t, Resource... resource)
      : table(1, HashThrough{Keys::hash}, EqualThrough{Keys::compare}, resource...) {}
  void put(void *key) { table.insert(key); }
  const void *find(void *key) {
    const auto found = table.find(key);
    return found != table.end() ? *found : nullptr;
  }
  void remove(void *key) { table.erase(key); }
  Table table;
};

struct MonotonicBuffer {
  std::pmr::monotonic_buffer_resource buffer{kChunkSize};
};

template <class Keys>
struct StdSetInArena : MonotonicBuffer, StdSet<Keys, PmrTable> {
  static constexpr const char *kName = "pmr set";
  explicit StdSetInArena(size_t n) : StdSet<Keys, PmrTable>(n, &buffer) {}
};

#undef HASH_FUNCTION
#undef HASH_KEYCMP
#define HASH_FUNCTION(key, length, result) (result) = Keys::hash(key)
#define HASH_KEYCMP(a, b, length) Keys::compare(a, b)

/// Its handles are part of what is stored; there is room for them from the start.
template <class Keys>
struct Uthash {
  static constexpr const char *kName = "uthash";
  struct Node {
    void *key;
    UT_hash_handle hh;
  };
  explicit Uthash(size_t n) : nodes(n) {}
  Uthash(const Uthash &) = delete;
  ~Uthash() { HASH_CLEAR(hh, table); }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
  Node *node(void *key) {
    Node *found;
    HASH_FIND(hh, table, key, 1, found);
    return found;
  }
  void put(void *key) {
    if (node(key) != nullptr) return;
    Node *added = &nodes[used++];
    added->key = key;
    HASH_ADD_KEYPTR(hh, table, key, 1, added);
  }
  void remove(void *key) {
    Node *found = node(key);
    if (found != nullptr) HASH_DEL(table, found);
  }
#pragma GCC diagnostic pop
  const void *find(void *key) {
    Node *found = node(key);
    return found != nullptr ? found->key : nullptr;
  }
  std::vector<Node> nodes;
  size_t used = 0;
  Node *table = nullptr;
};

template <class Keys>
struct AprHash {
  static constexpr const char *kName = "apr_hash";
  explicit AprHash(size_t) {
    apr_pool_create(&pool, nullptr);
    table = apr_hash_make_custom(pool, [](const char *key, apr_ssize_t *) { return Keys::hash(key); });
  }
  AprHash(const AprHash &) = delete;
  ~AprHash() { apr_pool_destroy(pool); }
  static apr_ssize_t size(void *key) {
    return static_cast<apr_ssize_t>(Keys::units(static_cast<KIV_UNICHAR *>(key)) * sizeof(KIV_UNICHAR));
  }
  void put(void *key) { apr_hash_set(table, key, size(key), key); }
  const void *find(void *key) { return apr_hash_get(table, key, size(key)); }
  void remove(void *key) { apr_hash_set(table, key, size(key), nullptr); }
  apr_pool_t *pool;
  apr_hash_t *table;
};

// --- Workload --------------------------------------------------------------------------------------------------------

/// Small tables are filled several times, each time with other keys, so that the processor cannot learn the run.
struct Workload {
  static constexpr size_t kLeastOperations = 50000;

  static size_t rounds(size_t size) { return std::max<size_t>(1, kLeastOperations / size); }

  /// Keys with even numbers that are stored, and as many with odd ones that are not, in random places of memory.
  template <class Keys>
  static Workload make(size_t size) {
    Workload work;
    const size_t keys = size * rounds(size);
    std::mt19937_64 random(size);
    // What is stored, what is absent, and probes for what is stored: all different, and names of eight parts each.
    std::vector<uint64_t> numbers(3 * keys);
    for (size_t i = 0; i < keys; ++i) {
      numbers[i] = numbers[2 * keys + i] = uint64_t{1} << 32 | 2 * (i * 0x9E3779B1 % (uint64_t{1} << 31));
      numbers[keys + i] = numbers[i] + 1;
    }
    std::vector<size_t> places(numbers.size()), offsets(numbers.size());
    std::iota(places.begin(), places.end(), 0);
    std::shuffle(places.begin(), places.end(), random);
    for (const size_t i : places) {
      offsets[i] = work.storage.size();
      Keys::make(numbers[i], &work.storage);
    }
    const auto addresses = [&](size_t part, size_t first) {
      std::vector<void *> made;
      for (size_t i = 0; i < size; ++i) made.push_back(&work.storage[offsets[part * keys + first + i]]);
      std::shuffle(made.begin(), made.end(), random);
      return made;
    };
    for (size_t first = 0; first < keys; first += size) {
      work.rounds_of_keys.push_back({addresses(0, first), addresses(1, first), addresses(2, first)});
    }
    return work;
  }

  struct Round {
    std::vector<void *> stored, absent, probes;
    uintptr_t sum() const {
      uintptr_t of_addresses = 0;
      for (const void *key : stored) of_addresses += reinterpret_cast<uintptr_t>(key);
      return of_addresses;
    }
  };
  std::vector<KIV_UNICHAR> storage;
  std::vector<Round> rounds_of_keys;
};

/// Made when it is first used.
template <class Keys>
const Workload &workload(size_t size) {
  static std::map<size_t, Workload> made;
  if (made.count(size) == 0) made.emplace(size, Workload::make<Keys>(size));
  return made.at(size);
}

template <class Table>
void fill(Table *table, const std::vector<void *> &keys) {
  for (void *key : keys) table->put(key);
}

template <class Table>
uintptr_t sum_of(Table *table, const std::vector<void *> &probes) {
  uintptr_t sum = 0;
  for (void *key : probes) sum += reinterpret_cast<uintptr_t>(table->find(key));
  return sum;
}

enum class Operation { put, hit, miss, remove };

/// The seconds that one round of an operation takes.
template <class Table>
double time_round(Operation operation, const Workload::Round &round) {
  Table table(round.stored.size());
  if (operation != Operation::put) fill(&table, round.stored);
  uintptr_t sum = 0;
  const Stopwatch stopwatch;
  switch (operation) {
    case Operation::put:
      fill(&table, round.stored);
      break;
    case Operation::hit:
      sum = sum_of(&table, round.probes);
      break;
    case Operation::miss:
      sum = sum_of(&table, round.absent);
      break;
    case Operation::remove:
      for (void *key : round.probes) table.remove(key);
  }
  const double seconds = stopwatch.seconds();
  if (operation == Operation::put || operation == Operation::remove) sum = sum_of(&table, round.probes);
  const bool found = operation == Operation::put || operation == Operation::hit;
  require(sum == (found ? round.sum() : 0), Table::kName, "sum of the keys found");
  return seconds;
}

template <class Keys, class Table>
void add_contestant(const std::string &kind, size_t size) {
  const int iterations = size <= 1000 ? 5 : size <= 100000 ? 2 : 1;
  static const std::pair<const char *, Operation> operations[] = {
      {" put", Operation::put}, {" hit", Operation::hit}, {" miss", Operation::miss}, {" remove", Operation::remove}};
  for (const auto &[operation_name, operation] : operations) {
    const std::string name = kiv::bench::name("hashtable", (kind + operation_name).c_str(), size, Table::kName);
    kiv::bench::add(name, iterations, size * Workload::rounds(size), [size, operation = operation] {
      double seconds = 0;
      for (const auto &round : workload<Keys>(size).rounds_of_keys) seconds += time_round<Table>(operation, round);
      return seconds;
    });
  }
}

template <class Keys>
void add_all(size_t size) {
  const std::string kind = Keys::kName;
  add_contestant<Keys, Ours<Keys>>(kind, size);
  add_contestant<Keys, GlibTable<Keys>>(kind, size);
  add_contestant<Keys, StdSet<Keys>>(kind, size);
  add_contestant<Keys, Uthash<Keys>>(kind, size);
  add_contestant<Keys, AprHash<Keys>>(kind, size);
}

template <class Keys>
void add_arena(size_t size) {
  const std::string arena = std::string("arena ") + Keys::kName;
  add_contestant<Keys, OursInArena<Keys>>(arena, size);
  add_contestant<Keys, StdSetInArena<Keys>>(arena, size);
  add_contestant<Keys, AprHash<Keys>>(arena, size);
}

}  // namespace

int main(int argc, char **argv) {
  setenv("G_SLICE", "always-malloc", 1);  // as in later versions of GLib
  kiv::bench::keep_heap();
  apr_initialize();
  for (const size_t size : {1000, 100000, 1000000}) {
    add_all<Numbers>(size);
    add_all<Names>(size);
    add_arena<Numbers>(size);
    add_arena<Names>(size);
  }
  add_all<WeakNames>(1000);
  return kiv::bench::run(argc, argv);
}
