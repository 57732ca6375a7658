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
  for (const bool fails : {false, true}) {
    platform = {};
    platform.failures = fails ? 3 : 0;
    char chars[8] = "-------";
    EXPECT_EQ(kiv_string_convert_utf16_to_char(kText, chars, 0), 0);
    EXPECT_EQ(chars[0], '-');
    EXPECT_EQ(kiv_string_convert_utf16_to_char(kText, chars, sizeof chars), fails ? 0 : 1);
    EXPECT_STREQ(chars, fails ? "" : "a?b");
    EXPECT_EQ(platform.log.back(), "malloc 20");
    EXPECT_EQ(platform.live, 0u);
  }
  CountingAllocator allocator;
  EXPECT_EQ(kiv_string_convert_utf16_to_char_a(allocator.record(), kText), nullptr);
  EXPECT_EQ(allocator.live_blocks(), 0u);
}

}  // namespace
