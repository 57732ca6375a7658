#include "kiv_prq.h"

#include <climits>
#include <deque>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;

using Calls = std::vector<std::pair<const void *, const void *>>;

/// By the word's value, with the extreme results, of which one cannot be negated.
int compare_words(const void *a, const void *b, void *calls) {
  static_cast<Calls *>(calls)->emplace_back(a, b);
  return a < b ? INT_MIN : a > b ? INT_MAX : 0;
}

/// What the caller has: the payload is its address.
struct Owner {
  KIV_PRQ_KEY key;
  uint32_t position;
};

/// Few different keys, so that many are equal, which differ in every word of theirs.
KIV_PRQ_KEY random_key(std::mt19937_64 &random, uint32_t key_kind) {
  const auto number = [&] { return static_cast<uint64_t>(below(random, 3)) << 62 | (UINT32_MAX - below(random, 3)); };
  KIV_PRQ_KEY key = {};
  if (key_kind == KIV_PRQ_KEY_U64) key.u64 = number();
  if (key_kind == KIV_PRQ_KEY_U128) key.u128 = {number(), number()};
  if (key_kind >= KIV_PRQ_KEY_CUSTOM) key.word = reinterpret_cast<void *>(below(random, 10) * (UINTPTR_MAX / 10));
  return key;
}

/// Done step by step with exchanges, without positions and an array of its own to resize: an oracle for the arrangement
/// of the entries, for the calls of the compare callback and for the capacity.
struct NaivePrq {
  uint32_t capacity, key_kind, smallest_first;
  KIV_PRQ_COMPARE compare;
  void *context;
  std::vector<KIV_PRQ_ENTRY> entries;

  int order(const KIV_PRQ_ENTRY &x, const KIV_PRQ_ENTRY &y) const {
    const KIV_PRQ_KEY &a = x.key, &b = y.key;
    int result = 0;
    if (key_kind == KIV_PRQ_KEY_U64) result = (a.u64 > b.u64) - (a.u64 < b.u64);
    if (key_kind == KIV_PRQ_KEY_U128) result = kiv_u128_cmp(&a.u128, &b.u128);
    if (key_kind == KIV_PRQ_KEY_CUSTOM) result = compare(a.word, b.word, context);
    const int sign = (result > 0) - (result < 0);
    return smallest_first != 0 ? -sign : sign;
  }

  bool insert(const KIV_PRQ_ENTRY &entry, bool no_memory) {
    if (entries.size() == capacity && no_memory) return false;
    if (entries.size() == capacity) capacity = capacity != 0 ? capacity * 2 : 1;
    entries.push_back(entry);
    for (size_t i = entries.size() - 1, up; i > 0 && order(entries[up = (i - 1) / 2], entries[i]) < 0; i = up) {
      std::swap(entries[i], entries[up]);
    }
    return true;
  }

  /// Of the top entry: the same without a look at what is above.
  void remove(size_t i, bool is_top, bool no_memory) {
    if (i >= entries.size()) return;
    const KIV_PRQ_ENTRY removed = entries[i], last = entries.back();
    entries[i] = last;
    entries.pop_back();
    if (i < entries.size() && (is_top || order(last, removed) < 0)) {
      sift_down(i);
    } else if (i < entries.size()) {
      for (size_t up; i > 0 && order(last, entries[up = (i - 1) / 2]) > 0; i = up) std::swap(entries[i], entries[up]);
    }
    shrink(no_memory);
  }

  void sift_down(size_t i) {
    for (size_t largest = i;; i = largest) {
      for (const size_t child : {2 * i + 1, 2 * i + 2}) {
        if (child < entries.size() && order(entries[child], entries[largest]) > 0) largest = child;
      }
      if (largest == i) return;
      std::swap(entries[i], entries[largest]);
    }
  }

  void shrink(bool no_memory) {
    const uint32_t half = (capacity + 1) / 2;
    if (entries.size() < half && !no_memory) capacity = half;
  }
};

void expect_same(const KIV_PRQ *queue, const NaivePrq &naive, const CountingAllocator &allocator) {
  ASSERT_EQ(queue->count, naive.entries.size());
  ASSERT_EQ(queue->capacity, naive.capacity);
  ASSERT_EQ(allocator.size_of(queue->entries), queue->capacity * sizeof(KIV_PRQ_ENTRY));
  for (uint32_t i = 0; i < queue->count; ++i) {
    ASSERT_EQ(queue->entries[i].position, naive.entries[i].position) << "entry " << i;
    ASSERT_EQ(queue->entries[i].payload, naive.entries[i].payload) << "entry " << i;
    ASSERT_EQ(*queue->entries[i].position, i);
  }
}

/// Inserts, from step `filled` on among removals, on a queue and on the naive one, which are compared after each of
/// these.
void run_beside_naive(std::mt19937_64 &random, uint32_t key_kind, uint32_t smallest_first, uint32_t filled,
                      uint32_t steps) {
  CountingAllocator allocator;
  Calls calls, naive_calls;
  NaivePrq naive{below(random, 4), key_kind, smallest_first, compare_words, &naive_calls, {}};
  KIV_PRQ *queue = kiv_prq_new(allocator.record(), naive.capacity, key_kind, smallest_first, compare_words, &calls);
  std::deque<Owner> owners;
  for (uint32_t step = 0; step < steps; ++step) {
    SCOPED_TRACE(step);
    const bool no_memory = below(random, 8) == 0;
    allocator.fail_at(no_memory ? 1 : 0);
    const uint32_t action = below(random, 100);
    if (step < filled || action < (step / 256 % 2 == 0 ? 70 : 30)) {
      Owner &owner = owners.emplace_back(Owner{random_key(random, key_kind), UINT32_MAX});
      const void *key = key_kind < KIV_PRQ_KEY_CUSTOM ? &owner.key : owner.key.word;
      if (key_kind < KIV_PRQ_KEY_CUSTOM && queue->count > 0 && below(random, 4) == 0) {
        owner.key = queue->entries[0].key;
        key = &queue->entries[0].key;
      }
      const bool inserted = naive.insert({owner.key, &owner, &owner.position}, no_memory);
      ASSERT_EQ(kiv_prq_insert(queue, key, &owner, &owner.position), inserted ? 0 : 1);
      if (!inserted) ASSERT_EQ(owner.position, UINT32_MAX);
    } else if (action < 80) {
      ASSERT_EQ(kiv_prq_extract_top(queue), naive.entries.empty() ? nullptr : naive.entries[0].payload);
      naive.remove(0, true, no_memory);
    } else if (action < 99 || filled > 0) {
      const uint32_t index = below(random, queue->count + 2);  // one or two too many are ignored
      kiv_prq_remove(queue, index);
      naive.remove(index, false, no_memory);
    } else {
      kiv_prq_remove_all(queue);
      naive.entries.clear();
      naive.shrink(no_memory);
    }
    if (step >= filled) ASSERT_NO_FATAL_FAILURE(expect_same(queue, naive, allocator));
    ASSERT_EQ(calls, naive_calls);
    calls.clear();
    naive_calls.clear();
  }
  kiv_prq_delete(queue);
}

TEST(Prq, IsArrangedLikeTheNaiveOne) {
  std::mt19937_64 random = kiv::test::make_random();
  for (const uint32_t key_kind : {0, 1, 2, 3}) {
    for (const uint32_t smallest_first : {0, 1, 0, 1}) run_beside_naive(random, key_kind, smallest_first, 0, 800);
  }
  // More entries than the caches hold go other ways.
  run_beside_naive(random, KIV_PRQ_KEY_U64, 0, 80000, 80050);
}

TEST(Prq, SurvivesFailingAllocationsAndRefusesWhatNeedsMoreThan32Bits) {
  constexpr uint32_t kMost = UINT32_MAX / sizeof(KIV_PRQ_ENTRY);
  const uint32_t failures = kiv::test::sweep_failures([](CountingAllocator &allocator) {
    EXPECT_EQ(kiv_prq_new(allocator.record(), kMost + 1, 0, 0, nullptr, nullptr), nullptr);
    KIV_PRQ *queue = kiv_prq_new(allocator.record(), 1, 0, 0, nullptr, nullptr);
    Owner owner = {};
    if (queue != nullptr) {
      queue->count = queue->capacity = kMost / 2 + 1;
      EXPECT_EQ(kiv_prq_insert(queue, &owner.key, &owner, &owner.position), 1);
    }
    kiv_prq_delete(queue);
  });
  EXPECT_EQ(failures, 2u);
}

}  // namespace
