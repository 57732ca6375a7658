// The buffer of a formatted internal message is on the C runtime's heap, which is the test's own here.

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_error.h"
#include "kiv_vsnprintf.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/platform_seam.h"
#include "tests/support/unistring.h"

namespace {

using namespace kiv::test;

/// The length of the internal message.
uint32_t formatted_length(const KIV_ERROR_CONTEXT *context, const char *format, ...) {
  va_list list;
  va_start(list, format);
  KIV_ERROR *record =
      kiv_error_create_or_prepend(context, nullptr, format, &list, "", 1, nullptr, "", nullptr, "text[|]");
  va_end(list);
  EXPECT_EQ(text_of(record->entries[0].user_message_local), U"text");
  const uint32_t length = kiv_string_length(record->entries[0].internal_message);
  kiv_error_delete(context, record);
  return length;
}

class ErrorPlatformTest : public testing::Test {
 protected:
  ErrorPlatformTest() { EXPECT_NE(kiv_i18n_get(context.messages, "text[|]"), nullptr); }
  ~ErrorPlatformTest() override { kiv_i18n_prn_exit(context.messages); }

  CountingAllocator allocator;
  KIV_ERROR_CONTEXT context = {allocator.record(), kiv_i18n_prn_init(allocator.record())};
};

TEST_F(ErrorPlatformTest, BufferSizes) {
  const struct {
    size_t format, text;
    std::vector<size_t> buffers;
  } rows[] = {
      {2, 1005, {1006}},
      {2, 1006, {1006, 1007}},
      {2, 1007, {1006, 2012}},
      {1000, 5000, {4000, 8000}},
      {2, 99999, {1006, 2012, 4024, 8048, 16096, 32192, 64384, 100000}},
      {32999, 200000, {99997, 100000}},
      {33000, 200000, {100000}},
      {50000, 200000, {151000}},
  };
  for (const auto &row : rows) {
    // The format is as long as it is told, the text too.
    const std::string format = "%s" + std::string(row.format - 2, '.');
    const std::string text(row.text > row.format - 2 ? row.text - (row.format - 2) : 0, 'x');
    platform.log.clear();
    const size_t live = platform.live;
    EXPECT_EQ(formatted_length(&context, format.c_str(), text.c_str()), std::min(row.text, row.buffers.back() - 1));
    std::vector<std::string> expected;
    for (const size_t size : row.buffers) expected.push_back("calloc 1 " + std::to_string(size));
    // Where the C runtime always terminates, printing takes blocks of its own.
    std::erase_if(platform.log, [](const std::string &call) { return call.starts_with("malloc"); });
    EXPECT_EQ(platform.log, expected);
    EXPECT_EQ(platform.live, live);
  }
}

TEST_F(ErrorPlatformTest, WithoutABufferTheMessageIsEmpty) {
  const std::string text(5000, 'x');
  bool failed = true;
  for (uint32_t point = 0; failed; ++point) {
    for (const uint32_t failures : {1u, UINT32_MAX}) {
      platform.log.clear();
      platform.successes = point;
      platform.failures = failures;
      const size_t live = platform.live;
      const uint32_t length = formatted_length(&context, "%s", text.c_str());
      failed = platform.failures != failures;
      // A block that only printing took is not missed.
      const bool buffer_failed = failed && (failures > 1 || platform.log[point].starts_with("calloc"));
      EXPECT_EQ(length, buffer_failed ? 0u : 5000u) << point;
      EXPECT_EQ(platform.live, live);
      platform.failures = 0;
    }
  }
}

#ifndef _WIN32  // there the C runtime does it

int print(char *buffer, uint32_t size, const char *format, ...) {
  va_list list;
  va_start(list, format);
  const int length = kiv_do_vsnprintf(buffer, size, format, list);
  va_end(list);
  return length;
}

TEST(VsnprintfPlatform, ATextThatJustFitsNeedsMemory) {
  char buffer[601];
  const std::string text(600, 'x');
  platform.successes = 0;
  platform.failures = 1;
  EXPECT_EQ(print(buffer, 600, "%s", text.c_str()), -1);
  EXPECT_EQ(platform.failures, 0u);
  EXPECT_EQ(std::string(buffer), text.substr(1));
  EXPECT_EQ(print(buffer, 600, "%s", text.c_str()), 600);
  EXPECT_EQ(std::string(buffer, 600), text);
}

#endif

}  // namespace
