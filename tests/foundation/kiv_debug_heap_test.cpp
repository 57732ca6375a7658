// What the debug heap detects, linked as its users link it.

#include "kiv_debug_heap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include "tests/foundation/debug_heap_reports.h"
#include "tests/support/guarded_page.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

namespace {

using namespace kiv::test;

constexpr uint32_t kLargest = 4096;

/// A debug heap in its caller's storage.
struct Heap {
  KIV_ALLOCATOR record;
  explicit Heap(uint32_t locked = 0) { EXPECT_EQ(kiv_debug_heap_new(&record, locked), &record); }
  ~Heap() { kiv_debug_heap_destroy_allocator(&record); }
  uint8_t *alloc(uint32_t size) { return static_cast<uint8_t *>(record.alloc(&record, size)); }
  uint8_t *realloc(void *block, uint32_t size) { return static_cast<uint8_t *>(record.realloc(&record, block, size)); }
  void free(void *block) { record.free(&record, block); }
};

TEST_F(DebugHeapTest, RecordAndBlocksHaveTheirLayout) {
  Heap heap(1);
  const uintptr_t *words = heap.record.state.words;
  EXPECT_TRUE(words[0] != 0 && words[1] == 1 && words[3] != 0 && words[4] == 0xACEDDEAF && words[11] == 1);
  uint8_t *block = heap.alloc(5);
  const uint8_t expected[] = {0xAA, 0xAA, 0xAA, 0xAA, 25,   0,    0,    0,    0xCA, 0xCA, 0xAC, 0xAC, 0xCD,
                              0xCD, 0xCD, 0xCD, 0xAA, 0xAA, 0xAA, 0xAA, 0xAA, 0xCD, 0xCD, 0xCD, 0xCD};
  EXPECT_EQ(std::memcmp(block - 16, expected, sizeof expected), 0);
  block = heap.realloc(block, 0);
  EXPECT_EQ(std::memcmp(block - 12, "\x14\0\0\0\xCA\xCA\xAC\xAC\xCD\xCD\xCD\xCD\xCD\xCD\xCD\xCD", 16), 0);
  heap.free(block);
  heap.free(nullptr);
  block = static_cast<uint8_t *>(heap.record.calloc_nofail(&heap.record, 3, 7));
  EXPECT_EQ(std::memcmp(block, std::string(21, '\0').append("\xCD\xCD\xCD\xCD").data(), 25), 0);
  heap.free(block);
}

/// Bytes written before or behind blocks of every size, each with what the next operations report.
TEST_F(DebugHeapTest, FindsWritesOutOfBounds) {
  const struct {
    const char *name;
    bool behind;
    uint32_t distance;
    std::vector<uint8_t> bytes;
    Lines reports;
  } defects[] = {
      {"filler", false, 16, {1, 2, 3, 4}, {}},
      {"one byte behind", true, 0, {0}, {207}},
      {"two bytes behind", true, 0, {1, 0xCD, 0xCD, 2}, {207, 207}},
      {"one byte before", false, 1, {0}, {219}},
      {"ten bytes before", false, 10, std::vector<uint8_t>(10, 0xFF), {201, 213, 219, 219, 219, 219}},
      {"small size", false, 12, {16, 0, 0, 0}, {207, 207, 207, 207}},
      {"huge size", false, 12, {0xF0, 0xFF, 0xFF, 0xFF}, {213}},
      {"all of it", false, 16, std::vector<uint8_t>(16, 0), {201, 207, 207, 207, 207, 219, 219, 219, 219}},
  };
  for (const auto &defect : defects) {
    SCOPED_TRACE(defect.name);
    for (uint32_t size = 0; size <= kLargest; ++size) {
      Heap heap;
      uint8_t *block = heap.alloc(size);
      uint8_t *good = heap.alloc(8);
      std::copy(defect.bytes.begin(), defect.bytes.end(), block + (defect.behind ? size : 0) - defect.distance);
      good = heap.realloc(good, 9);
      ASSERT_EQ(reports(), defect.reports) << "realloc of another block, size " << size;
      if (size % 3 == 0) {
        heap.free(block);
      } else if (size % 3 == 1) {
        heap.free(heap.realloc(block, size + 1));
      } else {
        kiv_debug_heap_destroy_allocator(&heap.record);
        ASSERT_EQ(reported.front(), 765);
        reported.erase(reported.begin());
        kiv_debug_heap_new(&heap.record, 0);
        good = nullptr;
      }
      ASSERT_EQ(reports(), defect.reports) << "size " << size;
      heap.free(good);
      ASSERT_EQ(reports(), Lines{});
    }
  }
}

TEST_F(DebugHeapTest, LeavesUnknownBlocksAlone) {
  Heap heap, other;
  uint8_t *block = heap.alloc(100);
  expect_unknown_free(block);
  other.free(block);
  EXPECT_EQ(reports(), Lines{513});
  expect_unknown_realloc(block);
  other.free(other.realloc(block, 100));
  EXPECT_EQ(reports(), Lines{513});
  heap.free(block);
  uint8_t zeros[64] = {};
  expect_unknown_free(zeros + 17);
  heap.free(zeros + 17);
  EXPECT_EQ(reports(), (Lines{513, 201, 207, 207, 207, 207, 219, 219, 219, 219}));
  EXPECT_TRUE(std::all_of(zeros, zeros + sizeof zeros, [](uint8_t byte) { return byte == 0; }));
}

TEST_F(DebugHeapTest, ReadsNothingUnreadable) {
  Heap heap;
  GuardedPage page;
  std::memset(page.first<uint8_t>(), 0xCD, GuardedPage::kSize);
  const auto free_unknown = [&](uint8_t *user) {
    expect_unknown_free(user);
    heap.free(user);
    return reports();
  };
  EXPECT_EQ(free_unknown(page.first<uint8_t>()), (Lines{513, 201, 210, 213}));
  EXPECT_EQ(free_unknown(reinterpret_cast<uint8_t *>(16)), (Lines{513, 201, 210, 213}));
  EXPECT_EQ(free_unknown(reinterpret_cast<uint8_t *>(1)), (Lines{513, 201, 210, 213}));
  EXPECT_EQ(free_unknown(page.last<uint8_t>(0) + 1), (Lines{513, 201, 213}));  // the header's last byte
  uint8_t *block = page.last<uint8_t>(20) + 16;
  EXPECT_EQ(free_unknown(block), (Lines{513, 201, 213}));  // a size of 0xCDCDCDCD
  std::memcpy(block - 8, "\xCF\xCF\xFC\xFC", 4);
  for (const uint32_t total : {20u, 21u, 24u, 25u}) {
    std::memcpy(block - 12, &total, sizeof total);
    EXPECT_EQ(free_unknown(block), total == 20 ? Lines{513} : (Lines{513, 213})) << total;
  }
  auto *unreadable = reinterpret_cast<KIV_ALLOCATOR *>(page.last<uint8_t>(0));
  for (KIV_ALLOCATOR *bad : {unreadable, static_cast<KIV_ALLOCATOR *>(nullptr)}) {
    EXPECT_EQ(heap.record.alloc(bad, 1), nullptr);
    EXPECT_EQ(heap.record.calloc(bad, 1, 1), nullptr);
    EXPECT_EQ(heap.record.realloc(bad, nullptr, 1), nullptr);
    heap.record.free(bad, block);
    kiv_debug_heap_destroy_allocator(bad);
    EXPECT_EQ(reports(), (Lines{409, 465, 529, 624, 757}));
    kiv_debug_heap_check_all_blocks(bad);
    kiv_debug_heap_dump_heap_admin(bad);
    expect_text("sorry, not a debug heap allocator\nsorry, not a debug heap allocator\nalloc list: \n");
  }
  EXPECT_EQ(kiv_debug_heap_new(unreadable, 0), nullptr);
  EXPECT_EQ(reports(), Lines{688});
}

TEST_F(DebugHeapTest, KnowsRecordsThatAreNone) {
  const std::string sorry = "sorry, not a debug heap allocator\n";
  KIV_ALLOCATOR *heap = kiv_debug_heap_new(nullptr, 1);
  kiv_debug_heap_dump_heap_admin(heap);
  expect_text("alloc list: \n");
  heap->state.debug_heap.magic ^= 1;
  void *blocks[] = {heap->alloc(heap, 3), heap->alloc(heap, 4), heap->alloc(heap, 5)};
  std::sort(std::begin(blocks), std::end(blocks), std::less<>());
  static_cast<uint8_t *>(blocks[1])[-1] = 0;
  kiv_debug_heap_check_all_blocks(heap);
  EXPECT_EQ(reports(), Lines{219});
  kiv_debug_heap_dump_heap_admin(heap);
  expect_text(sorry + sorry + sorry + sorry + sorry + "alloc list: ");
  for (int i = 0; i < 3; ++i) {
    expect_text((i > 0 ? ", " : "") + kiv::test::address_text(static_cast<uint8_t *>(blocks[i]) - 16));
  }
  expect_text("\n");
  kiv_debug_heap_destroy_allocator(heap);
  EXPECT_EQ(reports(), (Lines{757, 765, 219}));
}

TEST_F(DebugHeapTest, GoesOnWithoutItsMutex) {
  Heap heap(1);
  EXPECT_EQ(kiv_mutex_delete(&heap.record.state.debug_heap.mutex), 0);
  heap.record.state.debug_heap.mutex = nullptr;
  uint8_t *block = heap.alloc(1);
  EXPECT_EQ(reports(), (Lines{415, 445}));
  block = heap.realloc(block, 2);
  EXPECT_EQ(reports(), (Lines{535, 571}));
  heap.free(block);
  EXPECT_EQ(reports(), (Lines{630, 643}));
  kiv_debug_heap_destroy_allocator(&heap.record);
  EXPECT_EQ(reports(), (Lines{753, 772, 777}));
  EXPECT_EQ(kiv_debug_heap_new(&heap.record, 0), &heap.record);
}

/// Allocates, resizes and frees blocks at random, and looks after their contents.
void use_at_random(Heap *heap, uint64_t stream, int steps) {
  auto random = std::mt19937_64(kiv::test::seed() + stream);
  std::pair<uint8_t *, uint32_t> blocks[24] = {};
  uint32_t wrong = 0;
  for (int i = 0; i < steps; ++i) {
    auto &[bytes, size] = blocks[below(random, 24)];
    if (below(random, 2) == 0) bytes = heap->realloc(bytes, size + 100);
    for (uint32_t k = 0; k < size; ++k) wrong += bytes[k] != size % 251;
    heap->free(bytes);
    size = below(random, 10) == 0 ? below(random, kLargest + 1) : below(random, 64);
    bytes =
        below(random, 2) == 0 ? heap->alloc(size) : static_cast<uint8_t *>(heap->record.calloc(&heap->record, 1, size));
    std::memset(bytes, static_cast<int>(size % 251), size);
  }
  for (const auto &[bytes, size] : blocks) heap->free(bytes);
  EXPECT_EQ(wrong, 0u) << "seed " << kiv::test::seed();
}

TEST_F(DebugHeapTest, IsSilentWhenNothingIsWrong) {
  Heap heap;
  use_at_random(&heap, 0, 100000);
  Heap shared(1);
  std::thread second(use_at_random, &shared, 1, 2000);
  use_at_random(&shared, 2, 2000);
  second.join();
}

TEST(DebugHeapHook, PrintsWholeLines) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(kiv_debug_heap_print_hook(207, "file.c", "write beyond"), 0);
  EXPECT_EQ(kiv_debug_heap_print_hook(513, "file.c", "no such block\n"), 0);
  EXPECT_EQ(kiv_debug_heap_print_hook(1, "", ""), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "file.c:207: write beyond\nfile.c:513: no such block\n:1: \n");
}

/// Standard output is flushed before and after the hook: what went past its buffer stands between.
KIV_CHILD(flushes) {
  kiv_debug_heap_set_hook([](int, const char *, const char *) {
    const bool written = write(1, "2", 1) == 1;
    return std::printf("3") == 1 && written ? 0 : 1;
  });
  std::printf("1");
  KIV_ALLOCATOR heap;
  kiv_debug_heap_new(&heap, 0);
  EXPECT_EQ(heap.alloc(&heap, 0xFFFFFFFF), nullptr);
  std::_Exit(0);
}

TEST(DebugHeapHook, StandsBetweenTwoFlushes) { EXPECT_EQ(kiv::test::run_child("flushes").out, "12323"); }

}  // namespace
