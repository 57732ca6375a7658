// The debug heap with many live blocks, beside dmalloc, which can check its whole heap at every call too, and beside
// what one would write in an afternoon: guards and a std::set of the blocks, all checked at every operation.
//
// dmalloc brings a malloc of its own. It is loaded apart, so that nobody else in the process gets memory from it.
//
// "hand" is the afternoon's work. It does not ask whether memory can be read before it reads it, and reads only the two
// words that hold guards.

#include <dlfcn.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <set>
#include <vector>

#include "bench_support.h"
#include "kiv_debug_heap.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

int reports = 0;

int count_report(int, const char *, const char *) { return ++reports, 0; }

struct Ours {
  static constexpr const char *kName = "ours";

  Ours() {
    kiv_debug_heap_set_hook(count_report);
    kiv_debug_heap_new(&record, 0);
  }
  ~Ours() { kiv_debug_heap_destroy_allocator(&record); }
  void *alloc(uint32_t size) { return record.alloc(&record, size); }
  void free(void *block) { record.free(&record, block); }
  void start_checking() {}
  void stop_checking() {}
  bool finds_damage() {
    reports = 0;
    kiv_debug_heap_check_all_blocks(&record);
    return reports != 0;
  }

  KIV_ALLOCATOR record;
};

struct Hand {
  static constexpr const char *kName = "hand";
  static constexpr uint32_t kGuard = 0xCDCDCDCD;

  void *alloc(uint32_t size) {
    auto *start = static_cast<uint8_t *>(std::malloc(size + 20));
    std::memset(start, 0xAA, size + 20);
    std::memcpy(start + 4, &size, 4);
    std::memcpy(start + 12, &kGuard, 4);
    std::memcpy(start + 16 + size, &kGuard, 4);
    blocks.insert(start);
    check();
    return start + 16;
  }
  void free(void *block) {
    auto *start = static_cast<uint8_t *>(block) - 16;
    blocks.erase(start);
    std::memset(start, 0xBB, size_of(start) + 20);
    asm volatile("" : : "r"(start) : "memory");  // or the compiler leaves the fill out
    std::free(start);
    check();
  }
  void start_checking() {}
  void stop_checking() {}
  bool finds_damage() {
    damaged = 0;
    check();
    return damaged != 0;
  }

  static uint32_t size_of(const uint8_t *start) {
    uint32_t size;
    std::memcpy(&size, start + 4, 4);
    return size;
  }
  void check() {
    for (const uint8_t *start : blocks) {
      damaged += std::memcmp(start + 12, &kGuard, 4) != 0 || std::memcmp(start + 16 + size_of(start), &kGuard, 4) != 0;
    }
  }

  std::set<uint8_t *> blocks;
  size_t damaged = 0;
};

struct Dmalloc {
  static constexpr const char *kName = "dmalloc";
  static constexpr int kMallocCall = 10;  // DMALLOC_FUNC_MALLOC
  static constexpr int kFreeCall = 18;    // DMALLOC_FUNC_FREE

  Dmalloc() {
    require(library != nullptr, kName, "libdmalloc-dev is not installed");
    find("dmalloc_malloc", &allocate);
    find("dmalloc_free", &deallocate);
    find("dmalloc_verify", &verify);
    find("dmalloc_debug_setup", &set_up);
    set_up("check-fence,alloc-blank,free-blank,log=/dev/null");
  }
  /// Not before the live blocks are there: that takes half a minute for 10,000.
  void start_checking() { set_up("check-fence,check-heap,alloc-blank,free-blank,log=/dev/null"); }
  void stop_checking() { set_up("check-fence,alloc-blank,free-blank,log=/dev/null"); }
  void *alloc(uint32_t size) { return allocate(nullptr, 0, size, kMallocCall, 0, 0); }
  void free(void *block) { deallocate(nullptr, 0, block, kFreeCall); }
  bool finds_damage() { return verify(nullptr) == 0; }

  template <class Function>
  void find(const char *name, Function *function) {
    *function = reinterpret_cast<Function>(dlsym(library, name));
    require(*function != nullptr, kName, name);
  }

  void *library = dlopen("libdmalloc.so.5", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
  void *(*allocate)(const char *, int, size_t, int, size_t, int);
  int (*deallocate)(const char *, int, void *, int);
  int (*verify)(const void *);
  void (*set_up)(const char *);
};

/// Some live blocks of 16 to 111 bytes, and operations that release one and allocate another.
template <class Heap>
struct Work {
  explicit Work(size_t count) {
    for (size_t i = 0; i < count; ++i) blocks.push_back(heap.alloc(size()));
    heap.start_checking();
  }
  Work(const Work &) = delete;
  ~Work() {
    heap.stop_checking();
    for (void *block : blocks) heap.free(block);
  }
  uint32_t size() { return 16 + static_cast<uint32_t>(random() % 96); }
  void replace_one() {
    void *&block = blocks[random() % blocks.size()];
    heap.free(block);
    block = heap.alloc(size());
  }

  std::mt19937_64 random{1};
  Heap heap;
  std::vector<void *> blocks;
};

template <class Heap>
void check_contestant() {
  Work<Heap> work(50);
  for (int i = 0; i < 100; ++i) work.replace_one();
  require(!work.heap.finds_damage(), Heap::kName, "damage where there is none");
  auto *byte = static_cast<uint8_t *>(work.blocks[25]) - 1;
  const uint8_t before = *byte;
  *byte = static_cast<uint8_t>(~before);
  require(work.heap.finds_damage(), Heap::kName, "no damage where there is some");
  *byte = before;
}

template <class Heap>
void add_contestant(size_t count) {
  const size_t pairs = 200000 / count + 20;
  kiv::bench::add(kiv::bench::name("debug_heap", "replace a block", count, Heap::kName), 2, pairs, [count, pairs] {
    Work<Heap> work(count);
    const Stopwatch stopwatch;
    for (size_t i = 0; i < pairs; ++i) work.replace_one();
    return stopwatch.seconds();
  });
}

template <class Heap>
void add_heap() {
  check_contestant<Heap>();
  for (const size_t count : {100u, 1000u, 10000u}) add_contestant<Heap>(count);
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  add_heap<Ours>();
  add_heap<Hand>();
  add_heap<Dmalloc>();
  return kiv::bench::run(argc, argv);
}
