// What the allocators do when the C runtime's heap fails: the persistence of the nofail operations, and the wrapping
// kind's registry. Linked with a heap, a sleep and a crash of the test's own.

#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_allocator.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/platform_seam.h"

namespace {

using kiv::test::CountingAllocator;
using kiv::test::crashes;
using kiv::test::platform;
using Log = std::vector<std::string>;

class PlatformTest : public testing::Test {
 protected:
  PlatformTest() { kiv::test::reset_platform(); }
  ~PlatformTest() override { EXPECT_EQ(platform.live, 0u) << "heap blocks leaked"; }
};

TEST_F(PlatformTest, NofailTriesTwelveTimesAndCrashes) {
  KIV_ALLOCATOR allocator;
  kiv_allocator_default_new(&allocator);
  void *block = allocator.alloc(&allocator, 16);
  const struct {
    std::function<void *()> call;
    std::string first, again;
    bool old_block_is_left;
  } rows[] = {
      {[&] { return allocator.alloc_nofail(&allocator, 24); }, "malloc 24", "malloc 24", false},
      {[&] { return allocator.calloc_nofail(&allocator, 3, 8); }, "calloc 3 8", "calloc 3 8", false},
      // The failed attempt's null is the block of the next one.
      {[&] { return allocator.realloc_nofail(&allocator, block, 32); }, "realloc block 32", "realloc null 32", true},
      {[&] { return allocator.realloc_nofail(&allocator, nullptr, 40); }, "realloc null 40", "realloc null 40", false},
  };
  for (const auto &row : rows) {
    Log expected;
    for (const uint32_t failures : {1u, 5u, 11u}) {
      platform.log.clear();
      platform.failures = failures;
      void *result = row.call();
      EXPECT_NE(result, nullptr);
      expected = {row.first};
      for (uint32_t i = 0; i < failures; ++i) expected.insert(expected.end(), {"sleep 1000", row.again});
      EXPECT_EQ(platform.log, expected);
      if (row.old_block_is_left) EXPECT_NE(result, block);
      allocator.free(&allocator, result);
    }
    platform.log.clear();
    platform.failures = 100;
    EXPECT_TRUE(crashes([&row] { row.call(); }));
    expected.insert(expected.end(), {"sleep 1000", "crash"});
    EXPECT_EQ(platform.log, expected);
    platform.failures = 0;
  }
  allocator.free(&allocator, block);
  kiv_allocator_default_delete(&allocator);
}

TEST_F(PlatformTest, SleepSplitsWhatMillisecondsCannotHold) {
  kiv_sleep(0);
  kiv_sleep(4000000);
  kiv_sleep(4294967295u);
  EXPECT_EQ(platform.log.front(), "sleep 0");
  EXPECT_EQ(platform.log[1], "sleep 4000000000");
  uint64_t total = 0;
  for (size_t i = 2; i < platform.log.size(); ++i) total += std::stoull(platform.log[i].substr(6));
  EXPECT_EQ(total, 4294967295000u);
}

TEST_F(PlatformTest, DefaultRecordFromTheHeap) {
  platform.failures = 1;
  EXPECT_EQ(kiv_allocator_default_new(nullptr), nullptr);
  KIV_ALLOCATOR *allocator = kiv_allocator_default_new(nullptr);
  EXPECT_EQ(allocator->realloc(allocator, allocator->alloc(allocator, 8), 0), nullptr);
  EXPECT_EQ(kiv_allocator_default_delete(allocator), 1);
}

/// Every heap allocation that a session with a wrapping allocator makes for its registry fails once. Blocks keep their
/// contents and are owned by the allocator until the end.
TEST_F(PlatformTest, WrapSurvivesAFailingRegistry) {
  bool failed = true;
  for (uint32_t point = 0; failed; ++point) {
    SCOPED_TRACE(point);
    CountingAllocator parent;
    platform.successes = point;
    platform.failures = 1;
    KIV_ALLOCATOR *wrap = kiv_allocator_wrap_new(nullptr, parent.record(), 0);
    if (wrap == nullptr) {
      EXPECT_EQ(parent.live_blocks(), 0u);
      continue;
    }
    size_t blocks = 0;
    for (int i = 0; i < 3; ++i) {
      auto *text = static_cast<char *>(wrap->alloc_nofail(wrap, 8));
      if (text == nullptr) continue;
      ++blocks;
      std::strcpy(text, "content");
      auto *moved = static_cast<char *>(wrap->realloc(wrap, text, 100));
      EXPECT_STREQ(moved, "content");  // only a new block needs new memory for the registry
    }
    EXPECT_EQ(parent.live_blocks(), 1 + 2 * blocks);  // the record; a block and a cell each
    kiv_allocator_wrap_delete(wrap);
    failed = platform.failures == 0;
  }
  platform.failures = 0;
}

#ifndef _WIN32  // there the system makes mutexes

TEST_F(PlatformTest, LockedAllocatorsWithoutAMutex) {
  const kiv::test::NoMutexes no_mutexes;
  CountingAllocator parent;
  EXPECT_EQ(kiv_allocator_wrap_new(nullptr, parent.record(), 1), nullptr);
  EXPECT_EQ(parent.live_blocks(), 0u);
  KIV_ALLOCATOR storage, before;
  std::memset(&storage, 0x11, sizeof storage);
  before = storage;
  EXPECT_EQ(kiv_allocator_fast_new(&storage, parent.record(), 1, nullptr, 0, 64), 1);
  EXPECT_EQ(std::memcmp(&storage, &before, sizeof storage), 0);
}

#endif

}  // namespace
