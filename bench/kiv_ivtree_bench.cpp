// The interval tree beside the ways in which programs without one look for intervals: std::multimap and a sorted vector
// by low bound, which remember the length of the longest interval and look at all that begin so far before the query;
// and boost's interval_map of sets.
//
// "even" intervals are all short; in "nested" ones, one in a hundred is some hundred times as long as the others.

#include <algorithm>
#include <boost/icl/interval_map.hpp>
#include <cstdint>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <set>
#include <vector>

#include "bench_support.h"
#include "kiv_ivtree.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

struct Interval {
  uint64_t low, high;
  uint64_t weight() const { return low * 3 + high; }
};

using Intervals = std::vector<Interval>;

// --- Contestants: insert() gives a handle for remove(), sum() adds the weights of the intervals that meet a range
// ------

struct Ours {
  static constexpr const char *kName = "ours";
  static constexpr size_t kMost = SIZE_MAX;
  using Handle = KIV_IVTREE_NODE *;

  explicit Ours(const Intervals &) {}
  Ours(const Ours &) = delete;
  ~Ours() { kiv_ivtree_delete(tree); }
  Handle insert(const Interval &interval) { return kiv_ivtree_insert_node(tree, nullptr, interval.low, interval.high); }
  void remove(Handle node) { kiv_ivtree_remove_node(tree, node); }
  void complete() {}
  uint64_t sum(const Interval &range) {
    uint64_t sum = 0;
    kiv_ivtree_enumerate_overlapping(tree, &allocator, range.low, range.high, add, &sum);
    return sum;
  }
  static int add(KIV_IVTREE *, KIV_IVTREE_NODE *node, void *sum) {
    *static_cast<uint64_t *>(sum) += Interval{node->low, node->high}.weight();
    return 1;
  }

  KIV_ALLOCATOR allocator;
  KIV_IVTREE *tree = kiv_ivtree_new(nullptr, kiv_allocator_default_new(&allocator));
};

struct Multimap {
  static constexpr const char *kName = "std::multimap";
  static constexpr size_t kMost = SIZE_MAX;
  using Handle = std::multimap<uint64_t, uint64_t>::iterator;

  explicit Multimap(const Intervals &) {}
  Handle insert(const Interval &interval) {
    longest = std::max(longest, interval.high - interval.low);
    return map.emplace(interval.low, interval.high);
  }
  void remove(Handle handle) { map.erase(handle); }
  void complete() {}
  uint64_t sum(const Interval &range) {
    uint64_t sum = 0;
    auto next = map.lower_bound(range.low - std::min(range.low, longest));
    for (; next != map.end() && next->first <= range.high; ++next) {
      if (next->second >= range.low) sum += Interval{next->first, next->second}.weight();
    }
    return sum;
  }

  std::multimap<uint64_t, uint64_t> map;
  uint64_t longest = 0;
};

/// Built at once; nothing can be inserted or removed later.
struct SortedVector {
  static constexpr const char *kName = "hand";
  static constexpr size_t kMost = SIZE_MAX;
  using Handle = int;

  explicit SortedVector(const Intervals &) {}
  Handle insert(const Interval &interval) {
    longest = std::max(longest, interval.high - interval.low);
    intervals.push_back(interval);
    return 0;
  }
  void complete() { std::sort(intervals.begin(), intervals.end(), before); }
  uint64_t sum(const Interval &range) {
    uint64_t sum = 0;
    auto next = std::lower_bound(intervals.begin(), intervals.end(),
                                 Interval{range.low - std::min(range.low, longest), 0}, before);
    for (; next != intervals.end() && next->low <= range.high; ++next) {
      if (next->high >= range.low) sum += next->weight();
    }
    return sum;
  }
  static bool before(const Interval &a, const Interval &b) { return a.low < b.low; }

  Intervals intervals;
  uint64_t longest = 0;
};

/// Cuts intervals where others begin and end, and keeps the set of those that hold each piece.
struct IntervalMap {
  static constexpr const char *kName = "icl::interval_map";
  static constexpr size_t kMost = 100000;  // larger ones take too long to build
  using Set = std::set<uint32_t>;
  using Map = boost::icl::interval_map<uint64_t, Set>;
  using Handle = uint32_t;

  explicit IntervalMap(const Intervals &all) : intervals(all) {}
  static auto closed(const Interval &interval) { return Map::interval_type::closed(interval.low, interval.high); }
  Handle insert(const Interval &interval) {
    const auto index = static_cast<uint32_t>(&interval - intervals.data());
    map += std::pair(closed(interval), Set{index});
    return index;
  }
  void remove(Handle index) { map -= std::pair(closed(intervals[index]), Set{index}); }
  void complete() {}
  uint64_t sum(const Interval &range) {
    Set met;
    const auto [begin, end] = map.equal_range(closed(range));
    for (auto piece = begin; piece != end; ++piece) met.insert(piece->second.begin(), piece->second.end());
    uint64_t sum = 0;
    for (const uint32_t index : met) sum += intervals[index].weight();
    return sum;
  }

  const Intervals &intervals;
  Map map;
};

// --- Work ------------------------------------------------------------------------------------------------------------

/// Intervals, the orders in which they come and go, ranges to ask for, and the right answers: all that begin before the
/// end of a range, without those that end before its beginning.
struct Workload {
  Workload(const char *kind_of_intervals, size_t size, bool nested)
      : kind(kind_of_intervals), rounds(std::max<size_t>(1, kLeastOperations / size)), intervals(size) {
    std::mt19937_64 random(size);
    for (Interval &interval : intervals) {
      interval.low = random() % (64 * size);
      interval.high = interval.low + random() % (nested && random() % 100 == 0 ? 12800 : 128);
    }
    std::vector<uint32_t> order(size);
    std::iota(order.begin(), order.end(), 0);
    for (size_t round = 0; round < rounds; ++round) {
      for (auto *orders : {&insert_orders, &remove_orders}) {
        std::shuffle(order.begin(), order.end(), random);
        orders->push_back(order);
      }
    }
    for (size_t i = 0; i < kSearches; ++i) {
      const uint64_t at = random() % (64 * size);
      points.push_back({at, at});
      ranges.push_back({at, at + 640});
    }
    const auto by_bound = [](const auto &a, const auto &b) { return a.first < b.first; };
    std::vector<std::pair<uint64_t, uint64_t>> begins, ends;  // bound, then the sum of the weights up to there
    for (const Interval &interval : intervals) {
      begins.push_back({interval.low, interval.weight()});
      ends.push_back({interval.high, interval.weight()});
    }
    for (auto *bounds : {&begins, &ends}) {
      std::sort(bounds->begin(), bounds->end(), by_bound);
      for (size_t i = 1; i < size; ++i) (*bounds)[i].second += (*bounds)[i - 1].second;
    }
    const auto sum_before = [&](const auto &bounds, uint64_t bound) {
      const auto found = std::lower_bound(bounds.begin(), bounds.end(), std::pair(bound, uint64_t{0}), by_bound);
      return found != bounds.begin() ? (found - 1)->second : 0;
    };
    const auto right_sum = [&](uint64_t sum, const Interval &range) {
      return sum + sum_before(begins, range.high + 1) - sum_before(ends, range.low);
    };
    points_sum = std::accumulate(points.begin(), points.end(), uint64_t{0}, right_sum);
    ranges_sum = std::accumulate(ranges.begin(), ranges.end(), uint64_t{0}, right_sum);
  }

  static constexpr size_t kLeastOperations = 1 << 16;
  static constexpr size_t kSearches = 1 << 16;
  const char *kind;
  size_t rounds;
  Intervals intervals;
  std::vector<std::vector<uint32_t>> insert_orders, remove_orders;  // one for each round: no branch can be learnt
  Intervals points, ranges;
  uint64_t points_sum = 0, ranges_sum = 0;
};

/// Gives the handle of each interval.
template <class Set>
std::vector<typename Set::Handle> fill(Set *set, const Workload &work, size_t round) {
  std::vector<typename Set::Handle> handles(work.intervals.size());
  for (const uint32_t index : work.insert_orders[round]) handles[index] = set->insert(work.intervals[index]);
  set->complete();
  return handles;
}

template <class Set>
double time_searches(Set *set, const Intervals &ranges, uint64_t right_sum) {
  uint64_t sum = 0;
  const Stopwatch stopwatch;
  for (const Interval &range : ranges) sum += set->sum(range);
  const double seconds = stopwatch.seconds();
  require(sum == right_sum, Set::kName, "search");
  return seconds;
}

template <class Set>
double time_builds(const Workload &work) {
  double seconds = 0;
  for (size_t round = 0; round < work.rounds; ++round) {
    Set set(work.intervals);
    const Stopwatch stopwatch;
    fill(&set, work, round);
    seconds += stopwatch.seconds();
    if (round == 0) time_searches(&set, work.points, work.points_sum);
  }
  return seconds;
}

template <class Set>
double time_removes(const Workload &work) {
  double seconds = 0;
  for (size_t round = 0; round < work.rounds; ++round) {
    Set set(work.intervals);
    const auto handles = fill(&set, work, round);
    const Stopwatch stopwatch;
    for (const uint32_t index : work.remove_orders[round]) set.remove(handles[index]);
    seconds += stopwatch.seconds();
    time_searches(&set, {{0, UINT64_MAX}}, 0);
  }
  return seconds;
}

/// What all searches of a contestant and a workload use; it lives as long as the program.
template <class Set>
Set *standing_set(const Workload &work) {
  static std::map<const Workload *, std::unique_ptr<Set>> sets;
  auto &set = sets[&work];
  if (set == nullptr) {
    kiv::bench::settle_heap();
    set = std::make_unique<Set>(work.intervals);
    fill(set.get(), work, 0);
  }
  return set.get();
}

template <class Set>
void add_contestant(const Workload *work) {
  const size_t size = work->intervals.size();
  if (size > Set::kMost) return;
  const int iterations = size <= 1000 ? 5 : size <= 100000 ? 2 : 1;
  const auto name = [=](const std::string &operation) {
    return kiv::bench::name("ivtree", (operation + ", " + work->kind).c_str(), size, Set::kName);
  };
  const size_t operations = size * work->rounds;
  kiv::bench::add(name("build"), iterations, operations, [=] { return time_builds<Set>(*work); });
  kiv::bench::add(name("stab"), iterations, Workload::kSearches,
                  [=] { return time_searches(standing_set<Set>(*work), work->points, work->points_sum); });
  kiv::bench::add(name("range"), iterations, Workload::kSearches,
                  [=] { return time_searches(standing_set<Set>(*work), work->ranges, work->ranges_sum); });
  if constexpr (!std::is_same_v<Set, SortedVector>) {
    kiv::bench::add(name("remove"), iterations, operations, [=] { return time_removes<Set>(*work); });
  }
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  std::vector<Workload> workloads;
  for (const size_t size : {1000, 100000, 1000000}) {
    workloads.emplace_back("even", size, false);
    workloads.emplace_back("nested", size, true);
  }
  for (const Workload &work : workloads) {
    add_contestant<Ours>(&work);
    add_contestant<Multimap>(&work);
    add_contestant<SortedVector>(&work);
    add_contestant<IntervalMap>(&work);
  }
  return kiv::bench::run(argc, argv);
}
