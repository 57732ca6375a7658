// Frames of a weather balloon's radiosonde: what the receiver hands over, byte by byte, and what it means.
//
// A frame is 7e, a kind, the length of its payload, the payload, and a CRC-16 of kind, length and payload. All numbers
// are big-endian.
#ifndef SONDE_FRAMES_H
#define SONDE_FRAMES_H

#include <stddef.h>
#include <stdint.h>

namespace sonde {

enum class Kind : char { status = 'S', readings = 'R', events = 'E', lost = '\xff' };

enum class Channel : int8_t { none = -1, temperature, humidity, pressure, battery };

/// What has happened so far: a bit each, of which the receiver knows some.
enum class Event : uint64_t { none = 0, launched = 1, burst = 2, landed = 4, all = ~uint64_t{0} };

constexpr uint8_t kFrameMark = 0x7e;
constexpr int kLongestPayload = 64;

namespace physics {
constexpr double kSeaLevelPressure = 1013.25;  // hPa
constexpr double kAltitudeScale = 44330.77;    // m
constexpr double kAltitudeExponent = 0.190263;
constexpr double kAbsoluteZero = -273.15;  // degrees Celsius
constexpr float kVoltsPerStep = 1.0f / 4096;
}  // namespace physics

/// The status register, as a little-endian machine has it.
struct Status {
  uint32_t sequence : 12;
  uint32_t battery_level : 7;  // percent
  uint32_t heater_is_on : 1;
  int32_t drift : 8;  // of the clock, in milliseconds
  uint32_t mode : 4;
};

struct Calibration {
  Channel channel;
  const char *name, *unit;
  double offset, factor;

  double apply(int16_t raw) const;
};

struct Frame {
  Kind kind;
  uint8_t length;
  uint8_t payload[kLongestPayload];
};

class Checksum {
 public:
  static constexpr uint16_t kStart = 0xffff, kPolynomial = 0x1021;

  void add(uint8_t byte);
  uint16_t value() const { return value_; }

 private:
  uint16_t value_ = kStart;
};

/// Puts frames together out of bytes.
class Receiver {
 public:
  /// Whether the byte has ended a frame, which is the current one then, with kind lost if its checksum is wrong.
  bool take(uint8_t byte);
  const Frame &frame() const { return frame_; }

 private:
  enum class Expects : uint8_t { mark, kind, length, payload, checksum_high, checksum_low };

  Expects expects_ = Expects::mark;
  uint8_t count_ = 0;
  uint16_t sent_ = 0;
  Checksum checksum_;
  Frame frame_ = {};
};

uint64_t load_big_endian(const uint8_t *bytes, size_t size);
Status decode_status(const Frame &frame);
Event decode_events(const Frame &frame);

/// The calibration of a channel, or null for one that the sonde does not have.
const Calibration *find_calibration(Channel channel);

/// Gives the value of the reading at an index of the frame, in the unit of its channel.
double decode_reading(const Frame &frame, int index, const Calibration **calibration);

/// A status frame and one of readings, to try a receiver with.
extern const uint8_t kSelfTest[26];

}  // namespace sonde

#endif
