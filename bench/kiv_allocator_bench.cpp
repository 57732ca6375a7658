// The allocators beside others that take many small blocks: the fast kind beside pools, the wrapping kind beside malloc
// with a std::set of its blocks. Blocks of 32 bytes; a word is written to each, as its user would.
//
// Every contestant is called the way a user of a pluggable allocator calls it: through a pointer to a function or into
// a shared library, never inlined. Chunks have 64 KiB wherever their size can be chosen.

#include <apr_pools.h>
#include <obstack.h>
#include <talloc.h>

#include <cstdint>
#include <cstring>
#include <memory_resource>
#include <set>
#include <vector>

#include "bench_support.h"
#include "kiv_allocator.h"

#define obstack_chunk_alloc std::malloc
#define obstack_chunk_free std::free

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr uint32_t kBlockSize = 32;
constexpr uint32_t kChunkSize = 64 << 10;
constexpr size_t kBlocks = 1000000;

using Blocks = std::vector<void *>;

/// A pointer that the compiler knows nothing about: a call through it is not inlined.
template <class Pointer>
Pointer opaque(Pointer pointer) {
  asm("" : "+r"(pointer));
  return pointer;
}

// --- Contestants: alloc() gives a block, release() ends all of them --------------------------------------------------

struct OursFast {
  static constexpr const char *kName = "ours";
  static constexpr bool kReleases = true;

  OursFast() {
    kiv_allocator_default_new(&parent);
    require(kiv_allocator_fast_new(&allocator, &parent, 0, nullptr, 0, kChunkSize) == 0, kName, "fast_new");
  }
  ~OursFast() {
    kiv_allocator_fast_delete(&allocator);
    kiv_allocator_default_delete(&parent);
  }
  void *alloc() { return allocator.alloc(&allocator, kBlockSize); }
  void release(const Blocks &) { kiv_allocator_fast_dealloc_all(&allocator); }

  KIV_ALLOCATOR parent, allocator;
};

struct OursWrap {
  static constexpr const char *kName = "ours";
  static constexpr bool kReleases = true;

  OursWrap() {
    kiv_allocator_default_new(&parent);
    require(kiv_allocator_wrap_new(&allocator, &parent, 0) != nullptr, kName, "wrap_new");
  }
  ~OursWrap() {
    kiv_allocator_wrap_delete(&allocator);
    kiv_allocator_default_delete(&parent);
  }
  void *alloc() { return allocator.alloc(&allocator, kBlockSize); }
  void release(const Blocks &) { kiv_allocator_wrap_dealloc_all(&allocator); }

  KIV_ALLOCATOR parent, allocator;
};

struct Malloc {
  static constexpr const char *kName = "malloc";
  static constexpr bool kReleases = true;

  void *alloc() { return allocate(kBlockSize); }
  void release(const Blocks &blocks) {
    for (void *block : blocks) deallocate(block);
  }

  void *(*allocate)(size_t) = opaque(&std::malloc);
  void (*deallocate)(void *) = opaque(&std::free);
};

struct MallocAndSet {
  static constexpr const char *kName = "malloc+std::set";
  static constexpr bool kReleases = true;

  void *alloc() {
    void *block = heap.alloc();
    blocks.insert(block);
    return block;
  }
  void release(const Blocks &) {
    for (void *block : blocks) heap.deallocate(block);
    blocks.clear();
  }

  Malloc heap;
  std::set<void *> blocks;
};

struct PmrMonotonic {
  static constexpr const char *kName = "pmr monotonic";
  static constexpr bool kReleases = true;

  void *alloc() { return used->allocate(kBlockSize, 8); }
  void release(const Blocks &) { resource.release(); }

  std::pmr::monotonic_buffer_resource resource{kChunkSize, std::pmr::new_delete_resource()};
  std::pmr::memory_resource *used = opaque<std::pmr::memory_resource *>(&resource);
};

[[gnu::noinline]] void *allocate_from_obstack(void *context, uint32_t size) {
  return obstack_alloc(static_cast<obstack *>(context), size);
}

struct Obstack {
  static constexpr const char *kName = "obstack";
  static constexpr bool kReleases = true;

  Obstack() { obstack_begin(&stack, kChunkSize); }
  Obstack(const Obstack &) = delete;
  ~Obstack() { obstack_free(&stack, nullptr); }
  void *alloc() { return allocate(&stack, kBlockSize); }
  void release(const Blocks &blocks) { obstack_free(&stack, blocks.front()); }

  obstack stack;
  void *(*allocate)(void *, uint32_t) = opaque(&allocate_from_obstack);
};

struct AprPool {
  static constexpr const char *kName = "apr pool";
  static constexpr bool kReleases = true;

  AprPool() { apr_pool_create(&pool, nullptr); }
  AprPool(const AprPool &) = delete;
  ~AprPool() { apr_pool_destroy(pool); }
  void *alloc() { return apr_palloc(pool, kBlockSize); }
  void release(const Blocks &) { apr_pool_clear(pool); }

  apr_pool_t *pool = nullptr;
};

struct Talloc {
  static constexpr const char *kName = "talloc";
  static constexpr bool kReleases = true;

  Talloc() = default;
  Talloc(const Talloc &) = delete;
  ~Talloc() { talloc_free(context); }
  void *alloc() { return talloc_size(context, kBlockSize); }
  void release(const Blocks &) { talloc_free_children(context); }

  void *context = talloc_new(nullptr);
};

struct Bump {
  uint8_t *cursor;
  uint8_t *end;
};

[[gnu::noinline]] void *allocate_from_bump(void *context, uint32_t size) {
  auto *bump = static_cast<Bump *>(context);
  const size_t rounded = (size + 7) & ~size_t{7};
  if (static_cast<size_t>(bump->end - bump->cursor) < rounded) return nullptr;
  uint8_t *block = bump->cursor;
  bump->cursor += rounded;
  return block;
}

/// The mark: one buffer that is large enough for all, without headers and chunks. Releasing is no work at all.
struct Hand {
  static constexpr const char *kName = "hand";
  static constexpr bool kReleases = false;

  Hand() = default;
  Hand(const Hand &) = delete;
  ~Hand() { std::free(buffer); }
  void *alloc() { return allocate(&bump, kBlockSize); }
  void release(const Blocks &) { bump.cursor = buffer; }

  uint8_t *buffer = static_cast<uint8_t *>(std::malloc(kBlocks * kBlockSize));
  Bump bump{buffer, buffer + kBlocks *kBlockSize};
  void *(*allocate)(void *, uint32_t) = opaque(&allocate_from_bump);
};

// --- Work ------------------------------------------------------------------------------------------------------------

template <class Allocator>
void take_all(Allocator *allocator, Blocks *blocks) {
  for (size_t i = 0; i < blocks->size(); ++i) {
    void *block = allocator->alloc();
    *static_cast<size_t *>(block) = i;
    (*blocks)[i] = block;
  }
}

/// Blocks that overlap would have lost what was written to one of them.
template <class Allocator>
void check_words(const Blocks &blocks) {
  size_t wrong = 0;
  for (size_t i = 0; i < blocks.size(); ++i) wrong += *static_cast<size_t *>(blocks[i]) != i;
  require(wrong == 0, Allocator::kName, "blocks overlap");
}

template <class Allocator>
double time_alloc(Blocks *blocks) {
  Allocator allocator;
  const Stopwatch stopwatch;
  take_all(&allocator, blocks);
  const double seconds = stopwatch.seconds();
  check_words<Allocator>(*blocks);
  allocator.release(*blocks);
  return seconds;
}

template <class Allocator>
double time_release(Blocks *blocks) {
  Allocator allocator;
  take_all(&allocator, blocks);
  const Stopwatch stopwatch;
  allocator.release(*blocks);
  return stopwatch.seconds();
}

/// A block's whole life: what a release saves must not have been spent before.
template <class Allocator>
double time_both(Blocks *blocks) {
  Allocator allocator;
  const Stopwatch stopwatch;
  take_all(&allocator, blocks);
  allocator.release(*blocks);
  return stopwatch.seconds();
}

/// Twice, to see that a contestant can be used again after a release; every byte of every block is written.
template <class Allocator>
void check_contestant(Blocks *blocks) {
  Allocator allocator;
  for (int round = 0; round < 2; ++round) {
    take_all(&allocator, blocks);
    for (size_t i = 0; i < blocks->size(); ++i) std::memset((*blocks)[i], static_cast<int>(i % 251), kBlockSize);
    for (size_t i = 0; i < blocks->size(); ++i) {
      const auto *bytes = static_cast<uint8_t *>((*blocks)[i]);
      for (size_t j = 0; j < kBlockSize; ++j) require(bytes[j] == i % 251, Allocator::kName, "blocks overlap");
      require(reinterpret_cast<uintptr_t>(bytes) % 8 == 0, Allocator::kName, "alignment");
    }
    allocator.release(*blocks);
  }
}

template <class Allocator>
void add_contestant(const std::string &kind, Blocks *blocks) {
  const size_t size = blocks->size();
  const int iterations = size <= 10000 ? 20 : size <= 100000 ? 4 : 2;
  const auto name = [&](const char *operation) {
    return kiv::bench::name("allocator", (kind + operation).c_str(), size, Allocator::kName);
  };
  check_contestant<Allocator>(blocks);
  kiv::bench::add(name(" alloc"), iterations, size, [blocks] { return time_alloc<Allocator>(blocks); });
  if (Allocator::kReleases) {
    kiv::bench::add(name(" release"), iterations, size, [blocks] { return time_release<Allocator>(blocks); });
  }
  kiv::bench::add(name(" both"), iterations, size, [blocks] { return time_both<Allocator>(blocks); });
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  apr_initialize();
  Blocks few(10000), some(100000), many(kBlocks);
  add_contestant<OursFast>("fast", &many);
  add_contestant<Malloc>("fast", &many);
  add_contestant<PmrMonotonic>("fast", &many);
  add_contestant<Obstack>("fast", &many);
  add_contestant<AprPool>("fast", &many);
  add_contestant<Talloc>("fast", &many);
  add_contestant<Hand>("fast", &many);
  for (Blocks *blocks : {&few, &some, &many}) {
    add_contestant<OursWrap>("wrap", blocks);
    add_contestant<MallocAndSet>("wrap", blocks);
  }
  const int status = kiv::bench::run(argc, argv);
  apr_terminate();
  return status;
}
