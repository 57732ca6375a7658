// The AVL tree beside GLib's GTree, the C library's tsearch and std::map: ordered maps with a compare function that the
// caller gives as a pointer, of records that stay where the caller has them.
//
// Three orders are independent of each other: that of the records in memory, that of their keys, and that of the
// operations. Present keys are even, absent ones odd.

#include <glib.h>
#include <search.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <numeric>
#include <random>
#include <vector>

#include "bench_support.h"
#include "kiv_avl.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

struct Record {
  uint64_t key;
};

/// Every contestant calls this one through a pointer. Free of branches: a mispredicted one would hide the tree's cost.
[[gnu::noinline]] int compare_records(const void *key, const void *value) {
  const uint64_t a = static_cast<const Record *>(key)->key;
  const uint64_t b = static_cast<const Record *>(value)->key;
  return (a > b) - (a < b);
}

/// A walk's function: folds the keys so that their order matters.
[[gnu::noinline]] int fold_key(void *value, void *fold) {
  auto *sum = static_cast<uint64_t *>(fold);
  *sum = *sum * 31 + static_cast<const Record *>(value)->key;
  return 1;
}

// --- Contestants -----------------------------------------------------------------------------------------------------

struct Ours {
  static constexpr const char *kName = "ours";
  static constexpr bool kHasNearest = true;

  Ours() = default;
  Ours(const Ours &) = delete;
  ~Ours() { kiv_avl_destroy_tree(tree); }
  bool insert(Record *record) { return kiv_avl_insert(tree, record) == 0; }
  const Record *find(const Record *key) { return static_cast<Record *>(kiv_avl_find(tree, key)); }
  const Record *largest_less_or_equal(const Record *key) {
    return static_cast<Record *>(kiv_avl_find_largest_less_or_equal(tree, key));
  }
  uint64_t walk() {
    uint64_t fold = 0;
    kiv_avl_sequential_walk(tree, fold_key, &fold);
    return fold;
  }
  void remove(const Record *key) { kiv_avl_delete(tree, key); }

  KIV_AVL_TREE *tree = kiv_avl_new(compare_records, nullptr, nullptr);
};

struct GlibTree {
  static constexpr const char *kName = "GTree";
  static constexpr bool kHasNearest = true;

  GlibTree() = default;
  GlibTree(const GlibTree &) = delete;
  ~GlibTree() { g_tree_destroy(tree); }
  bool insert(Record *record) {
    g_tree_insert(tree, record, record);
    return true;
  }
  const Record *find(const Record *key) { return static_cast<Record *>(g_tree_lookup(tree, key)); }
  const Record *largest_less_or_equal(const Record *key) {
    GTreeNode *above = g_tree_upper_bound(tree, key);
    GTreeNode *node = above != nullptr ? g_tree_node_previous(above) : g_tree_node_last(tree);
    return node != nullptr ? static_cast<Record *>(g_tree_node_value(node)) : nullptr;
  }
  uint64_t walk() {
    uint64_t fold = 0;
    g_tree_foreach(
        tree, [](gpointer, gpointer value, gpointer sum) -> gboolean { return fold_key(value, sum) == 0; }, &fold);
    return fold;
  }
  void remove(const Record *key) { g_tree_remove(tree, key); }

  GTree *tree = g_tree_new(compare_records);
};

struct LibcTree {
  static constexpr const char *kName = "tsearch";
  static constexpr bool kHasNearest = false;

  LibcTree() = default;
  LibcTree(const LibcTree &) = delete;
  ~LibcTree() {
    tdestroy(root, [](void *) {});
  }
  bool insert(Record *record) { return tsearch(record, &root, compare_records) != nullptr; }
  const Record *find(const Record *key) {
    void *node = tfind(key, &root, compare_records);
    return node != nullptr ? *static_cast<Record **>(node) : nullptr;
  }
  const Record *largest_less_or_equal(const Record *) { return nullptr; }
  uint64_t walk() {
    uint64_t fold = 0;
    twalk_r(
        root,
        [](const void *node, VISIT visit, void *sum) {
          if (visit == postorder || visit == leaf) fold_key(*static_cast<Record *const *>(node), sum);
        },
        &fold);
    return fold;
  }
  void remove(const Record *key) { tdelete(key, &root, compare_records); }

  void *root = nullptr;
};

struct StdMap {
  static constexpr const char *kName = "std::map";
  static constexpr bool kHasNearest = true;

  struct Less {
    int (*compare)(const void *, const void *) = compare_records;
    bool operator()(const Record *a, const Record *b) const { return compare(a, b) < 0; }
  };

  bool insert(Record *record) { return map.emplace(record, record).second; }
  const Record *find(const Record *key) {
    const auto found = map.find(key);
    return found != map.end() ? found->second : nullptr;
  }
  const Record *largest_less_or_equal(const Record *key) {
    auto above = map.upper_bound(key);
    return above != map.begin() ? (--above)->second : nullptr;
  }
  uint64_t walk() {
    uint64_t fold = 0;
    int (*volatile visit)(void *, void *) = fold_key;
    auto *const function = visit;
    for (const auto &entry : map) function(entry.second, &fold);
    return fold;
  }
  void remove(const Record *key) { map.erase(key); }

  std::map<const Record *, Record *, Less> map;
};

// --- Work ------------------------------------------------------------------------------------------------------------

/// What one size is measured with: records, the orders in which they come and go, keys to look for, and the right
/// answers, which follow from how the keys were made.
struct Workload {
  explicit Workload(size_t size)
      // So many different operations that the branch predictor cannot learn them.
      : rounds(std::max<size_t>(1, kLeastOperations / size)),
        searches(std::clamp<size_t>(size, kLeastOperations, kMostSearches)),
        records(size),
        by_key(size) {
    std::mt19937_64 random(size);
    std::vector<uint64_t> ranks(size);
    std::iota(ranks.begin(), ranks.end(), 0);
    std::shuffle(ranks.begin(), ranks.end(), random);
    for (size_t i = 0; i < size; ++i) {
      records[i].key = 2 * ranks[i];
      by_key[ranks[i]] = &records[i];
    }
    for (const Record *record : by_key) walk_fold = walk_fold * 31 + record->key;
    for (size_t i = 0; i < rounds; ++i) {
      insert_orders.push_back(by_key);
      std::shuffle(insert_orders.back().begin(), insert_orders.back().end(), random);
      remove_orders.push_back(by_key);
      std::shuffle(remove_orders.back().begin(), remove_orders.back().end(), random);
    }
    const auto rank = [&] { return random() % size; };
    for (size_t i = 0; i < searches; ++i) {
      present.push_back({2 * rank()});
      absent.push_back({2 * rank() + 1});
      nearest.push_back({2 * rank() + random() % 2});
      present_sum += index(by_key[present[i].key / 2]);
      nearest_sum += index(by_key[nearest[i].key / 2]);
    }
  }

  /// A record as a number that sums up; 0 for none.
  uint64_t index(const Record *record) const {
    return record != nullptr ? static_cast<uint64_t>(record - records.data()) + 1 : 0;
  }

  static constexpr size_t kLeastOperations = 1 << 16;
  static constexpr size_t kMostSearches = 200000;
  size_t rounds;
  size_t searches;
  std::vector<Record> records;
  std::vector<Record *> by_key;
  std::vector<std::vector<Record *>> insert_orders, remove_orders;  // one for each round
  std::vector<Record> present, absent, nearest;
  uint64_t present_sum = 0, nearest_sum = 0, walk_fold = 0;
};

template <class Map>
void fill(Map *map, const std::vector<Record *> &order) {
  for (Record *record : order) require(map->insert(record), Map::kName, "insert");
}

template <class Map>
double time_inserts(const Workload &work) {
  double seconds = 0;
  for (const auto &order : work.insert_orders) {
    Map map;
    const Stopwatch stopwatch;
    fill(&map, order);
    seconds += stopwatch.seconds();
    if (&order == &work.insert_orders.front()) require(map.walk() == work.walk_fold, Map::kName, "walk after inserts");
  }
  return seconds;
}

template <class Map>
double time_removes(const Workload &work) {
  double seconds = 0;
  for (size_t i = 0; i < work.rounds; ++i) {
    Map map;
    fill(&map, work.insert_orders[i]);
    const Stopwatch stopwatch;
    for (const Record *record : work.remove_orders[i]) map.remove(record);
    seconds += stopwatch.seconds();
    require(map.walk() == 0, Map::kName, "walk after removes");
  }
  return seconds;
}

/// Times search(map, key) for every key.
template <class Map, class Search>
double time_searches(const Workload &work, Map *map, const std::vector<Record> &keys, uint64_t right_sum,
                     const char *what, Search search) {
  uint64_t sum = 0;
  const Stopwatch stopwatch;
  for (const Record &key : keys) sum += work.index(search(map, &key));
  const double seconds = stopwatch.seconds();
  require(sum == right_sum, Map::kName, what);
  return seconds;
}

template <class Map>
double time_present(const Workload &work, Map *map) {
  return time_searches(work, map, work.present, work.present_sum, "find of present keys",
                       [](Map *in, const Record *key) { return in->find(key); });
}

template <class Map>
double time_absent(const Workload &work, Map *map) {
  return time_searches(work, map, work.absent, 0, "find of absent keys",
                       [](Map *in, const Record *key) { return in->find(key); });
}

template <class Map>
double time_nearest(const Workload &work, Map *map) {
  return time_searches(work, map, work.nearest, work.nearest_sum, "nearest search",
                       [](Map *in, const Record *key) { return in->largest_less_or_equal(key); });
}

template <class Map>
double time_walks(const Workload &work, Map *map) {
  uint64_t folds = 0;
  const Stopwatch stopwatch;
  for (size_t i = 0; i < work.rounds; ++i) folds += map->walk();
  const double seconds = stopwatch.seconds();
  require(folds == work.walk_fold * work.rounds, Map::kName, "walk");
  return seconds;
}

/// The tree that all searches and walks of a contestant and size use; it lives as long as the program.
template <class Map>
Map *standing_map(const Workload &work) {
  static std::map<const Workload *, Map *> maps;
  Map *&map = maps[&work];
  if (map == nullptr) {
    kiv::bench::settle_heap();
    map = new Map;
    fill(map, work.insert_orders.front());
  }
  return map;
}

template <class Map>
void add_contestant(const Workload *work) {
  const size_t size = work->records.size();
  const size_t values = size * work->rounds;
  const int iterations = size <= 1000 ? 5 : size <= 100000 ? 2 : 1;
  const auto name = [size](const char *operation) { return kiv::bench::name("avl", operation, size, Map::kName); };

  kiv::bench::add(name("insert"), iterations, values, [work] { return time_inserts<Map>(*work); });
  kiv::bench::add(name("find present"), iterations, work->searches,
                  [work] { return time_present(*work, standing_map<Map>(*work)); });
  kiv::bench::add(name("find absent"), iterations, work->searches,
                  [work] { return time_absent(*work, standing_map<Map>(*work)); });
  if (Map::kHasNearest) {
    kiv::bench::add(name("nearest"), iterations, work->searches,
                    [work] { return time_nearest(*work, standing_map<Map>(*work)); });
  }
  kiv::bench::add(name("walk"), iterations, values, [work] { return time_walks(*work, standing_map<Map>(*work)); });
  kiv::bench::add(name("delete"), iterations, values, [work] { return time_removes<Map>(*work); });
}

/// One untimed round of everything.
template <class Map>
void check_contestant(const Workload &work) {
  time_inserts<Map>(work);
  time_removes<Map>(work);
  Map map;
  fill(&map, work.insert_orders.front());
  time_present(work, &map);
  time_absent(work, &map);
  if (Map::kHasNearest) time_nearest(work, &map);
  time_walks(work, &map);
}

}  // namespace

int main(int argc, char **argv) {
  // GTree's nodes come from malloc like all others', as in later versions of GLib: its own slabs would give nodes back
  // in the order in which an earlier run has freed them. The variable is read with the first node.
  setenv("G_SLICE", "always-malloc", 1);
  kiv::bench::keep_heap();
  std::vector<Workload> workloads;
  for (const size_t size : {1000, 100000, 1000000}) workloads.emplace_back(size);
  for (const Workload &work : workloads) {
    if (work.records.size() <= 1000) {
      check_contestant<Ours>(work);
      check_contestant<GlibTree>(work);
      check_contestant<LibcTree>(work);
      check_contestant<StdMap>(work);
    }
    add_contestant<Ours>(&work);
    add_contestant<GlibTree>(&work);
    add_contestant<LibcTree>(&work);
    add_contestant<StdMap>(&work);
  }
  return kiv::bench::run(argc, argv);
}
