// Printing strings. The library's heap is the test's own.

#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <functional>
#include <vector>

#include "gtest/gtest.h"
#include "kiv_string.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/platform_seam.h"
#include "tests/support/process.h"
#include "tests/text/text.h"

namespace {

using namespace kiv::test;
using Log = std::vector<std::string>;

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

/// What a printer was called with: the wide texts, with code points from 127 on as "<4E2D>", and the other prints as
/// the format and its argument, "%c:65". The print number `fail_at` fails.
struct Recorder {
  Log prints;
  std::vector<std::wstring> wide;
  int fail_at = 0;
  int error = EIO;

  static int print(void *destination, const char *format, ...) {
    auto *recorder = static_cast<Recorder *>(destination);
    va_list arguments;
    va_start(arguments, format);
    std::string entry = format;
    if (entry == "%S") {
      const wchar_t *text = va_arg(arguments, const wchar_t *);
      recorder->wide.emplace_back(text);
      entry.clear();
      for (; *text != 0; ++text) {
        char unit[16];
        std::snprintf(unit, sizeof unit, *text < 127 ? "%c" : "<%X>", static_cast<unsigned>(*text));
        entry += unit;
      }
    } else if (entry == "%c") {
      entry += ":" + std::to_string(va_arg(arguments, int));
    } else if (entry == "\\x%lX") {
      entry += ":" + std::to_string(va_arg(arguments, unsigned long));
    }
    va_end(arguments);
    recorder->prints.push_back(entry);
    if (static_cast<int>(recorder->prints.size()) != recorder->fail_at) return 1;
    errno = recorder->error;
    return -1;
  }
};

/// Runs a print without a failure, then with each of its prints failing: it ends there, with errno.
Log sweep_prints(const std::function<int(Recorder *)> &print) {
  Recorder whole;
  EXPECT_EQ(print(&whole), 0);
  for (int n = 1; n <= static_cast<int>(whole.prints.size()); ++n) {
    for (const int error : {EIO, 0}) {
      Recorder failing;
      failing.fail_at = n;
      failing.error = error;
      EXPECT_EQ(print(&failing), error);
      EXPECT_EQ(failing.prints, Log(whole.prints.begin(), whole.prints.begin() + n));
    }
  }
  return whole.prints;
}

class StringPrint : public testing::Test {
 protected:
  StringPrint() {
    std::setlocale(LC_CTYPE, "C");
    platform = {};
  }
  ~StringPrint() override { EXPECT_EQ(platform.live, 0u) << "heap blocks leaked"; }
};

TEST_F(StringPrint, PutsWideText) {
  const auto puts = [](const Text &s) {
    return sweep_prints([&s](Recorder *recorder) { return kiv_string_fputs(s.c_str(), recorder, Recorder::print); });
  };
  EXPECT_EQ(puts({}), Log{""});
  EXPECT_EQ(puts(text(U"a%S\u00E9\u4E2D")), Log{"a%S<E9><4E2D>"});
  EXPECT_EQ(puts(text(U"\U0001F600")), Log{kWideIsUtf16 ? "<D83D><DE00>" : "<1F600>"});
  EXPECT_EQ(puts({0xD7FF, 0xD800, 0xDFFF, 0xE000, 0x10FFFF, 0x110000, 0xFFFFFFFF}),
            Log{kWideIsUtf16 ? "<D7FF>?\?<E000><DBFF><DFFF>?\?" : "<D7FF>?\?<E000><10FFFF>?\?"});
  EXPECT_EQ(sweep_prints([](Recorder *recorder) { return kiv_string_fputs(nullptr, recorder, Recorder::print); }),
            Log{""});
  for (const auto &[c, expected] : {std::pair(0x41u, "A"), {0u, ""}, {0xD800u, "?"}}) {
    const KIV_UNICHAR unit = c;
    EXPECT_EQ(sweep_prints([=](Recorder *recorder) { return kiv_string_fputc(unit, recorder, Recorder::print); }),
              Log{expected});
  }
}

TEST_F(StringPrint, LeavesTheStackAtAThousandUnits) {
  for (uint32_t units = 990; units < 1010; ++units) {
    for (const KIV_UNICHAR c : {KIV_UNICHAR{'a'}, KIV_UNICHAR{0x1F600}, KIV_UNICHAR{0xD800}}) {
      // Characters of two units each, and at most one of one unit: what is reserved counts, not what is written.
      const uint32_t each = c == 'a' ? 1 : 2;
      const Text s = Text(units / each, c) + Text(units % each, 'b');
      platform.log.clear();
      Recorder recorder, without_memory;
      EXPECT_EQ(kiv_string_fputs(s.c_str(), &recorder, Recorder::print), 0);
      const Log heap{"malloc " + std::to_string((units + 1) * sizeof(wchar_t))};
      EXPECT_EQ(platform.log, units + 1 < 1000 ? Log{} : heap);
      ASSERT_EQ(recorder.wide.size(), 1u);
      const size_t second_units = c == 0x1F600 && kWideIsUtf16 ? units / each : 0;
      EXPECT_EQ(recorder.wide[0].size(), s.size() + second_units);
      if (units + 1 < 1000) continue;
      without_memory.fail_at = static_cast<int>(units % 2);
      platform.failures = 1;
      EXPECT_EQ(kiv_string_fputs(s.c_str(), &without_memory, Recorder::print), 12);
      EXPECT_EQ(without_memory.prints, Log{"???"});
    }
  }
}

KIV_CHILD(print) {
  KIV_UNICHAR s[] = {'a', '%', 'd', 'b', '\n', 0};
  std::exit(kiv_string_print(s) == 0 && kiv_string_fputs(s, stdout, reinterpret_cast<KIV_PRINTER>(fprintf)) == 0 ? 0
                                                                                                                 : 1);
}

TEST_F(StringPrint, ReachesStandardOutput) {
  const ProcessResult result = run_child("print");
  EXPECT_EQ(result.out, "a%db\na%db\n");
  EXPECT_EQ(result.exit_code, 0);
}

TEST_F(StringPrint, ShowsControlCharacters) {
  const auto show = [](const Text &s) {
    return sweep_prints([&s](Recorder *recorder) {
      return kiv_string_print_verbose_control_chars(s.c_str(), recorder, Recorder::print);
    });
  };
  EXPECT_EQ(show({}), Log{});
  EXPECT_EQ(show({1, 0x7F, 0x41, 27}), (Log{"^", "%c:65", "\\x%lX:127", "A", "^", "%c:91"}));
  // The classification sees the low 16 bits, the print all of them.
  EXPECT_EQ(show({0x10041}), Log{kWideIsUtf16 ? "<D800><DC41>" : "<10041>"});
  EXPECT_EQ(show({0x110041}), Log{"?"});
  EXPECT_EQ(show({0x11007F, 0x80000001}), (Log{"\\x%lX:1114239", "\\x%lX:2147483649"}));
  for (const char *locale : {"C.UTF-8", "C"}) {
    if (std::setlocale(LC_CTYPE, locale) == nullptr) continue;
    for (const KIV_UNICHAR c : {0x20u, 0x7Eu, 0xE9u, 0x85u, 0x4E2Du, 0xFFFFu}) {
      const bool prints = std::iswprint(static_cast<wint_t>(c)) != 0;
      EXPECT_EQ(show({c}).front().substr(0, 5) == "\\x%lX", !prints) << locale << c;
    }
  }
}

TEST_F(StringPrint, ShowsControlCharactersOfCharStrings) {
  // Negative bytes are below 32: 0x80 + 64 is 192, 0xFF + 64 is 63 in 8 bits.
  EXPECT_EQ(sweep_prints([](Recorder *recorder) {
              return kiv_string_print_char_s_verbose_control_chars("\x01 ~\x7F\x80\xFF", recorder, Recorder::print);
            }),
            (Log{"^", "%c:65", "%c:32", "%c:126", "\\x%lX:127", "^", "%c:192", "^", "%c:63"}));
}

TEST_F(StringPrint, WritesBytesByWhatTheBufferHolds) {
  const struct {
    const char *name;
    Text s;
    std::string before, after;  // the buffer, to its end
    uint32_t count;
  } rows[] = {
      {"printable or not", {'a', '~', 0x80, 0xFFFFFFFF}, "xxxxx", "a~?\?x", 4},
      {"over text", {1, 31}, "xxxxx", "^A^_x", 4},
      {"over tab, LF, CR", {1, 2, 3}, "\t\n\rx", "\x01\x02\x03x", 3},
      // The terminator that sprintf writes is what the next byte finds.
      {"over sprintf's 0", {1, 2}, std::string("\0xxxxx", 6), std::string("^@^@\0x", 6), 4},
      {"after 127", {0x7F, 2}, "xxxxxxxx", std::string("\\x7F^@\0x", 8), 6},
      {"empty", {}, "xx", "xx", 0},
  };
  for (const auto &row : rows) {
    CountingAllocator counting;
    std::string buffer = row.before;
    EXPECT_EQ(kiv_string_sprint_as_8bit_chars(counting.record(), buffer.data(), row.s.c_str()), row.count) << row.name;
    EXPECT_EQ(buffer, row.after) << row.name;
  }
  EXPECT_EQ(sweep_failures([](CountingAllocator &counting) {
              char buffer[] = "xxxxxxx";
              const uint32_t count = kiv_string_sprint_as_8bit_chars(counting.record(), buffer, text(U"ab").c_str());
              EXPECT_EQ(count, counting.has_failed() ? 0u : 2u);
              EXPECT_STREQ(buffer, counting.has_failed() ? "<null>" : "abxxxxx");
            }),
            1u);
}

}  // namespace
