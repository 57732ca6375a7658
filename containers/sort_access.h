// What a sort does to an array, for each kind of array. Elements are named by their index.
//
//     int order(a, b)                 what the caller's compare says of two elements
//     void exchange(a, b)             of two elements, which may be the same
//     void exchange_if(wanted, a, b)  the same when wanted; without a branch where that is possible, since nobody can
//                                     predict on which side of the pivot the next element belongs
//     void expect(a)                  element a will be compared soon
#ifndef KIV_CONTAINERS_SORT_ACCESS_H
#define KIV_CONTAINERS_SORT_ACCESS_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "kiv_qsort.h"

namespace kiv::sort {

using Index = size_t;

/// An array of pointers, of which compare, a callable, gets two.
template <class Compare>
class Pointers {
 public:
  Pointers(void **slots, Compare compare) : slots_(slots), compare_(compare) {}

  int order(Index a, Index b) const { return compare_(slots_[a], slots_[b]); }
  void exchange(Index a, Index b) const { std::swap(slots_[a], slots_[b]); }
  void exchange_if(bool wanted, Index a, Index b) const {
    void *const at_a = slots_[a];
    void *const at_b = slots_[b];
    const uintptr_t change =
        (reinterpret_cast<uintptr_t>(at_a) ^ reinterpret_cast<uintptr_t>(at_b)) & (uintptr_t{0} - uintptr_t{wanted});
    slots_[a] = reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(at_a) ^ change);
    slots_[b] = reinterpret_cast<void *>(reinterpret_cast<uintptr_t>(at_b) ^ change);
  }
  void expect(Index a) const { __builtin_prefetch(slots_[a]); }

 private:
  void **slots_;
  Compare compare_;
};

/// An array of elements of any size, of which compare gets the addresses.
class Addresses {
 public:
  Addresses(void *base, size_t size, KIV_QSORT_COMPARE compare, void *context)
      : base_(static_cast<uint8_t *>(base)), size_(size), compare_(compare), context_(context) {}

  int order(Index a, Index b) const { return compare_(address(a), address(b), context_); }
  void expect(Index) const {}

 protected:
  uint8_t *address(Index a) const { return base_ + a * size_; }

  uint8_t *base_;
  size_t size_;
  KIV_QSORT_COMPARE compare_;
  void *context_;
};

/// Elements that are exchanged byte by byte.
class Bytes : public Addresses {
 public:
  using Addresses::Addresses;

  void exchange(Index a, Index b) const {
    uint8_t *at_a = address(a);
    uint8_t *at_b = address(b);
    size_t left = size_;
    for (; left >= sizeof(uint64_t); left -= sizeof(uint64_t)) {
      swap_block<uint64_t>(at_a, at_b);
      at_a += sizeof(uint64_t);
      at_b += sizeof(uint64_t);
    }
    for (; left > 0; --left) std::swap(*at_a++, *at_b++);
  }
  void exchange_if(bool wanted, Index a, Index b) const {
    if (wanted) exchange(a, b);
  }

 protected:
  template <class Block>
  static void swap_block(uint8_t *a, uint8_t *b) {
    Block at_a, at_b;
    std::memcpy(&at_a, a, sizeof(Block));
    std::memcpy(&at_b, b, sizeof(Block));
    std::memcpy(a, &at_b, sizeof(Block));
    std::memcpy(b, &at_a, sizeof(Block));
  }
};

/// Elements of kWords words.
template <class Word, size_t kWords>
class Words : public Addresses {
 public:
  Words(void *base, KIV_QSORT_COMPARE compare, void *context)
      : Addresses(base, kWords * sizeof(Word), compare, context) {}

  void exchange(Index a, Index b) const { exchange_if(true, a, b); }
  void exchange_if(bool wanted, Index a, Index b) const {
    Word at_a[kWords], at_b[kWords];
    uint8_t *const place_a = base_ + a * sizeof at_a;
    uint8_t *const place_b = base_ + b * sizeof at_b;
    std::memcpy(at_a, place_a, sizeof at_a);
    std::memcpy(at_b, place_b, sizeof at_b);
    for (size_t i = 0; i < kWords; ++i) {
      const Word change = (at_a[i] ^ at_b[i]) & (Word{0} - Word{wanted});
      at_a[i] ^= change;
      at_b[i] ^= change;
    }
    std::memcpy(place_a, at_a, sizeof at_a);
    std::memcpy(place_b, at_b, sizeof at_b);
  }
};

/// Elements that only the caller's callback exchanges.
class Swapped : public Addresses {
 public:
  Swapped(void *base, uint32_t size, KIV_QSORT_COMPARE compare, KIV_QSORT_SWAP swap, void *context)
      : Addresses(base, size, compare, context), swap_(swap) {}

  void exchange(Index a, Index b) const {
    swap_(base_, static_cast<uint32_t>(size_), static_cast<uint32_t>(a), static_cast<uint32_t>(b), context_);
  }
  void exchange_if(bool wanted, Index a, Index b) const {
    if (wanted) exchange(a, b);
  }

 private:
  KIV_QSORT_SWAP swap_;
};

}  // namespace kiv::sort

#endif
