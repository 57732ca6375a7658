// A hashtable of numbers, without a thought for speed: the second implementation of the tests.
#ifndef KIV_TESTS_CONTAINERS_NAIVE_HASHTABLE_H
#define KIV_TESTS_CONTAINERS_NAIVE_HASHTABLE_H

#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace kiv::test {

struct NaiveHashtable {
  static uint32_t capacity_of_new(size_t count) { return count != 0 ? static_cast<uint32_t>(count * 3 / 2) : 10; }

  struct Bucket {
    std::vector<int> entries;
    uint32_t capacity = 1;

    void insert_first(int entry) {
      entries.insert(entries.begin(), entry);
      if (entries.size() > capacity) capacity = capacity_of_new(entries.size());
    }
    bool remove(int entry) {
      if (std::erase(entries, entry) == 0) return false;
      if (entries.size() < capacity / 2) capacity /= 2;
      return true;
    }
  };

  static constexpr uint32_t kSizes[] = {0, 3, 7, 17, 37, 79, 163, 331, 673, 1361};
  static constexpr uint32_t kThresholds[] = {0, 4, 9, 22, 49, 105, 217, 441, 897, 1814};

  explicit NaiveHashtable(std::function<uint32_t(int)> hash_of, size_t size_index = 1)
      : hash(std::move(hash_of)), size(size_index), buckets(kSizes[size_index]) {}

  std::optional<Bucket> &bucket_of(int entry) { return buckets[hash(entry) % kSizes[size]]; }

  bool has(int entry) {
    const auto &bucket = bucket_of(entry);
    return bucket && std::count(bucket->entries.begin(), bucket->entries.end(), entry) == 1;
  }

  void put(int entry) {
    auto &bucket = bucket_of(entry);
    if (!bucket) bucket.emplace();
    bucket->remove(entry);
    bucket->insert_first(entry);
    if (++put_count >= kThresholds[size] && size + 1 < std::size(kSizes)) rebuild(size + 1);
  }

  bool remove(int entry) {
    auto &bucket = bucket_of(entry);
    if (!bucket || !bucket->remove(entry)) return false;
    if (--put_count < kSizes[size - 1]) rebuild(size - 1);
    return true;
  }

  void rebuild(size_t size_index) {
    NaiveHashtable fresh(hash, size_index);
    for (const auto &bucket : buckets) {
      if (!bucket) continue;
      for (const int entry : bucket->entries) fresh.put(entry);
    }
    *this = fresh;
  }

  std::function<uint32_t(int)> hash;
  size_t size;
  uint32_t put_count = 0;
  std::vector<std::optional<Bucket>> buckets;
};

}  // namespace kiv::test

#endif
