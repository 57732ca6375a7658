// What the benchmarks share.
//
// A benchmark's name is FAMILY/OPERATION/SIZE/CONTESTANT; scripts/bench_table.py makes a table of these. The contestant
// is "ours", a peer, or "hand": a plain loop that marks what is possible and does not count as a peer.
//
// Set-up is never timed: a contestant's body does its set-up, times what it is there for with a Stopwatch, and gives
// the seconds back. Every body checks its results against figures that come from no contestant.
#ifndef KIV_BENCH_BENCH_SUPPORT_H
#define KIV_BENCH_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <time.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace kiv::bench {

/// Measures this thread's processor time: what else runs on the machine costs a contestant its caches, but not the time
/// in which it does not run.
class Stopwatch {
 public:
  double seconds() const { return now() - start_; }

 private:
  static double now() {
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
  }

  double start_ = now();
};

/// Ends the program when a contestant's result is wrong: figures of different work must not stand side by side.
inline void require(bool right, const std::string &contestant, const char *what) {
  if (right) return;
  std::fprintf(stderr, "%s: wrong result: %s\n", contestant.c_str(), what);
  std::abort();
}

/// Keeps freed memory in the process, so that no contestant's time depends on who took pages from the system first.
inline void keep_heap() {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_TOP_PAD, 64 << 20);
}

/// Merges the small blocks that the last contestant has freed; they would come back in the order of their freeing,
/// scattered over the heap. A large request does that.
inline void settle_heap() {
  void *volatile large = std::malloc(1 << 20);
  std::free(large);
}

/// Adds a benchmark. body() does `operations` operations and gives the seconds they took.
template <class Body>
void add(const std::string &name, int iterations, size_t operations, Body body) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [operations, body](benchmark::State &state) {
                                 settle_heap();
                                 for ([[maybe_unused]] auto iteration : state) state.SetIterationTime(body());
                                 state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(operations));
                               })
      ->Iterations(iterations)
      ->UseManualTime();
}

inline std::string name(const char *family, const char *operation, size_t size, const char *contestant) {
  return std::string(family) + '/' + operation + '/' + std::to_string(size) + '/' + contestant;
}

/// Runs what was added.
inline int run(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace kiv::bench

#endif
