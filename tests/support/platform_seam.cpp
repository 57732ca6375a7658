#include "tests/support/platform_seam.h"

#include <csetjmp>
#include <cstdlib>
#include <utility>

#include "gtest/gtest.h"
#include "os/platform.h"

namespace kiv::test {

PlatformSeam platform;

namespace {

std::jmp_buf after_crash;

bool refuses() {
  if (platform.failures == 0) return false;
  if (platform.successes > 0) return --platform.successes, false;
  return --platform.failures, true;
}

void *counted(void *block) {
  if (block != nullptr) ++platform.live;
  return block;
}

}  // namespace

void reset_platform() {
  kiv_mutex mutex;
  EXPECT_EQ(kiv_mutex_new(&mutex), 0);
  EXPECT_EQ(kiv_mutex_delete(&mutex), 0);
  platform = {};
}

NoMutexes::NoMutexes() {
  platform.successes = 0;
  platform.failures = UINT32_MAX;
  kiv_mutex mutex = nullptr;
  for (; taken.size() < 1000 && kiv_mutex_new(&mutex) == 0; mutex = nullptr) taken.push_back(mutex);
  EXPECT_LT(taken.size(), 1000u);
  EXPECT_EQ(mutex, nullptr);
}

NoMutexes::~NoMutexes() {
  platform.failures = 0;
  for (kiv_mutex &mutex : taken) EXPECT_EQ(kiv_mutex_delete(&mutex), 0);
}

bool crashes(const std::function<void()> &body) {
  if (setjmp(after_crash) != 0) return true;
  body();
  return false;
}

}  // namespace kiv::test

namespace kiv::os {

using test::platform;

void *heap_alloc(size_t size) {
  platform.log.push_back("malloc " + std::to_string(size));
  if (platform.next != nullptr) return std::exchange(platform.next, nullptr);
  return test::refuses() ? nullptr : test::counted(std::malloc(size));
}

void *heap_calloc(size_t count, size_t size) {
  platform.log.push_back("calloc " + std::to_string(count) + " " + std::to_string(size));
  return test::refuses() ? nullptr : test::counted(std::calloc(count, size));
}

void *heap_realloc(void *block, size_t size) {
  platform.log.push_back((block != nullptr ? "realloc block " : "realloc null ") + std::to_string(size));
  if (block != nullptr && size == 0) return heap_free(block), nullptr;
  if (test::refuses()) return nullptr;
  return block != nullptr ? std::realloc(block, size) : test::counted(std::malloc(size));
}

void heap_free(void *block) {
  if (block != nullptr) --platform.live;
  if (platform.keeps_freed) return platform.kept.push_back(block);
  std::free(block);
}

void sleep_milliseconds(uint32_t milliseconds) {
  platform.log.push_back("sleep " + std::to_string(milliseconds));
  if (platform.on_sleep) platform.on_sleep();
}

void crash() {
  platform.log.push_back("crash");
  std::longjmp(test::after_crash, 1);
}

}  // namespace kiv::os
