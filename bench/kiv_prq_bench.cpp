// The priority queue beside std::priority_queue and Boost's heaps: records of the caller's with distinct 64-bit keys,
// the largest first, out of which any can be removed. Positions or handles are kept in each record, except by
// std::priority_queue, which removes nothing but the top.
//
// The orders of the records in memory, of their keys and of the removals are independent of each other.

#include <algorithm>
#include <boost/heap/binomial_heap.hpp>
#include <boost/heap/d_ary_heap.hpp>
#include <boost/heap/fibonacci_heap.hpp>
#include <boost/heap/pairing_heap.hpp>
#include <boost/heap/skew_heap.hpp>
#include <cstdint>
#include <numeric>
#include <queue>
#include <random>
#include <vector>

#include "bench_support.h"
#include "kiv_allocator.h"
#include "kiv_prq.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

/// What the caller has. Place is where a queue finds it.
template <class Place>
struct Record {
  uint64_t key;
  Place place;
};

/// What queues of values hold.
template <class Record>
struct Entry {
  uint64_t key;
  Record *record;
  bool operator<(const Entry &other) const { return key < other.key; }
};

// --- Contestants -----------------------------------------------------------------------------------------------------

struct Ours {
  static constexpr const char *kName = "ours";
  static constexpr bool kRemovesAny = true;
  using Record = ::Record<uint32_t>;

  Ours() { queue = kiv_prq_new(kiv_allocator_default_new(&heap), 1, KIV_PRQ_KEY_U64, 0, nullptr, nullptr); }
  Ours(const Ours &) = delete;
  ~Ours() {
    kiv_prq_delete(queue);
    kiv_allocator_default_delete(&heap);
  }
  void push(Record *record) { (void)kiv_prq_insert(queue, &record->key, record, &record->place); }
  Record *pop() { return static_cast<Record *>(kiv_prq_extract_top(queue)); }
  void remove(const Record *record) { kiv_prq_remove(queue, record->place); }
  bool empty() const { return queue->count == 0; }

  KIV_ALLOCATOR heap;
  KIV_PRQ *queue;
};

/// A plain binary heap in an array, of the same entries, for one kind of key and with nothing around it.
struct Hand {
  static constexpr const char *kName = "hand";
  static constexpr bool kRemovesAny = true;
  using Record = ::Record<uint32_t>;

  void put(size_t index, const KIV_PRQ_ENTRY &slot) {
    slots[index] = slot;
    *slot.position = static_cast<uint32_t>(index);
  }
  void up(size_t hole, const KIV_PRQ_ENTRY &slot) {
    for (size_t parent; hole > 0 && slots[parent = (hole - 1) / 2].key.u64 < slot.key.u64; hole = parent) {
      put(hole, slots[parent]);
    }
    put(hole, slot);
  }
  void down(size_t hole, const KIV_PRQ_ENTRY &slot) {
    for (size_t child; (child = 2 * hole + 1) < slots.size(); hole = child) {
      if (child + 1 < slots.size() && slots[child].key.u64 < slots[child + 1].key.u64) ++child;
      if (slots[child].key.u64 <= slot.key.u64) break;
      put(hole, slots[child]);
    }
    put(hole, slot);
  }
  void push(Record *record) {
    slots.push_back({});
    up(slots.size() - 1, {{record->key}, record, &record->place});
  }
  Record *pop() {
    auto *const top = static_cast<Record *>(slots[0].payload);
    const KIV_PRQ_ENTRY last = slots.back();
    slots.pop_back();
    if (!slots.empty()) down(0, last);
    return top;
  }
  void remove(const Record *record) {
    const size_t index = record->place;
    const KIV_PRQ_ENTRY last = slots.back();
    slots.pop_back();
    if (index == slots.size()) return;
    if (last.key.u64 < slots[index].key.u64) {
      down(index, last);
    } else {
      up(index, last);
    }
  }
  bool empty() const { return slots.empty(); }

  std::vector<KIV_PRQ_ENTRY> slots;
};

struct Std {
  static constexpr const char *kName = "std::priority_queue";
  static constexpr bool kRemovesAny = false;
  using Record = ::Record<uint32_t>;

  void push(Record *record) { queue.push({record->key, record}); }
  Record *pop() {
    Record *const top = queue.top().record;
    queue.pop();
    return top;
  }
  void remove(const Record *) {}
  bool empty() const { return queue.empty(); }

  std::priority_queue<Entry<Record>> queue;
};

/// A heap of boost's of entries for a type of records, which cannot name its own handles before it is defined.
struct BoostRecord;
using BoostEntry = Entry<BoostRecord>;
using DAry4 = boost::heap::d_ary_heap<BoostEntry, boost::heap::arity<4>, boost::heap::mutable_<true>>;
using Fibonacci = boost::heap::fibonacci_heap<BoostEntry>;
using Pairing = boost::heap::pairing_heap<BoostEntry>;
using Binomial = boost::heap::binomial_heap<BoostEntry>;
using Skew = boost::heap::skew_heap<BoostEntry, boost::heap::mutable_<true>>;
/// All handles are one pointer; each heap puts its own here.
union BoostHandle {
  BoostHandle() : none(nullptr) {}
  void *none;
  DAry4::handle_type d_ary;
  Fibonacci::handle_type fibonacci;
  Pairing::handle_type pairing;
  Binomial::handle_type binomial;
  Skew::handle_type skew;
};
struct BoostRecord : ::Record<BoostHandle> {};

template <class Heap, auto kHandle, const char *kHeapName>
struct Boost {
  static constexpr const char *kName = kHeapName;
  static constexpr bool kRemovesAny = true;
  using Record = BoostRecord;

  void push(Record *record) { record->place.*kHandle = heap.push({record->key, record}); }
  Record *pop() {
    Record *const top = heap.top().record;
    heap.pop();
    return top;
  }
  void remove(const Record *record) { heap.erase(record->place.*kHandle); }
  bool empty() const { return heap.empty(); }

  Heap heap;
};

constexpr char kDAry4Name[] = "boost d_ary<4>";
constexpr char kFibonacciName[] = "boost fibonacci";
constexpr char kPairingName[] = "boost pairing";
constexpr char kBinomialName[] = "boost binomial";
constexpr char kSkewName[] = "boost skew";

// --- Work ------------------------------------------------------------------------------------------------------------

/// What one size is measured with: many rounds of few records, so that the branch predictor cannot learn them.
struct Workload {
  explicit Workload(size_t size) : rounds(std::max<size_t>(1, kLeastOperations / size)), keys(size * rounds) {
    std::mt19937_64 random(size);
    for (size_t round = 0; round < rounds; ++round) {
      const auto first = keys.begin() + static_cast<std::ptrdiff_t>(round * size);
      std::iota(first, first + static_cast<std::ptrdiff_t>(size), 1);
      std::shuffle(first, first + static_cast<std::ptrdiff_t>(size), random);
    }
    removals.resize(size);
    std::iota(removals.begin(), removals.end(), 0);
    std::shuffle(removals.begin(), removals.end(), random);
  }

  size_t size() const { return removals.size(); }

  static constexpr size_t kLeastOperations = 200000;
  size_t rounds;
  std::vector<uint64_t> keys;      ///< of every round's records
  std::vector<uint32_t> removals;  ///< records, in the order in which they are removed
};

struct Seconds {
  double push = 0;
  double pop = 0;
  double remove = 0;
};

/// Fills and empties queues, in rounds.
template <class Queue>
Seconds time_rounds(const Workload &work, bool pops) {
  Seconds seconds;
  std::vector<typename Queue::Record> records(work.size());
  for (size_t round = 0; round < work.rounds; ++round) {
    for (size_t i = 0; i < work.size(); ++i) records[i].key = work.keys[round * work.size() + i];
    Queue queue;
    const Stopwatch pushing;
    for (auto &record : records) queue.push(&record);
    seconds.push += pushing.seconds();
    if (pops) {
      bool descending = true;
      const Stopwatch popping;
      for (uint64_t key = work.size(); key > 0; --key) descending &= queue.pop()->key == key;
      seconds.pop += popping.seconds();
      require(descending, Queue::kName, "order of pops");
    } else {
      const Stopwatch removing;
      for (const uint32_t i : work.removals) queue.remove(&records[i]);
      seconds.remove += removing.seconds();
    }
    require(queue.empty(), Queue::kName, "entries left");
  }
  return seconds;
}

template <class Queue>
void add_contestant(const Workload *work) {
  const int iterations = work->size() <= 100000 ? 2 : 1;
  const size_t operations = work->size() * work->rounds;
  const auto name = [work](const char *operation) {
    return kiv::bench::name("prq", operation, work->size(), Queue::kName);
  };
  kiv::bench::add(name("push"), iterations, operations, [work] { return time_rounds<Queue>(*work, true).push; });
  kiv::bench::add(name("pop"), iterations, operations, [work] { return time_rounds<Queue>(*work, true).pop; });
  if (Queue::kRemovesAny) {
    kiv::bench::add(name("remove"), iterations, operations, [work] { return time_rounds<Queue>(*work, false).remove; });
  }
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  std::vector<Workload> workloads;
  for (const size_t size : {1000, 100000, 1000000}) workloads.emplace_back(size);
  for (const Workload &work : workloads) {
    add_contestant<Ours>(&work);
    add_contestant<Hand>(&work);
    add_contestant<Std>(&work);
    add_contestant<Boost<DAry4, &BoostHandle::d_ary, kDAry4Name>>(&work);
    add_contestant<Boost<Fibonacci, &BoostHandle::fibonacci, kFibonacciName>>(&work);
    add_contestant<Boost<Pairing, &BoostHandle::pairing, kPairingName>>(&work);
    add_contestant<Boost<Binomial, &BoostHandle::binomial, kBinomialName>>(&work);
    add_contestant<Boost<Skew, &BoostHandle::skew, kSkewName>>(&work);
  }
  return kiv::bench::run(argc, argv);
}
