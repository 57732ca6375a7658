// The index of cached messages is on the C runtime's heap, which is the test's own here.

#include <string>

#include "gtest/gtest.h"
#include "kiv_i18n.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/platform_seam.h"

namespace {

using namespace kiv::test;

TEST(I18nIndex, SurvivesAHeapThatFails) {
  CountingAllocator allocator;
  KIV_I18N *handle = kiv_i18n_prn_init(allocator.record());
  ASSERT_NE(handle, nullptr);
  const size_t live = platform.live;  // the mutexes' pool
  for (uint32_t i = 0; i < 100; ++i) {
    const std::string message = std::to_string(i);
    const size_t blocks = allocator.live_blocks();
    platform.failures = 1;
    KIV_STRING text = kiv_i18n_get(handle, message.c_str());
    if (text == nullptr) {
      // The index had to grow, before anything else was done.
      EXPECT_EQ(platform.failures, 0u);
      EXPECT_EQ(allocator.live_blocks(), blocks);
      text = kiv_i18n_get(handle, message.c_str());
    }
    platform.failures = 0;
    EXPECT_NE(text, nullptr);
    EXPECT_EQ(kiv_i18n_get(handle, message.c_str()), text);
    EXPECT_EQ(handle->count, i + 1);
  }
  EXPECT_EQ(platform.live, live + 5);  // 16, 32, 64, 128, 256 slots
  kiv_i18n_prn_exit(handle);
  EXPECT_EQ(platform.live, live);
}

}  // namespace
