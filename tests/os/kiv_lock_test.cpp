// Mutexes and semaphores of both generations.

#include <atomic>
#include <cstdio>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_mutex.h"
#include "kiv_semaphore.h"
#include "kiv_stubs.h"
#include "kiv_thread.h"
#include "tests/support/process.h"

#ifndef _WIN32
#include "tests/support/interrupt.h"
#endif

namespace {

using Operation = int (*)(void **);

/// What a call gives on another thread.
int elsewhere(Operation operation, void **handle) {
  int result = -2;
  std::thread([&] { result = operation(handle); }).join();
  return result;
}

TEST(Mutex, OwnerTakesAndGivesAsOften) {
  kiv_mutex mutex = nullptr;
  ASSERT_EQ(kiv_mutex_recursive_new(&mutex), 0);
  EXPECT_EQ(kiv_mutex_give(&mutex), 1);  // nobody owns it
  EXPECT_EQ(kiv_mutex_take(&mutex), 0);
  EXPECT_EQ(kiv_mutex_lock(&mutex), 0);  // one object for both generations
  EXPECT_EQ(elsewhere(kiv_mutex_give, &mutex), 1);
  EXPECT_EQ(kiv_mutex_give(&mutex), 0);
  std::atomic<bool> taken = false;
  std::thread other([&] {
    EXPECT_EQ(kiv_mutex_take(&mutex), 0);
    taken = true;
    EXPECT_EQ(kiv_mutex_give(&mutex), 0);
  });
  kiv_milli_sleep(20);
  EXPECT_FALSE(taken);  // still held once
  EXPECT_EQ(kiv_mutex_unlock(&mutex), 0);
  other.join();
  EXPECT_TRUE(kiv_mutex_assert_is_locked_by_my_thread(&mutex) && kiv_mutex_assert_is_not_locked_by_my_thread(&mutex));
  EXPECT_EQ(kiv_mutex_delete(&mutex), 0);
}

TEST(Mutex, Excludes) {
  kiv_mutex mutex = nullptr;
  kiv_mutex_create(&mutex);
  int64_t count = 0;
  const auto add = [&] {
    for (int i = 0; i < 10000; ++i) {
      kiv_mutex_take(&mutex);
      ++count;
      kiv_mutex_give(&mutex);
    }
  };
  std::thread other(add);
  add();
  other.join();
  EXPECT_EQ(count, 20000);
  EXPECT_EQ(kiv_mutex_destroy(&mutex), 0);
}

TEST(Locks, BadHandlesFail) {
  void *null = nullptr;
  void *deleted_mutex = nullptr, *deleted_semaphore = nullptr;
  kiv_mutex_new(&deleted_mutex);
  kiv_semaphore_new(&deleted_semaphore, 1);
  const void *before = deleted_mutex;
  EXPECT_EQ(kiv_mutex_delete(&deleted_mutex), 0);
  EXPECT_EQ(kiv_semaphore_delete(&deleted_semaphore), 0);
  EXPECT_EQ(deleted_mutex, before);
  for (void **handle : {static_cast<void **>(nullptr), &null, &deleted_mutex, &deleted_semaphore}) {
    EXPECT_EQ(kiv_mutex_take(handle), 1);
    EXPECT_EQ(kiv_mutex_give(handle), 1);
    EXPECT_EQ(kiv_mutex_delete(handle), 1);
    EXPECT_EQ(kiv_semaphore_wait(handle), 1);
    EXPECT_EQ(kiv_semaphore_trywait(handle), -1);
    EXPECT_EQ(kiv_semaphore_signal(handle), 1);
    EXPECT_EQ(kiv_semaphore_delete(handle), 1);
  }
  EXPECT_EQ(kiv_mutex_new(nullptr), 1);
  EXPECT_EQ(kiv_semaphore_new(nullptr, 1), 1);
}

TEST(Mutex, DeletedWhileHeld) {
  kiv_mutex mutex;
  kiv_mutex_new(&mutex);
  kiv_mutex_take(&mutex);
#ifndef _WIN32
  EXPECT_EQ(elsewhere(kiv_mutex_delete, &mutex), 1);
  EXPECT_EQ(kiv_mutex_take(&mutex), 0);  // unharmed
#endif
  EXPECT_EQ(kiv_mutex_delete(&mutex), 0);
}

TEST(Semaphore, CountsToItsLimit) {
  kiv_semaphore semaphore;
  for (const int32_t initial : {-1, KIV_SEMAPHORE_MAXIMUM + 1, INT32_MIN}) {
    semaphore = &semaphore;
    EXPECT_EQ(kiv_semaphore_new(&semaphore, initial), 1);
    EXPECT_EQ(semaphore, nullptr);
  }
  ASSERT_EQ(kiv_semaphore_new(&semaphore, KIV_SEMAPHORE_MAXIMUM - 1), 0);
  EXPECT_EQ(kiv_semaphore_signal(&semaphore), 0);
  EXPECT_EQ(kiv_semaphore_signal(&semaphore), 1);
  EXPECT_EQ(kiv_semaphore_wait(&semaphore), 0);
  EXPECT_EQ(kiv_sema_post(&semaphore), 0);
  EXPECT_EQ(kiv_sema_destroy(&semaphore), 0);
  ASSERT_EQ(kiv_semaphore_new(&semaphore, 2), 0);
  EXPECT_EQ(kiv_semaphore_trywait(&semaphore), 0);
  EXPECT_EQ(kiv_sema_wait(&semaphore), 0);
  EXPECT_EQ(kiv_semaphore_trywait(&semaphore), 1);
  EXPECT_EQ(kiv_sema_trywait(&semaphore), 1);
  EXPECT_EQ(kiv_semaphore_delete(&semaphore), 0);
}

TEST(Semaphore, WakesAsManyAsItIsSignalled) {
  kiv_semaphore go, done;
  kiv_semaphore_new(&go, 0);
  kiv_semaphore_new(&done, 0);
  std::atomic<int> woken = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      EXPECT_EQ(kiv_semaphore_wait(&go), 0);
      ++woken;
      kiv_semaphore_signal(&done);
    });
  }
  for (int i = 1; i <= 4; ++i) {
    kiv_semaphore_signal(&go);
    EXPECT_EQ(kiv_semaphore_wait(&done), 0);
    EXPECT_EQ(woken, i);
  }
  for (auto &thread : threads) thread.join();
  kiv_semaphore_delete(&go);
  kiv_semaphore_delete(&done);
}

#ifndef _WIN32
TEST(Locks, InterruptedWaitsGoOn) {
  kiv_semaphore semaphore, taken;
  kiv_mutex mutex;
  kiv_semaphore_new(&semaphore, 0);
  kiv_semaphore_new(&taken, 0);
  kiv_mutex_new(&mutex);
  const auto wait = [&] { return kiv_semaphore_wait(&semaphore); };
  const auto take = [&] { return kiv_mutex_take(&mutex); };
  const auto release = [&] { kiv_semaphore_signal(&semaphore); };
  EXPECT_EQ(kiv::test::interrupted(wait, release), 0);
  std::thread holder([&] {
    kiv_mutex_take(&mutex);
    kiv_semaphore_signal(&taken);
    wait();
    kiv_mutex_give(&mutex);
  });
  kiv_semaphore_wait(&taken);
  EXPECT_EQ(kiv::test::interrupted(take, release), 0);
  holder.join();
  kiv_mutex_give(&mutex);
  EXPECT_EQ(kiv_semaphore_delete(&semaphore) + kiv_semaphore_delete(&taken) + kiv_mutex_delete(&mutex), 0);
}
#endif

// --- The older generation's end ---

/// What ends the process, and what it says first.
const struct {
  void (*end)(void **handle);
  const char *message;
} kEnds[] = {
    {[](void **) { kiv_mutex_lock(nullptr); }, "Invalid argument"},
    {[](void **handle) {
       kiv_mutex_new(handle);
       kiv_mutex_delete(handle);
       kiv_mutex_destroy(handle);
     },
     "Invalid argument"},
    {[](void **handle) {
       kiv_mutex_create(handle);
       kiv_mutex_unlock(handle);
     },
     "Operation not permitted"},
    {[](void **handle) { kiv_sema_create(handle, -1); }, "Invalid argument"},
    {[](void **handle) { kiv_sema_wait(handle); }, "Invalid argument"},
    {[](void **handle) { kiv_sema_trywait(handle); }, "Invalid argument"},
    {[](void **handle) {
       kiv_sema_create(handle, KIV_SEMAPHORE_MAXIMUM);
       kiv_sema_post(handle);
     },
     "Value too large for defined data type"},
};

/// The number of the row is its input.
KIV_CHILD(end) {
  void *handle = nullptr;
  kEnds[std::getchar() - '0'].end(&handle);
}

TEST(OlderLocks, FailuresPrintAndExit) {
  for (size_t i = 0; i < std::size(kEnds); ++i) {
    const auto result = kiv::test::run_child("end", std::to_string(i));
    EXPECT_EQ(result.exit_code, 1) << i;
    EXPECT_EQ(result.err, "") << i;
#ifdef _WIN32
    // The system's wording, ended by its line break, then ours. Languages and systems differ in the words.
    EXPECT_EQ(result.out.rfind("windows error: ", 0), 0u) << i << result.out;
    EXPECT_GT(result.out.size(), sizeof "windows error: " + 1) << result.out;
    EXPECT_EQ(result.out.back(), '\n');
#else
    EXPECT_EQ(result.out, std::string("windows error: ") + kEnds[i].message + "\n");
#endif
  }
}

}  // namespace
