#include "kiv_allocator.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

namespace {

using kiv::test::CountingAllocator;
using Log = std::vector<std::string>;

const std::string kRecord = std::to_string(sizeof(KIV_ALLOCATOR));
const std::string kCell = std::to_string(sizeof(void *));
const std::string kChunkHeader = std::to_string(2 * sizeof(void *));

uint8_t *bytes(void *block) { return static_cast<uint8_t *>(block); }

bool all_zero(const void *block, size_t size) {
  const auto *first = static_cast<const uint8_t *>(block);
  return std::all_of(first, first + size, [](uint8_t byte) { return byte == 0; });
}

/// A record in caller's storage over a counting parent.
struct OverParent {
  CountingAllocator parent;
  KIV_ALLOCATOR record;
  KIV_ALLOCATOR *operator->() { return &record; }
  operator KIV_ALLOCATOR *() { return &record; }
};

struct Wrap : OverParent {
  explicit Wrap(uint32_t locked = 0) { EXPECT_EQ(kiv_allocator_wrap_new(&record, parent.record(), locked), &record); }
  ~Wrap() { kiv_allocator_wrap_delete(&record); }
};

struct Fast : OverParent {
  explicit Fast(uint32_t chunk_size, void *buffer = nullptr, uint32_t buffer_size = 0) {
    EXPECT_EQ(kiv_allocator_fast_new(&record, parent.record(), 0, buffer, buffer_size, chunk_size), 0);
  }
  ~Fast() { kiv_allocator_fast_delete(&record); }
};

// --- The default kind ---

TEST(DefaultAllocator, IsTheHeap) {
  KIV_ALLOCATOR storage;
  std::memset(&storage, 0xFF, sizeof storage);
  KIV_ALLOCATOR *allocator = kiv_allocator_default_new(&storage);
  EXPECT_EQ(allocator, &storage);
  EXPECT_EQ(storage.state.words[11], 1u);
  EXPECT_NE(storage.state.words[2], 0u);
  EXPECT_EQ(storage.state.words[0], 0u);
  auto *block = bytes(allocator->calloc(allocator, 3, 5));
  EXPECT_TRUE(all_zero(block, 15));
  block[14] = 7;
  block = bytes(allocator->realloc(allocator, block, 1000));
  EXPECT_EQ(block[14], 7);
  allocator->free(allocator, block);
  allocator->free(allocator, nullptr);
  EXPECT_EQ(kiv_allocator_default_delete(allocator), 1);
}

KIV_CHILD(crash) { kiv_crash(); }

TEST(DefaultAllocator, CrashFaults) {
  const auto result = kiv::test::run_child("crash");
#if defined(_WIN32)
  EXPECT_EQ(static_cast<uint32_t>(result.exit_code), 0xC0000005u);
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  EXPECT_NE(result.err.find("SEGV on unknown address 0x000000000000"), std::string::npos) << result.err;
#else
  EXPECT_EQ(result.exit_code, -1);
#endif
}

// --- The wrapping kind ---

TEST(WrapAllocator, CallsOfItsParent) {
  Wrap wrap;
  auto &log = wrap.parent.log;
  EXPECT_EQ(wrap->alloc(wrap, 0), nullptr);
  EXPECT_EQ(wrap->calloc(wrap, 0, 8), nullptr);
  EXPECT_EQ(wrap->realloc(wrap, nullptr, 0), nullptr);
  EXPECT_EQ(wrap->calloc(wrap, 0x10000, 0x10000), nullptr);  // the product wraps to 0
  EXPECT_TRUE(log.empty());
  auto *block = bytes(wrap->calloc_nofail(wrap, 3, 4));
  EXPECT_TRUE(all_zero(block, 12));
  EXPECT_EQ(block[12], 0xA5);  // not one byte more
  block = bytes(wrap->realloc_nofail(wrap, block, 20));
  int stranger = 5;
  void *fresh = wrap->realloc(wrap, &stranger, 8);
  wrap->free(wrap, &stranger);  // not ours: left alone
  EXPECT_EQ(stranger, 5);
  EXPECT_EQ(wrap->realloc(wrap, block, 0), nullptr);  // the parent releases it, then its cell goes
  wrap->free(wrap, fresh);
  EXPECT_EQ(log, (Log{"alloc_nofail 12 -> 1", "alloc " + kCell + " -> 2", "realloc_nofail 1 20 -> 3", "alloc 8 -> 4",
                      "alloc " + kCell + " -> 5", "realloc 3 0 -> 0", "free 2", "free 4", "free 5"}));
  wrap.parent.clear_log();
  wrap.parent.fail_at(1);
  EXPECT_EQ(wrap->alloc(wrap, 8), nullptr);
  EXPECT_EQ(log, (Log{"alloc 8 -> 0", "alloc " + kCell + " -> 6", "free 6"}));  // also a failure asks for a cell

  CountingAllocator parent;
  KIV_ALLOCATOR *other = kiv_allocator_wrap_new(nullptr, parent.record(), 1);
  EXPECT_EQ(parent.log, Log{"alloc " + kRecord + " -> 1"});
  kiv_allocator_wrap_delete(other);
  parent.fail_at(1);
  EXPECT_EQ(kiv_allocator_wrap_new(nullptr, parent.record(), 0), nullptr);
}

/// Random operations with a failing parent: blocks keep their contents, and nothing is lost.
TEST(WrapAllocator, Model) {
  auto random = kiv::test::make_random();
  Wrap wrap(1);
  std::map<uint8_t *, std::string> model;  // contents
  for (int step = 0; step < 5000; ++step) {
    if (kiv::test::below(random, 4) == 0) wrap.parent.fail_at(1 + kiv::test::below(random, 3));
    const std::string contents(1 + kiv::test::below(random, 64), static_cast<char>(step));
    const auto size = static_cast<uint32_t>(contents.size());
    const auto old = std::next(model.begin(), kiv::test::below(random, static_cast<uint32_t>(model.size() + 1)));
    if (old != model.end() && kiv::test::below(random, 2) == 0) {
      ASSERT_EQ(std::memcmp(old->first, old->second.data(), old->second.size()), 0);
      wrap->free(wrap, old->first);
      model.erase(old);
      continue;
    }
    auto *block = bytes(old == model.end() ? wrap->alloc(wrap, size) : wrap->realloc(wrap, old->first, size));
    if (block == nullptr) continue;
    if (old != model.end()) {
      ASSERT_EQ(std::memcmp(block, old->second.data(), std::min(contents.size(), old->second.size())), 0);
      model.erase(old);
    }
    std::copy(contents.begin(), contents.end(), block);
    model[block] = contents;
  }
  EXPECT_EQ(wrap.parent.live_blocks(), 2 * model.size());
  // All go, the lowest address first, each block before its cell.
  wrap.parent.fail_at(0);
  wrap.parent.clear_log();
  kiv_allocator_wrap_dealloc_all(wrap);
  EXPECT_EQ(wrap.parent.live_blocks(), 0u);
  size_t line = 0;
  for (const auto &[block, contents] : model) {
    ASSERT_EQ(wrap.parent.log[line], "free " + std::to_string(wrap.parent.name_of(block)));
    line += 2;
  }
  EXPECT_NE(wrap->alloc(wrap, 1), nullptr);  // usable; released by delete
}

// --- The fast kind ---

uint32_t recorded_size(void *block) {
  uint32_t size;
  std::memcpy(&size, bytes(block) - 8, sizeof size);
  return size;
}

TEST(FastAllocator, AddressPattern) {
  alignas(8) uint8_t buffer[64];
  Fast fast(64, buffer + 1, 47);  // starts at buffer + 8, with 40 bytes to use
  auto *first = bytes(fast->alloc(fast, 1));
  auto *second = bytes(fast->alloc_nofail(fast, 16));
  EXPECT_EQ(first, buffer + 16);
  EXPECT_EQ(second, first + 16);
  EXPECT_EQ(recorded_size(first), 8u);
  EXPECT_EQ(recorded_size(second), 16u);
  EXPECT_TRUE(fast.parent.log.empty());

  EXPECT_NE(fast->alloc(fast, 0), nullptr);            // header only, and the buffer is full
  auto *large = bytes(fast->alloc_nofail(fast, 100));  // a chunk of exactly its need; the rest of the old one is lost
  fast->free(fast, large);
  EXPECT_NE(fast->alloc(fast, 1), nullptr);
  kiv_allocator_fast_dealloc_all(fast);
  EXPECT_EQ(fast.parent.log,
            (Log{"alloc " + kChunkHeader + " -> 1", "alloc 64 -> 2", "alloc_nofail " + kChunkHeader + " -> 3",
                 "alloc_nofail 112 -> 4", "alloc " + kChunkHeader + " -> 5", "alloc 64 -> 6", "free 6", "free 5",
                 "free 4", "free 3", "free 2", "free 1"}));
  EXPECT_EQ(fast->alloc(fast, 1), first);  // the buffer again, from its start
}

TEST(FastAllocator, CallocAndRealloc) {
  Fast fast(256);
  void *block = fast->calloc(fast, 3, 3);
  EXPECT_TRUE(all_zero(block, 16));
  EXPECT_EQ(recorded_size(block), 16u);
  std::memcpy(block, "0123456789abcdef", 16);
  EXPECT_EQ(fast->realloc(fast, block, 5), block);
  EXPECT_EQ(recorded_size(block), 5u);  // not rounded
  auto *grown = bytes(fast->realloc_nofail(fast, block, 6));
  EXPECT_NE(grown, block);
  EXPECT_EQ(std::memcmp(grown, "01234", 5), 0);
  EXPECT_EQ(grown[5], 0xA5);  // what was beyond the recorded size is not copied
  EXPECT_EQ(recorded_size(grown), 8u);
  EXPECT_NE(fast->realloc(fast, nullptr, 8), nullptr);
  EXPECT_TRUE(all_zero(fast->calloc_nofail(fast, 1, 8), 8));
  fast.parent.fail_at(2);
  EXPECT_EQ(fast->realloc(fast, grown, 1000), nullptr);
  EXPECT_EQ(fast.parent.log.back(), "free 0");  // what the parent did not give is freed with what it gave
  EXPECT_EQ(std::memcmp(grown, "01234", 5), 0);
  // Sizes wrap: 2^32 - 1 rounds up to nothing.
  void *wrapped = fast->alloc(fast, 0xFFFFFFFF);
  ASSERT_NE(wrapped, nullptr);
  EXPECT_EQ(recorded_size(wrapped), 0u);
  EXPECT_EQ(recorded_size(fast->realloc(fast, grown, 0xFFFFFFFF)), 0u);
  for (const uint32_t size : {0xFFFFFFF1u, 0xFFFFFFF8u}) EXPECT_EQ(fast->alloc(fast, size), nullptr);
}

TEST(FastAllocator, SurvivesFailures) {
  kiv::test::sweep_failures([](CountingAllocator &parent) {
    KIV_ALLOCATOR fast;
    ASSERT_EQ(kiv_allocator_fast_new(&fast, parent.record(), 1, nullptr, 0, 100), 0);
    for (uint32_t i = 0; i < 40; ++i) {
      void *block = fast.calloc(&fast, 1, i);
      if (block != nullptr) EXPECT_TRUE(all_zero(block, i));
    }
    kiv_allocator_fast_delete(&fast);
    EXPECT_EQ(parent.live_blocks(), 0u);
  });
}

TEST(LockedAllocators, ManyThreads) {
  KIV_ALLOCATOR standard, wrap, fast;
  kiv_allocator_default_new(&standard);
  ASSERT_EQ(kiv_allocator_wrap_new(&wrap, &standard, 1), &wrap);
  ASSERT_EQ(kiv_allocator_fast_new(&fast, &wrap, 1, nullptr, 0, 1000), 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (uint32_t i = 1; i < 1000; ++i) {
        for (KIV_ALLOCATOR *allocator : {&wrap, &fast}) {
          void *block = allocator->calloc(allocator, 1, i % 50 + 1);
          std::memset(block, t, i % 50 + 1);
          block = allocator->realloc(allocator, block, 80);
          EXPECT_EQ(bytes(block)[i % 50], t);
          if (i % 2 == 0) allocator->free(allocator, block);
        }
      }
    });
  }
  for (auto &thread : threads) thread.join();
  kiv_allocator_fast_delete(&fast);
  kiv_allocator_wrap_delete(&wrap);
  kiv_allocator_default_delete(&standard);
}

// --- Groups, chunk-wise resizing, byte strings ---

TEST(GroupedBlocks, Layout) {
  CountingAllocator allocator;
  KIV_ALLOCATOR *record = allocator.record();
  uint8_t *const untouched = bytes(&allocator);
  std::vector<void *> out;
  const auto group = [&](bool zero, const std::vector<uint32_t> &n) {
    out.assign(8, untouched);
    void **const o = out.data();
    return n.size() == 4 ? (zero ? kiv_calloc4 : kiv_alloc4)(record, n[0], n[1], n[2], n[3], o, o + 1, o + 2, o + 3)
                         : (zero ? kiv_calloc8 : kiv_alloc8)(record, n[0], n[1], n[2], n[3], n[4], n[5], n[6], n[7], o,
                                                             o + 1, o + 2, o + 3, o + 4, o + 5, o + 6, o + 7);
  };
  for (const bool zero : {false, true}) {
    for (const std::vector<uint32_t> &sizes :
         {std::vector<uint32_t>{0, 5, 0, 9}, {8, 1, 0, 16, 7, 0, 0, 3}, {0, 0, 0, 0}, {0, 0, 0, 0, 0, 0, 0, 0}}) {
      allocator.clear_log();
      EXPECT_EQ(group(zero, sizes), 0);
      uint32_t total = 0;
      uint8_t *block = nullptr;
      for (size_t i = 0; i < sizes.size(); ++i) {
        if (total == 0) block = bytes(out[i]);
        EXPECT_EQ(out[i], sizes[i] != 0 ? block + total : untouched);
        total += (sizes[i] + 7) / 8 * 8;
      }
      EXPECT_EQ(allocator.log.empty(), total == 0);
      if (total == 0) continue;
      EXPECT_EQ(allocator.size_of(block), total);
      EXPECT_EQ(all_zero(block, total), zero);
      record->free(record, block);
      allocator.fail_at(1);
      EXPECT_EQ(group(zero, sizes), 1);
      EXPECT_EQ(out, std::vector<void *>(8, untouched));
    }
  }
}

TEST(ReallocChunkwise, Rules) {
  CountingAllocator allocator;
  KIV_ALLOCATOR *record = allocator.record();
  void *block = nullptr;
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 6, &block, 0, 10, 1), 0);
  EXPECT_EQ(allocator.size_of(block), 64u);
  EXPECT_TRUE(all_zero(block, 10));
  allocator.clear_log();
  void *same = block;
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 6, &block, 10, 60, 0), 0);
  EXPECT_EQ(bytes(block)[59], 0xA5);
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 38, &block, 10, 60, 1), 0);  // the shift counts modulo 32
  EXPECT_TRUE(all_zero(block, 60));
  EXPECT_EQ(block, same);
  EXPECT_TRUE(allocator.log.empty());
  allocator.fail_at(1);
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 6, &block, 60, 65, 1), 1);
  EXPECT_EQ(block, same);
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 6, &block, 60, 1000, 0), 0);
  EXPECT_EQ(allocator.size_of(block), 1024u);
  same = block;
  allocator.fail_at(1);
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 6, &block, 1000, 1, 0), 0);  // keeping too much is no failure
  EXPECT_EQ(block, same);
  EXPECT_EQ(kiv_alloc_realloc_chunkwise(record, 6, &block, 60, 0, 1), 0);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(allocator.live_blocks(), 0u);
}

TEST(ByteStrings, DuplicateAndAppend) {
  const uint32_t points = kiv::test::sweep_failures([](CountingAllocator &allocator) {
    KIV_ALLOCATOR *record = allocator.record();
    char *text = kiv_strdup(record, nullptr);
    if (text != nullptr) EXPECT_STREQ(text, "");
    EXPECT_EQ(kiv_strcat(record, text, nullptr), text);
    for (const char *more : {"left", "", " right"}) {
      const std::string before = text != nullptr ? text : "";
      char *longer = kiv_strcat(record, text, more);
      if (longer == nullptr) {
        if (text != nullptr) EXPECT_EQ(text, before);
        continue;
      }
      EXPECT_EQ(longer, before + more);
      text = longer;
    }
    record->free(record, text);
  });
  EXPECT_EQ(points, 4u);
}

}  // namespace
