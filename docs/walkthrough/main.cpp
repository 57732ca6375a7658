// sonde: reads the bytes of frames in hexadecimal on standard input, or with --self-test those that it brings along,
// and prints what they say.
#include <math.h>
#include <stdio.h>
#include <string.h>

#include "frames.h"

namespace sonde {
namespace {

/// The last values, for the summary at the end.
struct History {
  static constexpr unsigned kCapacity = 256;
  unsigned count;
  double altitudes[kCapacity];
};

History history;
unsigned lost_frames;

/// In metres, by the barometric formula.
double altitude(double pressure) {
  using namespace physics;
  return kAltitudeScale * (1 - pow(pressure / kSeaLevelPressure, kAltitudeExponent));
}

void print_status(const Frame &frame) {
  const Status status = decode_status(frame);
  printf("status %u: battery %u %%, heater %s, drift %d ms, mode %u\n", status.sequence, status.battery_level,
         status.heater_is_on != 0 ? "on" : "off", status.drift, status.mode);
}

void print_readings(const Frame &frame) {
  for (int i = 0; i < frame.length / 3; ++i) {
    const Calibration *calibration = nullptr;
    const double value = decode_reading(frame, i, &calibration);
    printf("%s %.2f %s\n", calibration->name, value, calibration->unit);
    if (calibration->channel != Channel::pressure) continue;
    history.altitudes[history.count++ % History::kCapacity] = altitude(value);
  }
}

void print_events(const Frame &frame) {
  const Event events = decode_events(frame);
  const auto has = [events](Event event) {
    return (static_cast<uint64_t>(events) & static_cast<uint64_t>(event)) != 0;
  };
  if (events == Event::all) {
    puts("the sonde has lost its memory");
  } else {
    printf("%s, %s\n", has(Event::launched) ? "launched" : "on the ground",
           has(Event::landed)  ? "landed"
           : has(Event::burst) ? "coming down"
                               : "going up");
  }
}

void print_frame(const Frame &frame) {
  switch (frame.kind) {
    case Kind::status:
      print_status(frame);
      break;
    case Kind::readings:
      print_readings(frame);
      break;
    case Kind::events:
      print_events(frame);
      break;
    case Kind::lost:
      ++lost_frames;
      break;
  }
}

void print_summary() {
  double highest = 0;
  for (unsigned i = 0; i < history.count && i < History::kCapacity; ++i) {
    if (history.altitudes[i] > highest) highest = history.altitudes[i];
  }
  printf("highest %.0f m, %u frames lost\n", highest, lost_frames);
}

}  // namespace
}  // namespace sonde

int main(int argc, char **argv) {
  using namespace sonde;
  Receiver receiver;
  if (argc > 1 && strcmp(argv[1], "--self-test") == 0) {
    for (const uint8_t byte : kSelfTest) {
      if (receiver.take(byte)) print_frame(receiver.frame());
    }
  } else {
    for (unsigned byte; scanf("%2x", &byte) == 1;) {
      if (receiver.take(static_cast<uint8_t>(byte))) print_frame(receiver.frame());
    }
  }
  print_summary();
  return 0;
}
