// Key-value sets beside std::map of std::u32string: keys that look like the symbols of a program, many with long common
// beginnings. Both copy keys and values, on the C runtime's heap.
//
// Both are asked by a pointer to a terminated text. The map is ordered by std::less<> and gets a string view of it, so
// that it neither makes a temporary string nor measures the key again in every comparison.

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "bench_support.h"
#include "kiv_string_kvset.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

using Text = std::u32string;

KIV_STRING units(const Text &text) {
  return const_cast<KIV_STRING>(reinterpret_cast<const KIV_UNICHAR *>(text.c_str()));
}

/// A walk's function: folds the beginnings of the values so that their order matters.
void fold_value(const uint32_t *value, uint64_t *fold) { *fold = *fold * 31 + value[0]; }

// --- Contestants -----------------------------------------------------------------------------------------------------

struct Ours {
  static constexpr const char *kName = "ours";

  Ours() : set(kiv_string_kvset_new(kiv_allocator_default_new(&allocator), 1, 1)) {}
  Ours(const Ours &) = delete;
  ~Ours() { kiv_string_kvset_delete(set); }

  void add(const Text &key, const Text &value) {
    kiv_string_kvset_add(set, nullptr, units(key), nullptr, units(value));
  }
  const uint32_t *find(const Text &key) { return kiv_string_kvset_find(set, nullptr, units(key)); }
  const uint32_t *nearest(const Text &key) {
    KIV_STRING_KVSET_PAIR *pair = nullptr;
    kiv_string_kvset_find_least_greater_or_equal2(&allocator, set, nullptr, units(key), &pair);
    return pair != nullptr ? pair->value : nullptr;
  }
  const uint32_t *next(const Text &key) {
    const KIV_STRING_KVSET_PAIR element = {units(key), nullptr};
    const KIV_STRING_KVSET_PAIR *pair = kiv_string_kvset_find_least_greater(set, &element);
    return pair != nullptr ? pair->value : nullptr;
  }
  uint64_t walk() {
    uint64_t fold = 0;
    const auto visit = [](void *pair, void *context) {
      fold_value(static_cast<KIV_STRING_KVSET_PAIR *>(pair)->value, static_cast<uint64_t *>(context));
      return 1;
    };
    kiv_avl_sequential_walk(set->tree, visit, &fold);
    return fold;
  }

  KIV_ALLOCATOR allocator;
  KIV_STRING_KVSET *set;
};

struct StdMap {
  static constexpr const char *kName = "std::map";

  void add(const Text &key, const Text &value) { map.insert_or_assign(key.c_str(), value.c_str()); }
  const uint32_t *find(const Text &key) { return value_at(map.find(std::u32string_view(key.c_str()))); }
  const uint32_t *nearest(const Text &key) { return value_at(map.lower_bound(std::u32string_view(key.c_str()))); }
  const uint32_t *next(const Text &key) { return value_at(map.upper_bound(std::u32string_view(key.c_str()))); }
  uint64_t walk() {
    uint64_t fold = 0;
    for (const auto &entry : map) fold_value(units(entry.second), &fold);
    return fold;
  }

  using Map = std::map<Text, Text, std::less<>>;
  const uint32_t *value_at(Map::const_iterator found) { return found != map.end() ? units(found->second) : nullptr; }
  Map map;
};

// --- Work ------------------------------------------------------------------------------------------------------------

/// Keys, orders in which they come and are looked for, and the right answers, from a sorted list.
struct Workload {
  explicit Workload(size_t size) : rounds(std::max<size_t>(1, kLeastOperations / size)) {
    std::mt19937_64 random(size);
    while (keys.size() < size) {
      while (keys.size() < size) keys.push_back(symbol(random));
      std::sort(keys.begin(), keys.end());
      keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    }
    for (size_t i = 0; i < size; ++i) {
      values.push_back(Text(1, static_cast<char32_t>(i + 1)) + U" a value");
      walk_fold = walk_fold * 31 + i + 1;
      order.push_back(i);
    }
    std::shuffle(order.begin(), order.end(), random);
    for (size_t i = 0; i < rounds * size; ++i) {
      const size_t rank = random() % size;
      wanted.push_back(keys[rank]);
      // Behind the key, before every longer one.
      near.push_back(keys[rank] + U'\1');
      wanted_sum += rank + 1;
      near_sum += rank + 1 < size ? rank + 2 : 0;
    }
  }

  static Text symbol(std::mt19937_64 &random) {
    static const char *const words[] = {"avl",     "basic_string", "cache",  "debug", "find", "get",
                                        "handler", "insert",       "list",   "map",   "node", "parser",
                                        "print",   "queue",        "symbol", "tree"};
    Text name = random() % 2 == 0 ? U"kiv_" : U"_ZN4llvm";
    for (size_t parts = 1 + random() % 4; parts > 0; --parts) {
      const std::string_view word = words[random() % std::size(words)];
      name.append(word.begin(), word.end());
      name += U'_';
    }
    for (uint64_t number = random() % 100000; number != 0; number /= 10)
      name += static_cast<char32_t>('0' + number % 10);
    return name;
  }

  static constexpr size_t kLeastOperations = 1 << 16;
  size_t rounds;
  std::vector<Text> keys, values;  // ascending
  std::vector<size_t> order;
  std::vector<Text> wanted, near;
  uint64_t wanted_sum = 0, near_sum = 0, walk_fold = 0;
};

template <class Set>
void fill(const Workload &work, Set *set) {
  for (const size_t i : work.order) set->add(work.keys[i], work.values[i]);
}

template <class Set>
double time_adds(const Workload &work) {
  double seconds = 0;
  for (size_t i = 0; i < work.rounds; ++i) {
    Set set;
    const Stopwatch stopwatch;
    fill(work, &set);
    seconds += stopwatch.seconds();
    require(set.walk() == work.walk_fold, Set::kName, "walk after adding");
  }
  return seconds;
}

template <class Set, class Search>
double time_searches(const std::vector<Text> &keys, Set *set, uint64_t right_sum, Search search) {
  uint64_t sum = 0;
  const Stopwatch stopwatch;
  for (const Text &key : keys) {
    const uint32_t *value = search(set, key);
    sum += value != nullptr ? *value : 0;
  }
  const double seconds = stopwatch.seconds();
  require(sum == right_sum, Set::kName, "search");
  return seconds;
}

template <class Set>
double time_walks(const Workload &work, Set *set) {
  uint64_t folds = 0;
  const Stopwatch stopwatch;
  for (size_t i = 0; i < work.rounds; ++i) folds += set->walk();
  const double seconds = stopwatch.seconds();
  require(folds == work.walk_fold * work.rounds, Set::kName, "walk");
  return seconds;
}

/// The set that all searches and walks of a contestant and size use; it lives as long as the program.
template <class Set>
Set *standing_set(const Workload &work) {
  static std::map<const Workload *, Set *> sets;
  Set *&set = sets[&work];
  if (set == nullptr) {
    kiv::bench::settle_heap();
    set = new Set;
    fill(work, set);
  }
  return set;
}

template <class Set>
void add_contestant(const Workload *work) {
  const size_t size = work->keys.size(), operations = work->rounds * size;
  const int iterations = size <= 1000 ? 5 : 3;
  const auto name = [size](const char *operation) { return kiv::bench::name("kvset", operation, size, Set::kName); };
  kiv::bench::add(name("add"), iterations, operations, [work] { return time_adds<Set>(*work); });
  kiv::bench::add(name("find"), iterations, operations, [work] {
    return time_searches(work->wanted, standing_set<Set>(*work), work->wanted_sum,
                         [](Set *set, const Text &key) { return set->find(key); });
  });
  kiv::bench::add(name("find absent"), iterations, operations, [work] {
    return time_searches(work->near, standing_set<Set>(*work), 0,
                         [](Set *set, const Text &key) { return set->find(key); });
  });
  kiv::bench::add(name("nearest"), iterations, operations, [work] {
    return time_searches(work->near, standing_set<Set>(*work), work->near_sum,
                         [](Set *set, const Text &key) { return set->nearest(key); });
  });
  kiv::bench::add(name("next"), iterations, operations, [work] {
    return time_searches(work->wanted, standing_set<Set>(*work), work->near_sum,
                         [](Set *set, const Text &key) { return set->next(key); });
  });
  kiv::bench::add(name("walk"), iterations, operations, [work] { return time_walks(*work, standing_set<Set>(*work)); });
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  std::vector<Workload> workloads;
  for (const size_t size : {1000, 100000}) workloads.emplace_back(size);
  for (const Workload &work : workloads) {
    add_contestant<Ours>(&work);
    add_contestant<StdMap>(&work);
  }
  return kiv::bench::run(argc, argv);
}
