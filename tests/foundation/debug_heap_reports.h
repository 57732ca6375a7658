// Records what the debug heap reports, and what it writes to standard error.
#ifndef KIV_TESTS_FOUNDATION_DEBUG_HEAP_REPORTS_H
#define KIV_TESTS_FOUNDATION_DEBUG_HEAP_REPORTS_H

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_debug_heap.h"

namespace kiv::test {

using Lines = std::vector<int>;

inline Lines reported;

/// An address as the C runtime prints it.
inline std::string address_text(const void *address) {
  char text[40];
#ifdef _WIN32
  std::snprintf(text, sizeof text, "%0*" PRIXPTR, static_cast<int>(2 * sizeof address), (uintptr_t)address);
#else
  std::snprintf(text, sizeof text, "%p", address);
#endif
  return text;
}

inline std::string message_of(int line) {
  static const std::pair<Lines, const char *> messages[]{
      {{154}, "adding block for the second time to heap admin"},
      {{158}, "adding block to heap admin failed"},
      {{201}, "write before start of block detected in free() or specified an unknown pointer"},
      {{207}, "write beyond end of block detected in free()"},
      {{210}, "about to free an invalid pointer"},
      {{213}, "invalid pointer"},
      {{219}, "write before start of block detected in free()"},
      {{409, 465, 500, 529, 624, 688}, "Internal inconsistency: alloc variable"},
      {{415, 535, 630, 753}, "kiv_mutex_take failed"},
      {{423, 424, 431}, "malloc failed"},
      {{445, 571, 643, 772}, "kiv_mutex_give failed"},
      {{471, 472}, "calloc failed"},
      {{560, 561}, "realloc failed"},
      {{716}, "admin init failed"},
      {{722}, "kiv_mutex_new failed"},
      {{757}, "not a debug heap allocator"},
      {{765}, "not all allocated memory has been free-ed"},
      {{777}, "kiv_mutex_delete failed"},
  };
  for (const auto &[lines, message] : messages) {
    if (std::find(lines.begin(), lines.end(), line) != lines.end()) return message;
  }
  return "?";
}

/// What the report of line 513 is to say.
inline std::string unknown_message;

inline int record_hook(int line, const char *file, const char *message) {
  reported.push_back(line);
  EXPECT_STREQ(file, "kiv_debug_allocator.cpp");
  EXPECT_EQ(message, line == 513 ? unknown_message : message_of(line));
  return 0;
}

/// Runs the test with the recording hook, and wants every report to have been expected.
class DebugHeapTest : public testing::Test {
 protected:
  DebugHeapTest() {
    reported.clear();
    EXPECT_EQ(kiv_debug_heap_set_hook(record_hook), &kiv_assert_box_win32);
    testing::internal::CaptureStderr();
  }
  ~DebugHeapTest() override {
    EXPECT_EQ(reported, Lines{});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), text_);
    EXPECT_EQ(kiv_debug_heap_set_hook(nullptr), &record_hook);
  }

  /// The reports since the last call.
  static Lines reports() { return std::exchange(reported, {}); }

  /// The text that standard error is to get in this place.
  void expect_text(const std::string &text) { text_ += text; }
  /// The text of a report 513, and its message.
  void expect_unknown(const char *operation, const uint8_t *user, const char *complaint) {
    unknown_message = operation + address_text(reinterpret_cast<void *>((uintptr_t)user - 16)) + complaint;
    expect_text("\n***********************************************************\n" + unknown_message);
  }
  void expect_unknown_free(const uint8_t *user) {
    expect_unknown("free-ing block ", user, " not allocated or already free-ed before\n");
  }
  void expect_unknown_realloc(const uint8_t *user) {
    expect_unknown("realloc-ing block ", user, " not allocated before\n");
  }

 private:
  std::string text_;
};

}  // namespace kiv::test

#endif
