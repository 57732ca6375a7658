// The debug heap over a C runtime that fails, keeps what is freed, and tells of sleeps.

#include <cstdlib>
#include <cstring>
#include <functional>

#include "os/platform.h"
#include "tests/foundation/debug_heap_reports.h"
#include "tests/support/platform_seam.h"
#include "tests/support/process.h"

namespace {

using kiv::test::crashes;
using kiv::test::DebugHeapTest;
using kiv::test::Lines;
using kiv::test::platform;

class DebugHeapPlatformTest : public DebugHeapTest {
 protected:
  DebugHeapPlatformTest() { kiv::test::reset_platform(); }
  ~DebugHeapPlatformTest() override {
    for (void *block : platform.kept) std::free(block);
    EXPECT_EQ(platform.live, 0u);
    platform = {};
  }

  static void fail(uint32_t successes, uint32_t failures) {
    platform.successes = successes;
    platform.failures = failures;
  }
};

/// A freed block shows its fill; a second free finds the fill, and nothing hears of writes between the two.
TEST_F(DebugHeapPlatformTest, FreesTwice) {
  platform.keeps_freed = true;
  KIV_ALLOCATOR heap;
  kiv_debug_heap_new(&heap, 0);
  for (uint32_t size = 0; size <= 4096; ++size) {
    auto *block = static_cast<uint8_t *>(heap.alloc(&heap, size));
    heap.free(&heap, block);
    ASSERT_EQ(platform.kept.size(), 1u);
    std::vector<uint8_t> expected(size + 20, 0xBB);
    std::memcpy(&expected[8], "\xCF\xCF\xFC\xFC", 4);
    ASSERT_EQ(std::memcmp(block - 16, expected.data(), expected.size()), 0) << size;
    block[size] = 0;
    kiv_debug_heap_check_all_blocks(&heap);
    ASSERT_EQ(reports(), Lines{});
    expect_unknown_free(block);
    heap.free(&heap, block);
    ASSERT_EQ(reports(), (Lines{513, 213, 219, 219, 219, 219})) << size;
    ASSERT_EQ(platform.kept.size(), 1u);
    std::free(platform.kept[0]);
    platform.kept.clear();
  }
  kiv_debug_heap_destroy_allocator(&heap);
}

/// Whatever the size word says, the fill stays within the block. What lies 300 bytes on is somebody else's and may even
/// look like a guard.
TEST_F(DebugHeapPlatformTest, DoesNotBelieveLargeSizes) {
  platform.keeps_freed = true;
  KIV_ALLOCATOR heap;
  kiv_debug_heap_new(&heap, 0);
  auto *block = static_cast<uint8_t *>(heap.alloc(&heap, 100));
  for (const uint32_t total : {19u, 300u, 200000000u, 0xFFFFFFFFu}) {
    std::memcpy(block - 12, &total, sizeof total);
    heap.free(&heap, block);
    const Lines found = reports();
    if (total != 300) EXPECT_EQ(found, total == 19 ? (Lines{207, 207, 207, 207}) : Lines{213});
    EXPECT_EQ(block[3], 0xBB) << total;
    EXPECT_EQ(block[4], 0xAA) << total;
    block = static_cast<uint8_t *>(heap.alloc(&heap, 100));
  }
  heap.free(&heap, block);
  kiv_debug_heap_destroy_allocator(&heap);
}

TEST_F(DebugHeapPlatformTest, NewWithoutMemory) {
  fail(0, 1);
  EXPECT_EQ(kiv_debug_heap_new(nullptr, 0), nullptr);
  KIV_ALLOCATOR heap;
  fail(0, 1);
  EXPECT_EQ(kiv_debug_heap_new(&heap, 1), &heap);
  EXPECT_EQ(reports(), Lines{716});
  void *block = heap.alloc(&heap, 4);
  EXPECT_EQ(reports(), Lines{158});
  expect_unknown_free(static_cast<uint8_t *>(block));
  heap.free(&heap, block);
  EXPECT_EQ(reports(), Lines{513});
  // Unknown or not, its contents are not lost.
  std::memcpy(block, "abc", 4);
  expect_unknown_realloc(static_cast<uint8_t *>(block));
  void *longer = heap.realloc(&heap, block, 4000);
  EXPECT_EQ(reports(), (Lines{513, 158}));
  EXPECT_STREQ(static_cast<char *>(longer), "abc");
  kiv_debug_heap_destroy_allocator(&heap);
  kiv::os::heap_free(static_cast<uint8_t *>(block) - 16);
  kiv::os::heap_free(static_cast<uint8_t *>(longer) - 16);
}

#ifndef _WIN32  // there the system makes mutexes

TEST_F(DebugHeapPlatformTest, NewWithoutMutex) {
  KIV_ALLOCATOR heap;
  const kiv::test::NoMutexes no_mutexes;
  fail(1, UINT32_MAX);
  EXPECT_EQ(kiv_debug_heap_new(&heap, 1), nullptr);
  EXPECT_EQ(reports(), Lines{722});
  EXPECT_EQ(heap.state.debug_heap.locked, 0u);
}

#endif

TEST_F(DebugHeapPlatformTest, OperationsWithoutMemory) {
  KIV_ALLOCATOR heap;
  kiv_debug_heap_new(&heap, 0);
  const auto fails = [&](bool ends, std::function<void *()> operation) {
    void *result = &heap;
    fail(0, 1);
    EXPECT_EQ(crashes([&] { result = operation(); }), ends);
    EXPECT_EQ(result, ends ? &heap : nullptr);
    platform.failures = 0;
    return reports();
  };
  const Lines malloc_failed{423, 424}, realloc_failed{560, 561};
  EXPECT_EQ(fails(false, [&] { return heap.alloc(&heap, 100); }), malloc_failed);
  EXPECT_EQ(fails(false, [&] { return heap.alloc_nofail(&heap, 0); }), malloc_failed);
  EXPECT_EQ(fails(false, [&] { return heap.calloc(&heap, 0, 100); }), (Lines{423, 424, 471, 472}));
  EXPECT_EQ(fails(true, [&] { return heap.calloc(&heap, 1, 100); }), malloc_failed);
  EXPECT_EQ(fails(true, [&] { return heap.calloc_nofail(&heap, 100, 1); }), malloc_failed);
  EXPECT_EQ(fails(true, [&] { return heap.realloc(&heap, nullptr, 0); }), realloc_failed);
  void *block = heap.alloc(&heap, 8);
  EXPECT_EQ(fails(true, [&] { return heap.realloc_nofail(&heap, block, 100); }), realloc_failed);
  kiv::os::heap_free(static_cast<uint8_t *>(block) - 16);

  // Sizes to which 20 cannot be added do not reach the C runtime.
  platform.log.clear();
  EXPECT_EQ(heap.alloc(&heap, 4294967276u), nullptr);
  EXPECT_TRUE(crashes([&] { heap.realloc(&heap, nullptr, 0xFFFFFFFF); }));
  EXPECT_EQ(reports(), (Lines{423, 424, 560, 561}));
  EXPECT_EQ(platform.log, std::vector<std::string>{"crash"});

  // The registry's node.
  kiv_debug_heap_destroy_allocator(&heap);
  kiv_debug_heap_new(&heap, 0);
  fail(1, 1);
  block = heap.alloc(&heap, 8);
  EXPECT_EQ(reports(), Lines{158});
  platform.next = static_cast<uint8_t *>(block) - 16;
  EXPECT_EQ(heap.alloc(&heap, 8), block);
  platform.next = static_cast<uint8_t *>(block) - 16;
  EXPECT_EQ(heap.alloc(&heap, 8), block);
  EXPECT_EQ(reports(), Lines{154});
  heap.free(&heap, block);
  kiv_debug_heap_destroy_allocator(&heap);
}

/// Ends the process at the third sleep of a thread that the hook has stopped.
KIV_CHILD(stopped) {
  platform = {};
  platform.on_sleep = [] {
    if (platform.log.size() == 3) std::_Exit(platform.log == std::vector<std::string>(3, "sleep 1000") ? 42 : 1);
  };
  kiv_debug_heap_set_hook([](int line, const char *, const char *) { return line == 757 ? -1 : 0; });
  kiv_debug_heap_destroy_allocator(nullptr);
}

TEST(DebugHeapHook, StopsTheThread) { EXPECT_EQ(kiv::test::run_child("stopped").exit_code, 42); }

}  // namespace
