#include "kiv_time.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "gtest/gtest.h"
#include "os/performance_counter.h"
#include "tests/support/process.h"

namespace {

TEST(Time, TellsAndMeasures) {
  using namespace std::chrono;
  constexpr uint64_t kTick = 20;  // the clocks of Windows do not all tick together
  const auto now = [] { return uint64_t(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count()); };
  const uint64_t begin = now();
  KIV_TIME time{0, 5000};
  EXPECT_EQ(kiv_get_time(&time), 0);
  EXPECT_LT(time.milliseconds, 1000u);
  EXPECT_LE(begin, time.seconds * uint64_t{1000} + time.milliseconds + kTick);
  EXPECT_LE(time.seconds * uint64_t{1000} + time.milliseconds, kiv_get_millitime());
  const uint64_t micro_end = kiv_get_microtime() + 50000;
  while (kiv_get_microtime() < micro_end) continue;
  EXPECT_GE(now() - begin + kTick, 50u);
  EXPECT_LE(kiv_get_millitime(), now() + kTick);
}

TEST(Time, Computes) {
  const struct {
    uint32_t later_seconds, later_milliseconds, earlier_seconds, earlier_milliseconds;
    double seconds;
  } cases[] = {
      {9, 900, 10, 100, -0.2},
      {4, 35, 0, 0, 4.035},
      {0, 0, UINT32_MAX, 999, -4294967295.999},
  };
  for (const auto &[later, later_ms, earlier, earlier_ms, seconds] : cases) {
    EXPECT_EQ(kiv_delta_time(later, later_ms, earlier, earlier_ms), seconds);
  }
  EXPECT_EQ(kiv::os::counter_microseconds(7000001, 3579545), 7000001u / 3);
  EXPECT_EQ(kiv::os::counter_microseconds(5, 0), 0u);
}

KIV_CHILD(report) {
  static std::string setting = "KIV_PROFILE_THREADS=" + kiv::test::child_arguments()[0];
  putenv(setting.data());
  for (const uint64_t end = kiv_get_microtime() + 50000; kiv_get_microtime() < end;) {
  }
  kiv_dev_profiling_thread_terminate("worker 7");
}

TEST(Time, ReportsProcessorTimeWhenAsked) {
  const auto report = [](const char *setting) {
    return kiv::test::run_program(kiv::test::this_program(), {"--child=report", setting}).err;
  };
  for (const char *setting : {"", "0", "11"}) EXPECT_EQ(report(setting), "");
  const std::string text = report("1");
  double thread = -1, process = -1;
  unsigned percent = 1000;
  const char *format = "worker 7 thread time %lg sec (%u%% kernel; process %lg sec)";
  ASSERT_EQ(std::sscanf(text.c_str(), format, &thread, &percent, &process), 3) << text;
  EXPECT_EQ(text.substr(text.size() - 2), ")\n");
  EXPECT_LE(percent, 100u);
  EXPECT_LE(thread, process * 1.01 + 0.02);  // read one after the other, and printed with three digits
}

}  // namespace
