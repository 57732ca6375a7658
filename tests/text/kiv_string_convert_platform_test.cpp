// Conversions through a buffer on the heap, where the test decides what the heap has.

#include <vector>

#include "gtest/gtest.h"
#include "kiv_string_convert.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/platform_seam.h"

namespace {

using kiv::test::CountingAllocator;
using kiv::test::platform;

const uint16_t kText[] = {'a', 0xD83D, 0xDE00, 'b', 0};

TEST(ConvertThroughTheHeap, Buffer) {
  platform = {};
  char chars[8] = "-------";
  EXPECT_EQ(kiv_string_convert_utf16_to_char(kText, chars, sizeof chars), 1);
  EXPECT_STREQ(chars, "a?b");
  EXPECT_EQ(platform.log, std::vector<std::string>{"malloc 20"});
  EXPECT_EQ(platform.live, 0u);
}

TEST(ConvertThroughTheHeap, NoBuffer) {
  platform = {};
  platform.failures = 3;
  char chars[4] = "---";
  EXPECT_EQ(kiv_string_convert_utf16_to_char(kText, chars, 0), 0);
  EXPECT_EQ(chars[0], '-');
  EXPECT_EQ(kiv_string_convert_utf16_to_char(kText, chars, sizeof chars), 0);
  EXPECT_STREQ(chars, "");
  EXPECT_EQ(chars[1], '-');
  CountingAllocator allocator;
  EXPECT_EQ(kiv_string_convert_utf16_to_char_a(allocator.record(), kText), nullptr);
  EXPECT_EQ(allocator.live_blocks(), 0u);
}

}  // namespace
