// A KIV_ALLOCATOR that counts, fails on demand and watches its blocks.
#ifndef KIV_TESTS_SUPPORT_COUNTING_ALLOCATOR_H
#define KIV_TESTS_SUPPORT_COUNTING_ALLOCATOR_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "kiv_allocator.h"

namespace kiv::test {

/// Every block has to come back through the record that handed it out, once: anything else fails the test, and so do
/// blocks that are alive at the end. New blocks are filled with 0xA5. The nofail operations fail like the others, so
/// that a test can tell which were called.
class CountingAllocator {
 public:
  enum class Failing { once, from_then_on };

  CountingAllocator();
  ~CountingAllocator();
  CountingAllocator(const CountingAllocator &) = delete;
  CountingAllocator &operator=(const CountingAllocator &) = delete;

  KIV_ALLOCATOR *record() { return &storage_.record; }

  /// The n-th allocation from now on (1 is the next) fails, alone or with all later ones. 0: none fails.
  void fail_at(uint32_t n, Failing failing = Failing::once);

  /// Whether an allocation was made to fail since the last fail_at.
  bool has_failed() const { return failures_ > 0; }

  size_t live_blocks() const { return blocks_.size(); }
  /// The live blocks, oldest first: where a leak is what is promised, a test looks at it and frees it.
  std::vector<void *> blocks() const;
  /// Bytes asked for in a live block.
  size_t size_of(const void *block) const;

  /// Calls since the last clear_log, one text each: "alloc 16 -> 3", "realloc 3 32 -> 4", "free 3", "free 0". Blocks
  /// are named by numbers in the order of their birth from 1 on; 0 is null.
  std::vector<std::string> log;
  void clear_log() { log.clear(); }
  /// The number by which the log names a block, alive or not.
  uint32_t name_of(const void *block) const;

 private:
  struct Storage {
    KIV_ALLOCATOR record;
    CountingAllocator *owner;
  };
  struct Block {
    size_t size;
    uint32_t name;
  };

  static CountingAllocator *owner_of(KIV_ALLOCATOR *record);
  bool refuses();
  void *acquire(const char *operation, void *old_block, size_t size, bool zero);
  void release(void *block);

  template <bool kNofail>
  static void *alloc(KIV_ALLOCATOR *record, uint32_t size);
  template <bool kNofail>
  static void *calloc(KIV_ALLOCATOR *record, uint32_t count, uint32_t size);
  template <bool kNofail>
  static void *realloc(KIV_ALLOCATOR *record, void *block, uint32_t size);
  static void free(KIV_ALLOCATOR *record, void *block);

  Storage storage_;
  std::map<const void *, Block> blocks_;
  std::map<const void *, uint32_t> names_;
  uint32_t next_name_ = 1;
  uint32_t countdown_ = 0;
  Failing failing_ = Failing::once;
  uint32_t failures_ = 0;
};

/// Runs action(allocator) with its first, second, ... allocation failing, alone and then with all later ones, until it
/// runs through without meeting a failure. After each run check(allocator) is called; action leaves nothing allocated.
/// Returns how many failure points there were.
uint32_t sweep_failures(const std::function<void(CountingAllocator &)> &action,
                        const std::function<void(CountingAllocator &)> &check = {});

}  // namespace kiv::test

#endif
