#include "kiv_thread.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_semaphore.h"
#include "tests/support/process.h"

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace {

/// A managed thread at the start of a larger record.
struct Job {
  KIV_MANAGED_THREAD thread;
  kiv_semaphore *go;
  int32_t result;
  uint32_t id_seen;
};

int32_t run_job(void *record) {
  auto *job = static_cast<Job *>(record);
  job->id_seen = job->thread.thread_id == kiv_thread_get_current_thread_id() ? job->thread.thread_id : 0;
  if (job->go != nullptr) kiv_semaphore_wait(job->go);
  return kiv_thread_finish(&job->thread, job->result);
}

int32_t wait_for(Job *job) {
  int32_t value = 0;
  while (kiv_thread_return_value(&job->thread, &value) != 0) kiv_milli_sleep(1);
  return value;
}

TEST(ManagedThread, RunsAndReturns) {
  kiv_semaphore go;
  kiv_semaphore_new(&go, 0);
  Job job{{}, &go, -77, 0};
  uint32_t id = 0;
  ASSERT_EQ(kiv_thread_start(run_job, &job.thread, &id, 0), 0);
  EXPECT_NE(id, 0u);
  EXPECT_NE(id, kiv_thread_get_current_thread_id());
  EXPECT_EQ(id, job.thread.thread_id);
  EXPECT_EQ(job.thread.argument, &job);
  EXPECT_EQ(job.thread.entry, run_job);
  int32_t value = 5;
  EXPECT_EQ(kiv_thread_is_running(&job.thread), 1u);
  EXPECT_EQ(kiv_thread_return_value(&job.thread, &value), 1u);
  EXPECT_EQ(value, 5);
  kiv_semaphore_signal(&go);
  EXPECT_EQ(wait_for(&job), -77);
  EXPECT_EQ(kiv_thread_is_running(&job.thread), 0u);
  EXPECT_EQ(job.id_seen, id);
  kiv_semaphore_delete(&go);
}

std::atomic<int> finished;

TEST(ManagedThread, FreesItsRecord) {
  finished = 0;
  for (int i = 0; i < 50; ++i) {
    auto *record = static_cast<KIV_MANAGED_THREAD *>(std::malloc(sizeof(KIV_MANAGED_THREAD)));
    // The id goes into the record that may be gone when the start returns: a sanitizer would see a late store.
    ASSERT_EQ(kiv_thread_start(
                  [](void *self) {
                    const int32_t result = kiv_thread_finish(static_cast<KIV_MANAGED_THREAD *>(self), 1);
                    ++finished;
                    return result;
                  },
                  record, &record->thread_id, 1),
              0);
  }
  while (finished != 50) kiv_milli_sleep(1);
}

TEST(ManagedThread, ExitEndsTheThread) {
  Job job{};
  ASSERT_EQ(kiv_thread_start_detached(
                [](void *record) -> int32_t { kiv_thread_exit(static_cast<KIV_MANAGED_THREAD *>(record), 12); },
                &job.thread, nullptr),
            0);
  EXPECT_EQ(job.thread.free_on_finish, 0u);
  EXPECT_EQ(wait_for(&job), 12);
}

KIV_THREAD_ROUTINE_RESULT note_id(void *argument) {
  *static_cast<uint32_t *>(argument) = kiv_thread_get_current_thread_id();
  return 0;
}

TEST(BareThread, StartsAndJoinsOnce) {
  uint32_t seen = 0;
  KIV_THREAD thread{};
  ASSERT_EQ(kiv_thread_new(&thread, note_id, &seen), 0);
  EXPECT_EQ(kiv_thread_join(thread), 0);
  EXPECT_EQ(seen, thread.id);
  EXPECT_EQ(kiv_thread_join(thread), 1);
  EXPECT_EQ(kiv_thread_join({0, nullptr}), 1);
}

// Threads run out where the address space is too small for another stack; sanitizers need theirs.
#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
KIV_CHILD(no_room_for_a_thread) {
  const rlimit few{1 << 20, 1 << 20};
  setrlimit(RLIMIT_AS, &few);
  KIV_MANAGED_THREAD record{};
  uint32_t id = 77;
  KIV_THREAD bare{88, nullptr};
  const int managed = kiv_thread_start(run_job, &record, &id, 0);
  const int started = kiv_thread_new(&bare, note_id, &id);
  std::printf("%d %u %u; %d %u %d", managed, id, record.running, started, bare.id, bare.handle != nullptr);
}

TEST(Thread, CannotBeCreated) { EXPECT_EQ(kiv::test::run_child("no_room_for_a_thread").out, "1 77 0; 1 88 0"); }
#endif

TEST(Thread, SleepsLongEnough) {
  const auto start = std::chrono::steady_clock::now();
  kiv_milli_sleep(0);
  kiv_milli_sleep(30);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(29));
}

// --- Single-thread mode and the ends of the process: in a child ---

/// A thread's function that differs by child, run at once; then what it left to tell.
void run_single(KIV_MANAGED_THREAD *record, int32_t (*entry)(void *), int status) {
  kiv_thread_set_single_thread_mode();
  std::thread([=] { kiv_thread_start_detached(entry, record, nullptr); }).join();
  kiv_thread_die("left", status);
}

KIV_CHILD(mismatch) {
  KIV_MANAGED_THREAD record;
  run_single(
      &record, [](void *self) { return kiv_thread_finish(static_cast<KIV_MANAGED_THREAD *>(self), 3) + 1; }, 5);
}

KIV_CHILD(single_exit) {
  KIV_MANAGED_THREAD record{};
  run_single(
      &record, [](void *self) -> int32_t { kiv_thread_exit(static_cast<KIV_MANAGED_THREAD *>(self), 1); }, 6);
}

KIV_CHILD(single_thread_mode) {
  kiv_thread_set_single_thread_mode();
  for (uint32_t expected = 1; expected <= 3; ++expected) {
    auto *record = static_cast<KIV_MANAGED_THREAD *>(std::malloc(sizeof(KIV_MANAGED_THREAD)));
    uint32_t id = 0;
    const bool frees = expected == 2;
    kiv_thread_start([](void *self) { return kiv_thread_finish(static_cast<KIV_MANAGED_THREAD *>(self), 8); }, record,
                     &id, frees);
    std::printf("%u", id);
    if (frees) continue;
    int32_t value = 0;
    const uint32_t running = kiv_thread_return_value(record, &value);
    std::printf(" %u %u %d;", record->thread_id, running, value);
    std::free(record);
  }
  kiv_thread_die("no message yet", 0);
}

TEST(SingleThreadMode, RunsAtOnceAndNotesOddities) {
  const struct {
    const char *child, *out;
    int exit_code;
  } rows[] = {{"single_thread_mode", "1 1 0 8;23 3 0 8;no message yet: \n", 0},
              {"mismatch", "left: return value mismatch\n", 5},
              {"single_exit", "left: Executing kiv_thread_exit in single_thread mode\n", 6}};
  for (const auto &row : rows) {
    const auto result = kiv::test::run_child(row.child);
    EXPECT_EQ(result.out, row.out) << result.err;
    EXPECT_EQ(result.exit_code, row.exit_code);
  }
}

// --- Thread-specific data ---

TEST(ThreadData, BelongsToTheThread) {
  uint32_t key = 12345;
  int here = 0, there = 0;
  ASSERT_EQ(kiv_thread_specific_data_create_key(&key), 0);
  EXPECT_EQ(kiv_thread_specific_data_get_value(&key), nullptr);
  EXPECT_EQ(kiv_thread_specific_data_set_value(&key, &here), 0);
  std::thread([&] {
    EXPECT_EQ(kiv_thread_specific_data_get_value(&key), nullptr);
    EXPECT_EQ(kiv_thread_specific_data_set_value(&key, &there), 0);
    EXPECT_EQ(kiv_thread_specific_data_get_value(&key), &there);
  }).join();
  EXPECT_EQ(kiv_thread_specific_data_get_value(&key), &here);
  EXPECT_EQ(kiv_thread_specific_data_destroy_key(&key), 0);
  EXPECT_EQ(kiv_thread_specific_data_destroy_key(&key), 1);
  uint32_t none = UINT32_MAX;
  EXPECT_EQ(kiv_thread_specific_data_destroy_key(&none), 1);
  EXPECT_EQ(kiv_thread_specific_data_set_value(&none, &here), 1);
  EXPECT_EQ(kiv_thread_specific_data_get_value(&none), nullptr);
}

TEST(ThreadData, KeysRunOut) {
  std::vector<uint32_t> keys(5000, 777);
  size_t made = 0;
  while (made < keys.size() && kiv_thread_specific_data_create_key(&keys[made]) == 0) ++made;
  ASSERT_LT(made, keys.size());
  EXPECT_EQ(keys[made], 777u);
  for (size_t i = 0; i < made; ++i) EXPECT_EQ(kiv_thread_specific_data_destroy_key(&keys[i]), 0);
}

TEST(ThreadData, GlobalKey) {
  int value = 0;
  EXPECT_EQ(kiv_thread_specific_data_set_value_using_global_key(&value), 1);
  EXPECT_EQ(kiv_thread_specific_data_get_value_using_global_key(), nullptr);
  EXPECT_EQ(kiv_thread_specific_data_destroy_global_key(), 1);
  for (int i = 0; i < 3000; ++i) {  // more often than there are keys: the old one is not lost
    ASSERT_EQ(kiv_thread_specific_data_init_global_key(), 0);
    EXPECT_EQ(kiv_thread_specific_data_get_value_using_global_key(), nullptr);
    EXPECT_EQ(kiv_thread_specific_data_set_value_using_global_key(&value), 0);
    EXPECT_EQ(kiv_thread_specific_data_get_value_using_global_key(), &value);
  }
  EXPECT_EQ(kiv_thread_specific_data_destroy_global_key(), 0);
  EXPECT_EQ(kiv_thread_specific_data_set_value_using_global_key(&value), 1);
}

// --- Once ---

int initialised;  // not atomic: kiv_thread_once makes it visible

TEST(Once, RunsOnceForAll) {
  for (int round = 0; round < 20; ++round) {
    KIV_THREAD_ONCE once{0, 0};
    initialised = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
      threads.emplace_back([&] {
        EXPECT_EQ(kiv_thread_once(&once,
                                  [] {
                                    kiv_milli_sleep(1);
                                    ++initialised;
                                  }),
                  0);
        EXPECT_EQ(initialised, 1);
      });
    }
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(once.started, 1u);
    EXPECT_EQ(once.done, 1u);
  }
  KIV_THREAD_ONCE once{0, 0};
  EXPECT_EQ(kiv_thread_once(&once, nullptr), 1);
  EXPECT_EQ(kiv_thread_once(nullptr, [] { ++initialised; }), 1);
  EXPECT_EQ(once.started, 0u);
  EXPECT_EQ(initialised, 1);
}

}  // namespace
