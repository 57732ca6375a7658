// A priority queue done step by step with exchanges, and an array that is resized in numbers only: an oracle for the
// arrangement of the entries, for the calls of the compare callback and for the capacity.
#ifndef KIV_TESTS_CONTAINERS_NAIVE_PRQ_H
#define KIV_TESTS_CONTAINERS_NAIVE_PRQ_H

#include <utility>
#include <vector>

#include "kiv_prq.h"

namespace kiv::test {

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
    if (entries.size() == capacity) {
      if (no_memory) return false;
      capacity = capacity != 0 ? capacity * 2 : 1;
    }
    size_t i = entries.size();
    entries.push_back(entry);
    for (; i > 0 && order(entries[(i - 1) / 2], entries[i]) < 0; i = (i - 1) / 2) {
      std::swap(entries[i], entries[(i - 1) / 2]);
    }
    return true;
  }

  void *extract_top(bool no_memory) {
    if (entries.empty()) return nullptr;
    void *const payload = entries[0].payload;
    entries[0] = entries.back();
    entries.pop_back();
    sift_down(0);
    shrink(no_memory);
    return payload;
  }

  void remove(size_t index, bool no_memory) {
    if (index >= entries.size()) return;
    const KIV_PRQ_ENTRY removed = entries[index], last = entries.back();
    entries.pop_back();
    if (index < entries.size()) {
      entries[index] = last;
      if (order(last, removed) < 0) {
        sift_down(index);
      } else {
        for (; index > 0 && order(last, entries[(index - 1) / 2]) > 0; index = (index - 1) / 2) {
          std::swap(entries[index], entries[(index - 1) / 2]);
        }
      }
    }
    shrink(no_memory);
  }

  void remove_all(bool no_memory) {
    entries.clear();
    shrink(no_memory);
  }

  void sift_down(size_t i) {
    while (i < entries.size()) {
      size_t largest = i;
      for (const size_t child : {2 * i + 1, 2 * i + 2}) {
        if (child < entries.size() && order(entries[child], entries[largest]) > 0) largest = child;
      }
      if (largest == i) return;
      std::swap(entries[i], entries[largest]);
      i = largest;
    }
  }

  void shrink(bool no_memory) {
    const uint32_t half = (capacity + 1) / 2;
    if (entries.size() < half && !no_memory) capacity = half;
  }
};

}  // namespace kiv::test

#endif
