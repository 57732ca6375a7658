// The mutex beside the system's recursive one: what the handle, the checks and the status cost when nobody contends.
//
// A second thread exists and sleeps all the time: in a process with a single thread the C library's locks leave out
// their atomic operations, and a debugger has more than one.

#include <pthread.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "bench_support.h"
#include "kiv_mutex.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kPairs = 4000000;

struct Ours {
  static constexpr const char *kName = "ours";

  Ours() { require(kiv_mutex_new(&mutex) == 0, kName, "new"); }
  Ours(const Ours &) = delete;
  ~Ours() { kiv_mutex_delete(&mutex); }
  bool take() { return kiv_mutex_take(&mutex) == 0; }
  bool give() { return kiv_mutex_give(&mutex) == 0; }

  kiv_mutex mutex;
};

struct Pthread {
  static constexpr const char *kName = "pthread";

  Pthread() {
    pthread_mutexattr_t recursive;
    pthread_mutexattr_init(&recursive);
    pthread_mutexattr_settype(&recursive, PTHREAD_MUTEX_RECURSIVE);
    require(pthread_mutex_init(&mutex, &recursive) == 0, kName, "init");
    pthread_mutexattr_destroy(&recursive);
  }
  Pthread(const Pthread &) = delete;
  ~Pthread() { pthread_mutex_destroy(&mutex); }
  bool take() { return pthread_mutex_lock(&mutex) == 0; }
  bool give() { return pthread_mutex_unlock(&mutex) == 0; }

  pthread_mutex_t mutex;
};

/// A pair a round. The results are counted, so that none is ignored.
template <class Mutex>
double time_pairs(Mutex *mutex) {
  size_t successes = 0;
  const Stopwatch stopwatch;
  for (size_t i = 0; i < kPairs; ++i) {
    successes += mutex->take();
    successes += mutex->give();
  }
  const double seconds = stopwatch.seconds();
  require(successes == 2 * kPairs, Mutex::kName, "take and give");
  return seconds;
}

template <class Mutex>
double time_free() {
  const auto mutex = std::make_unique<Mutex>();
  return time_pairs(mutex.get());
}

template <class Mutex>
double time_held() {
  const auto mutex = std::make_unique<Mutex>();
  require(mutex->take(), Mutex::kName, "take");
  const double seconds = time_pairs(mutex.get());
  require(mutex->give(), Mutex::kName, "give");
  return seconds;
}

/// As many gives as takes succeed and no more; another thread's fails while this one owns the mutex.
template <class Mutex>
void check_contestant() {
  const auto mutex = std::make_unique<Mutex>();
  require(mutex->take() && mutex->take(), Mutex::kName, "recursive take");
  std::thread([&] { require(!mutex->give(), Mutex::kName, "give by another thread"); }).join();
  require(mutex->give() && mutex->give() && !mutex->give(), Mutex::kName, "give");
}

template <class Mutex>
void add_contestant() {
  check_contestant<Mutex>();
  kiv::bench::add(kiv::bench::name("mutex", "take+give", 1, Mutex::kName), 1, kPairs, time_free<Mutex>);
  kiv::bench::add(kiv::bench::name("mutex", "take+give held", 1, Mutex::kName), 1, kPairs, time_held<Mutex>);
}

/// The thread that only exists.
class Sleeper {
 public:
  ~Sleeper() {
    {
      const std::lock_guard guard(guard_);
      done_ = true;
    }
    end_.notify_one();
    thread_.join();
  }

 private:
  void sleep() {
    std::unique_lock guard(guard_);
    end_.wait(guard, [this] { return done_; });
  }

  std::mutex guard_;
  std::condition_variable end_;
  bool done_ = false;
  std::thread thread_{&Sleeper::sleep, this};
};

}  // namespace

int main(int argc, char **argv) {
  const Sleeper sleeper;
  add_contestant<Ours>();
  add_contestant<Pthread>();
  return kiv::bench::run(argc, argv);
}
