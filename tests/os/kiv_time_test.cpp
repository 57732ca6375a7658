#include "kiv_time.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "gtest/gtest.h"
#include "os/performance_counter.h"
#include "tests/support/process.h"

namespace {

TEST(Time, TellsTheTimeOfDay) {
  using namespace std::chrono;
  const auto now = [] {
    return static_cast<uint64_t>(duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
  };
  constexpr uint64_t kTick = 20;  // the clocks of Windows do not all tick together
  const uint64_t before = now();
  KIV_TIME time{0, 5000};
  EXPECT_EQ(kiv_get_time(&time), 0);
  const uint64_t told = kiv_get_millitime();
  const uint64_t after = now();
  EXPECT_LT(time.milliseconds, 1000u);
  EXPECT_LE(before, time.seconds * uint64_t{1000} + time.milliseconds + kTick);
  EXPECT_LE(time.seconds * uint64_t{1000} + time.milliseconds, told);
  EXPECT_LE(told, after + kTick);
}

TEST(Time, MeasuresInMicroseconds) {
  const uint64_t begin = kiv_get_microtime();
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
  for (uint64_t last = begin; std::chrono::steady_clock::now() < end;) {
    const uint64_t now = kiv_get_microtime();
    ASSERT_GE(now, last);
    last = now;
  }
  const uint64_t measured = kiv_get_microtime() - begin;
  EXPECT_GE(measured, 29000u);
  EXPECT_LT(measured, 30000000u);
}

TEST(Time, CutsTheTicksOfAMicrosecond) {
  using kiv::os::counter_microseconds;
  EXPECT_EQ(counter_microseconds(7000001, 3579545), 7000001u / 3);
  EXPECT_EQ(counter_microseconds(UINT64_MAX, 10000000), UINT64_MAX / 10);
  EXPECT_EQ(counter_microseconds(5, 1999999), 5u);
  EXPECT_EQ(counter_microseconds(5, 0), 0u);
  // Less than a tick a microsecond; the product of counter and 10^6 would not fit.
  EXPECT_EQ(counter_microseconds(uint64_t{1} << 50, 1024), uint64_t{1000000} << 40);
  EXPECT_EQ(counter_microseconds(1537, 1024), 1500976u);
}

TEST(Time, DifferencesAreRoundedOnce) {
  const struct {
    uint32_t later_seconds, later_milliseconds, earlier_seconds, earlier_milliseconds;
    double seconds;
  } cases[] = {
      {10, 100, 9, 900, 0.2},
      {10, 0, 10, 0, 0.0},
      {9, 900, 10, 100, -0.2},
      {9, 0, 10, 500, -1.5},
      {10, 500, 9, 0, 1.5},
      {4, 35, 0, 0, 4.035},
      {UINT32_MAX, 999, 0, 0, 4294967295.999},
      {0, 0, UINT32_MAX, 999, -4294967295.999},
      {5, 0, 5, UINT32_MAX, -4294967.295},
  };
  for (const auto &c : cases) {
    EXPECT_EQ(kiv_delta_time(c.later_seconds, c.later_milliseconds, c.earlier_seconds, c.earlier_milliseconds),
              c.seconds);
  }
}

/// Reports with the environment variable set to the child's argument, or not set.
KIV_CHILD(report) {
  const auto &arguments = kiv::test::child_arguments();
  if (!arguments.empty()) {
    static std::string setting;
    setting = "KIV_PROFILE_THREADS=" + arguments[0];
    putenv(setting.data());
  }
  for (const uint64_t end = kiv_get_microtime() + 50000; kiv_get_microtime() < end;) {
  }
  kiv_dev_profiling_thread_terminate("worker 7");
}

TEST(Time, ReportsProcessorTimeWhenAsked) {
  const auto report = [](const std::vector<std::string> &setting) {
    std::vector<std::string> arguments{"--child=report"};
    arguments.insert(arguments.end(), setting.begin(), setting.end());
    return kiv::test::run_program(kiv::test::this_program(), arguments).err;
  };
  EXPECT_EQ(report({}), "");
  EXPECT_EQ(report({"0"}), "");
  EXPECT_EQ(report({"11"}), "");
  const std::string text = report({"1"});
  double thread = -1;
  double process = -1;
  unsigned percent = 1000;
  char end = 0;
  ASSERT_EQ(std::sscanf(text.c_str(), "worker 7 thread time %lg sec (%u%% kernel; process %lg sec)%c", &thread,
                        &percent, &process, &end),
            4)
      << text;
  EXPECT_EQ(end, '\n');
  EXPECT_LE(percent, 100u);
  EXPECT_GE(thread, 0);
  EXPECT_LE(thread, process * 1.01 + 0.02);  // read one after the other, and printed with three digits
}

}  // namespace
