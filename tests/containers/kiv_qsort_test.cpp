// Both quicksorts beside their steps written down once more, and within their bounds where they leave these steps.

#include "kiv_qsort.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <functional>
#include <numeric>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_vector.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using Ids = std::vector<int>;

// Elements are known by where they were at first. What can be seen of a sort: pairs of elements for compares, then
// pairs of places for exchanges where a callback makes them.
std::vector<std::pair<int, int>> compares, exchanges;
bool logging;
size_t compare_count;
uintptr_t deepest;
std::function<int(int, int)> order_of;

int order(int a, int b) {
  if (logging) compares.emplace_back(a, b);
  ++compare_count;
  deepest = std::min(deepest, reinterpret_cast<uintptr_t>(__builtin_frame_address(0)));
  return order_of(a, b);
}

int order_plain(const void *a, const void *b) {
  return order(*static_cast<const int *>(a), *static_cast<const int *>(b));
}
int order_in_context(const void *a, const void *b, void *context) {
  EXPECT_EQ(context, &compares);
  return order_plain(a, b);
}

void exchange(int *ids, int i, int j) {
  if (logging) exchanges.emplace_back(i, j);
  std::swap(ids[i], ids[j]);
}

// --- The steps, literally --------------------------------------------------------------------------------------------

void steps_of_vector(int *ids, int low, int high) {
  while (high > low) {
    exchange(ids, low, high);
    int i = low;
    for (int j = low; j < high; ++j) {
      if (order(ids[j], ids[high]) <= 0) exchange(ids, i++, j);
    }
    exchange(ids, i, high);
    steps_of_vector(ids, low, i - 1);
    low = i + 1;
  }
}

void steps_of_qsort(int *ids, int first, int count) {
  while (count > 1) {
    exchange(ids, first, first + count / 2);
    int m = first;
    for (int e = first + 1; e < first + count; ++e) {
      if (order(ids[e], ids[first]) < 0) exchange(ids, ++m, e);
    }
    exchange(ids, first, m);
    steps_of_qsort(ids, first, m - first);
    count -= m + 1 - first;
    first = m + 1;
  }
}

// --- The sorts -------------------------------------------------------------------------------------------------------

void sort_as_vector(Ids &ids) {
  CountingAllocator allocator;
  KIV_VECTOR *vector = kiv_vector_new(allocator.record(), static_cast<uint32_t>(ids.size()), order_plain);
  Ids elements = ids;
  for (uint32_t i = 0; i < vector->count; ++i) vector->elements[i] = &elements[i];
  kiv_vector_qsort(vector);
  for (uint32_t i = 0; i < vector->count; ++i) ids[i] = *static_cast<int *>(vector->elements[i]);
  kiv_vector_delete(vector);
}

/// Elements of kUnits units, all of which are the id.
template <class Unit, size_t kUnits>
void sort_units(Ids &ids) {
  using Element = std::array<Unit, kUnits>;
  std::vector<Element> elements(ids.size());
  for (size_t i = 0; i < ids.size(); ++i) elements[i].fill(static_cast<Unit>(ids[i]));
  const auto order_units = [](const void *a, const void *b, void *context) {
    EXPECT_EQ(context, &compares);
    return order((*static_cast<const Element *>(a))[0], (*static_cast<const Element *>(b))[0]);
  };
  kiv_qsort(elements.data(), static_cast<int>(ids.size()), sizeof(Element), order_units, &compares);
  for (size_t i = 0; i < ids.size(); ++i) {
    ids[i] = elements[i][0];
    for (const Unit unit : elements[i]) ASSERT_EQ(unit, ids[i]);
  }
}

void sort_by_callback(Ids &ids) {
  const auto swap = [](void *base, uint32_t size, uint32_t i, uint32_t j, void *context) {
    EXPECT_TRUE(size == sizeof(int) && context == &compares);
    exchange(static_cast<int *>(base), static_cast<int>(i), static_cast<int>(j));
  };
  kiv_qsort_swap_context(ids.data(), static_cast<int>(ids.size()), sizeof(int), order_in_context, swap, &compares);
}

using Sort = void (*)(Ids &ids);
constexpr Sort sort_ints = sort_units<int, 1>;
constexpr Sort kSorts[] = {sort_as_vector,     sort_ints,          sort_units<int, 2>,
                           sort_units<int, 4>, sort_units<int, 7>, sort_units<short, 3>,
                           sort_by_callback};

Ids run(size_t count, const std::function<void(Ids &)> &sort) {
  Ids ids(count);
  std::iota(ids.begin(), ids.end(), 0);
  compares.clear(), exchanges.clear();
  compare_count = 0, deepest = UINTPTR_MAX;
  sort(ids);
  return ids;
}

void compare_with_steps(const Ids &keys) {
  logging = true;
  order_of = [&](int a, int b) { return keys[static_cast<size_t>(a)] - keys[static_cast<size_t>(b)]; };
  for (const Sort sort : kSorts) {
    const Ids expected = run(keys.size(), [=](Ids &ids) {
      const int count = static_cast<int>(ids.size());
      sort == sort_as_vector ? steps_of_vector(ids.data(), 0, count - 1) : steps_of_qsort(ids.data(), 0, count);
    });
    const auto expected_compares = compares, expected_exchanges = exchanges;
    ASSERT_TRUE(run(keys.size(), sort) == expected && compares == expected_compares) << testing::PrintToString(keys);
    ASSERT_TRUE(sort != sort_by_callback || exchanges == expected_exchanges) << testing::PrintToString(keys);
  }
}

constexpr int kShapes = 7;
Ids keys_of_shape(int shape, int count, std::mt19937_64 &random) {
  Ids keys(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    const int any = static_cast<int>(below(random, 1 << 30));
    const int shapes[kShapes] = {any, any % 3, i, -i, 0, std::min(i, count - i), (i + count / 3) % count};
    keys[static_cast<size_t>(i)] = shapes[shape];
  }
  return keys;
}

TEST(Quicksort, TakesExactlyItsSteps) {
  for (size_t count = 0; count <= 5; ++count) {  // all arrays of so many numbers below so many
    Ids keys(count);
    for (size_t digit = 0; digit <= count;) {
      if (digit == 0) compare_with_steps(keys);
      const bool carry = digit < count && ++keys[digit] == static_cast<int>(count);
      if (carry) keys[digit] = 0;
      digit = carry || digit == count ? digit + 1 : 0;
    }
  }
  auto random = kiv::test::make_random();
  for (int count = 1; count <= 64; ++count) {
    for (int shape = 0; shape < kShapes; ++shape) compare_with_steps(keys_of_shape(shape, count, random));
  }
  for (const int count : {65, 130, 1000, 20000}) compare_with_steps(keys_of_shape(0, count, random));
  EXPECT_EQ(kiv_qsort(nullptr, -3, sizeof(int), nullptr, nullptr), 0);
  kiv_qsort_swap_context(nullptr, -3, sizeof(int), nullptr, nullptr, nullptr);
}

/// The keys that make a sort work hardest: all are undecided at first, and whatever seems to be a pivot turns out to be
/// the least of the undecided (M. D. McIlroy, "A killer adversary for quicksort", 1999).
Ids killer_keys(int count, Sort sort) {
  Ids keys(static_cast<size_t>(count), count);
  int decided = 0, candidate = 0;
  order_of = [&](int a, int b) {
    int &key_a = keys[static_cast<size_t>(a)], &key_b = keys[static_cast<size_t>(b)];
    if (key_a == count && key_b == count) (a == candidate ? key_a : key_b) = decided++;
    if (key_a == count || key_b == count) candidate = key_a == count ? a : b;
    return key_a - key_b;
  };
  run(keys.size(), sort);
  return keys;
}

TEST(Quicksort, IsNeverQuadraticNorDeep) {
  auto random = kiv::test::make_random();
  logging = false;
  for (const int count : {65, 1000, 60000}) {
    for (const Sort sort : {sort_as_vector, sort_ints, sort_units<int, 4>, sort_units<int, 7>, sort_by_callback}) {
      for (int shape = -4; shape <= kShapes; ++shape) {
        const Ids keys = shape == kShapes ? killer_keys(count, sort) : keys_of_shape(std::max(shape, 0), count, random);
        order_of = [&](int a, int b) {
          if (shape == -4) return static_cast<int>(below(random, 3)) - 1;
          return shape < 0 ? shape + 2 : keys[static_cast<size_t>(a)] - keys[static_cast<size_t>(b)];
        };
        Ids ids = run(keys.size(), sort);
        EXPECT_LE(compare_count, keys.size() * 3 * std::bit_width(keys.size())) << shape << " of " << count;
        EXPECT_LE(reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) - deepest, 65536U) << shape;
        const auto is_less = [](int a, int b) { return order_of(a, b) < 0; };
        EXPECT_TRUE(shape < 0 || std::is_sorted(ids.begin(), ids.end(), is_less)) << shape << " of " << count;
        std::sort(ids.begin(), ids.end());
        for (size_t i = 0; i < ids.size(); ++i) ASSERT_EQ(ids[i], static_cast<int>(i)) << shape << " of " << count;
      }
    }
  }
}

TEST(Uniqueness, FindsEqualElementsWithoutMovingAny) {
  order_of = [](int a, int b) { return a - b; };
  for (const auto &[array, unique] :
       std::vector<std::pair<Ids, int>>{{{}, 1}, {{7}, 1}, {{4, 2, 4}, 0}, {{3, 1, 2}, 1}, {{1, 2, 3, 0, 3}, 0}}) {
    const Ids before = array;
    const auto count = static_cast<int>(array.size());
    for (const bool with_context : {false, true}) {
      const auto check = [&, &array = array, unique = unique](CountingAllocator &failing) {
        KIV_ALLOCATOR *record = failing.record();
        const int answer =
            with_context
                ? kiv_array_elements_are_unique2(record, array.data(), count, sizeof(int), order_in_context, &compares)
                : kiv_array_elements_are_unique(record, array.data(), count, sizeof(int), order_plain);
        EXPECT_EQ(answer, failing.has_failed() ? 0 : unique);
      };
      EXPECT_EQ(kiv::test::sweep_failures(check), count > 1 ? 1U : 0U);
    }
    EXPECT_EQ(array, before);
  }
}

}  // namespace
