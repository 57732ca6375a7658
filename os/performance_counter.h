// The arithmetic of a counter with a frequency of its own; no system call.
#ifndef KIV_OS_PERFORMANCE_COUNTER_H
#define KIV_OS_PERFORMANCE_COUNTER_H

#include <cstdint>

namespace kiv::os {

/// A counter in microseconds. The ticks of a microsecond are cut to a whole number: one division of integers, which
/// cannot overflow, and programs that compare such times with the counter's get the same numbers. A counter with less
/// than one tick a microsecond is multiplied instead, its seconds and the rest apart. `frequency` is in Hz; 0 gives 0.
constexpr uint64_t counter_microseconds(uint64_t counter, uint64_t frequency) {
  constexpr uint64_t kMicro = 1000000;
  if (frequency >= kMicro) return counter / (frequency / kMicro);
  if (frequency == 0) return 0;
  return counter / frequency * kMicro + counter % frequency * kMicro / frequency;
}

}  // namespace kiv::os

#endif
