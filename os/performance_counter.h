// The arithmetic of a counter with a frequency of its own; no system call.
#ifndef KIV_OS_PERFORMANCE_COUNTER_H
#define KIV_OS_PERFORMANCE_COUNTER_H

#include <cstdint>

namespace kiv::os {

/// A counter in microseconds. The ticks of a microsecond are cut to a whole number: one division of integers, which
/// cannot overflow, and programs that compare such times with the counter's get the same numbers. `frequency` is in Hz,
/// and that of every system that we run on is above 1 MHz; less gives 0.
constexpr uint64_t counter_microseconds(uint64_t counter, uint64_t frequency) {
  const uint64_t ticks = frequency / 1000000;
  return ticks != 0 ? counter / ticks : 0;
}

}  // namespace kiv::os

#endif
