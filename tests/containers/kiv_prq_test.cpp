#include "kiv_prq.h"

#include <climits>
#include <cstring>
#include <deque>

#include "gtest/gtest.h"
#include "tests/containers/naive_prq.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;

using Calls = std::vector<std::pair<const void *, const void *>>;

/// By the word's value, with the extreme results, of which one cannot be negated.
int compare_words(const void *a, const void *b, void *calls) {
  if (calls != nullptr) static_cast<Calls *>(calls)->emplace_back(a, b);
  return a < b ? INT_MIN : a > b ? INT_MAX : 0;
}

const void *word(uintptr_t value) { return reinterpret_cast<const void *>(value); }

/// What the caller has: the payload is its address.
struct Owner {
  KIV_PRQ_KEY key;
  uint32_t position = UINT32_MAX;
};

/// Few different keys, so that many are equal, which differ in every word of theirs.
KIV_PRQ_KEY random_key(std::mt19937_64 &random, uint32_t key_kind) {
  const auto number = [&] { return static_cast<uint64_t>(below(random, 3)) << 32 | (UINT32_MAX - below(random, 3)); };
  KIV_PRQ_KEY key;
  std::memset(&key, 0xEE, sizeof key);
  if (key_kind == KIV_PRQ_KEY_U64) key.u64 = number() << (below(random, 2) * 30);
  if (key_kind == KIV_PRQ_KEY_U128) key.u128 = {number(), number()};
  if (key_kind >= KIV_PRQ_KEY_CUSTOM) key.word = word(below(random, 10) * (UINTPTR_MAX / 10));
  return key;
}

void expect_same(const KIV_PRQ *queue, const kiv::test::NaivePrq &naive, const CountingAllocator &allocator) {
  ASSERT_EQ(queue->count, naive.entries.size());
  ASSERT_EQ(queue->capacity, naive.capacity);
  ASSERT_EQ(allocator.size_of(queue->entries), queue->capacity * sizeof(KIV_PRQ_ENTRY));
  for (uint32_t i = 0; i < queue->count; ++i) {
    ASSERT_EQ(queue->entries[i].position, naive.entries[i].position) << "entry " << i;
    ASSERT_EQ(queue->entries[i].payload, naive.entries[i].payload) << "entry " << i;
    ASSERT_EQ(*queue->entries[i].position, i);
  }
}

TEST(Prq, IsArrangedLikeTheNaiveOne) {
  std::mt19937_64 random = kiv::test::make_random();
  for (uint32_t run = 0; run < 24; ++run) {
    CountingAllocator allocator;
    const uint32_t key_kind = run % 4, smallest_first = run / 4 % 2, capacity = below(random, 4);
    Calls calls, naive_calls;
    kiv::test::NaivePrq naive{capacity, key_kind, smallest_first, compare_words, &naive_calls, {}};
    KIV_PRQ *queue = kiv_prq_new(allocator.record(), capacity, key_kind, smallest_first, compare_words, &calls);
    std::deque<Owner> owners;
    for (uint32_t step = 0; step < 800; ++step) {
      SCOPED_TRACE(testing::Message() << "run " << run << " step " << step);
      const bool no_memory = below(random, 8) == 0;
      allocator.fail_at(no_memory ? 1 : 0);
      const uint32_t action = below(random, 100);
      if (action < (step / 200 % 2 == 0 ? 70 : 30)) {
        Owner &owner = owners.emplace_back();
        owner.key = random_key(random, key_kind);
        const void *key = &owner.key;
        if (key_kind >= KIV_PRQ_KEY_CUSTOM) {
          key = owner.key.word;
        } else if (queue->count > 0 && below(random, 4) == 0) {
          key = &queue->entries[below(random, queue->count)].key;
          std::memcpy(&owner.key, key, sizeof owner.key);
        }
        const bool inserted = naive.insert({owner.key, &owner, &owner.position}, no_memory);
        ASSERT_EQ(kiv_prq_insert(queue, key, &owner, &owner.position), inserted ? 0 : 1);
        if (!inserted) ASSERT_EQ(owner.position, UINT32_MAX);
      } else if (action < 75) {
        ASSERT_EQ(kiv_prq_extract_top(queue), naive.extract_top(no_memory));
      } else if (action < 99) {
        const uint32_t index = below(random, queue->count + 2);  // one or two too many are ignored
        kiv_prq_remove(queue, index);
        naive.remove(index, no_memory);
      } else {
        kiv_prq_remove_all(queue);
        naive.remove_all(no_memory);
      }
      ASSERT_NO_FATAL_FAILURE(expect_same(queue, naive, allocator));
      ASSERT_EQ(calls, naive_calls);
    }
    kiv_prq_delete(queue);
  }
}

/// More entries than the processor's caches hold come out in order.
TEST(Prq, SortsManyEntries) {
  std::mt19937_64 random = kiv::test::make_random();
  CountingAllocator allocator;
  KIV_PRQ *queue = kiv_prq_new(allocator.record(), 1, KIV_PRQ_KEY_U64, 1, nullptr, nullptr);
  std::vector<Owner> owners(70000);
  for (Owner &owner : owners) {
    owner.key.u64 = random();
    ASSERT_EQ(kiv_prq_insert(queue, &owner.key, &owner, &owner.position), 0);
  }
  for (uint64_t last = 0; queue->count > 0;) {
    const Owner *top = static_cast<Owner *>(kiv_prq_extract_top(queue));
    ASSERT_GE(top->key.u64, last);
    last = top->key.u64;
  }
  kiv_prq_delete(queue);
}

TEST(Prq, RefusesWhatDoesNotFitIn32Bits) {
  constexpr uint32_t kMost = UINT32_MAX / sizeof(KIV_PRQ_ENTRY);
  CountingAllocator allocator;
  EXPECT_EQ(kiv_prq_new(allocator.record(), kMost + 1, 0, 0, nullptr, nullptr), nullptr);
  EXPECT_EQ(allocator.log, std::vector<std::string>{});
  KIV_PRQ *queue = kiv_prq_new(allocator.record(), 1, 0, 0, nullptr, nullptr);
  allocator.clear_log();
  queue->count = queue->capacity = kMost / 2 + 1;
  Owner owner = {};
  EXPECT_EQ(kiv_prq_insert(queue, &owner.key, &owner, &owner.position), 1);
  EXPECT_EQ(allocator.log, std::vector<std::string>{});
  kiv_prq_delete(queue);
  kiv_prq_delete(nullptr);
}

TEST(Prq, SurvivesFailingAllocations) {
  EXPECT_EQ(kiv::test::sweep_failures([](CountingAllocator &allocator) {
              KIV_PRQ *queue = kiv_prq_new(allocator.record(), 2, KIV_PRQ_KEY_CUSTOM, 0, compare_words, nullptr);
              if (queue == nullptr) return;
              uint32_t positions[3];
              for (uintptr_t i = 0; i < 3; ++i) (void)kiv_prq_insert(queue, word(i), nullptr, &positions[i]);
              kiv_prq_remove_all(queue);
              kiv_prq_delete(queue);
            }),
            4u);
}

}  // namespace
