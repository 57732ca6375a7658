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
  // Each clock is read around the other: how long the machine takes in between does not matter.
  const uint64_t outer_begin = now();
  const uint64_t begin = kiv_get_microtime();
  const uint64_t inner_begin = now();
  KIV_TIME time{0, 5000};
  EXPECT_EQ(kiv_get_time(&time), 0);
  const uint64_t told = kiv_get_millitime();
  EXPECT_LT(time.milliseconds, 1000u);
  EXPECT_LE(inner_begin, time.seconds * uint64_t{1000} + time.milliseconds + kTick);
  EXPECT_LE(time.seconds * uint64_t{1000} + time.milliseconds, told);
  while (now() < inner_begin + 30) continue;
  const uint64_t inner_end = now();
  EXPECT_LE(told, inner_end + kTick);
  const uint64_t measured = (kiv_get_microtime() - begin) / 1000;
  EXPECT_LE(inner_end - inner_begin, measured + kTick);
  EXPECT_LE(measured, now() - outer_begin + kTick);
}

TEST(Time, Computes) {
  const struct {
    uint32_t later_seconds, later_milliseconds, earlier_seconds, earlier_milliseconds;
    double seconds;
  } cases[] = {
      {10, 100, 9, 900, 0.2},
      {9, 900, 10, 100, -0.2},
      {9, 0, 10, 500, -1.5},
      {4, 35, 0, 0, 4.035},
      {UINT32_MAX, 999, 0, 0, 4294967295.999},
      {0, 0, UINT32_MAX, 999, -4294967295.999},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(kiv_delta_time(c.later_seconds, c.later_milliseconds, c.earlier_seconds, c.earlier_milliseconds),
              c.seconds);
  }
  using kiv::os::counter_microseconds;
  EXPECT_EQ(counter_microseconds(7000001, 3579545), 7000001u / 3);
  EXPECT_EQ(counter_microseconds(UINT64_MAX, 10000000), UINT64_MAX / 10);
  EXPECT_EQ(counter_microseconds(5, 0), 0u);
  // Less than a tick a microsecond; the product of counter and 10^6 would not fit.
  EXPECT_EQ(counter_microseconds((uint64_t{1} << 50) + 513, 1024), (uint64_t{1000000} << 40) + 500976);
}

/// With the environment variable set to the child's argument.
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
  char end = 0;
  ASSERT_EQ(std::sscanf(text.c_str(), "worker 7 thread time %lg sec (%u%% kernel; process %lg sec)%c", &thread,
                        &percent, &process, &end),
            4)
      << text;
  EXPECT_EQ(end, '\n');
  EXPECT_LE(percent, 100u);
  EXPECT_LE(thread, process * 1.01 + 0.02);  // read one after the other, and printed with three digits
}

}  // namespace
