#include "frames.h"

#include <string.h>

namespace sonde {
namespace {

constexpr Calibration kCalibrations[] = {
    {Channel::temperature, "temperature", "C", physics::kAbsoluteZero, 0.01},
    {Channel::humidity, "humidity", "%", 0, 100.0 / 32767},
    {Channel::pressure, "pressure", "hPa", 0, 1.0 / 16},
    {Channel::battery, "battery", "V", 0, physics::kVoltsPerStep},
};

constexpr int kReadingSize = 3;

}  // namespace

const uint8_t kSelfTest[26] = {
    0x7e, 'S',  4,    0x2f, 0x9d, 0xc1, 0x05, 0x95, 0x6a,  // a status
    0x7e, 'R',  12,   0,    0x57, 0x35, 1,    0x19, 0x99,  // a reading of each channel
    2,    0x10, 0x86, 3,    0x3a, 0xa0, 0xa0, 0x26,
};

void Checksum::add(uint8_t byte) {
  value_ ^= static_cast<uint16_t>(byte << 8);
  for (int bit = 0; bit < 8; ++bit) {
    value_ = static_cast<uint16_t>((value_ & 0x8000) != 0 ? (value_ << 1) ^ kPolynomial : value_ << 1);
  }
}

bool Receiver::take(uint8_t byte) {
  const Expects expected = expects_;
  if (expected > Expects::mark && expected < Expects::checksum_high) checksum_.add(byte);
  switch (expected) {
    case Expects::mark:
      checksum_ = {};
      if (byte == kFrameMark) expects_ = Expects::kind;
      break;
    case Expects::kind:
      frame_.kind = static_cast<Kind>(byte);
      expects_ = Expects::length;
      break;
    case Expects::length:
      frame_.length = byte;
      count_ = 0;
      expects_ = byte == 0 ? Expects::checksum_high : byte > kLongestPayload ? Expects::mark : Expects::payload;
      break;
    case Expects::payload:
      frame_.payload[count_++] = byte;
      if (count_ == frame_.length) expects_ = Expects::checksum_high;
      break;
    case Expects::checksum_high:
      sent_ = static_cast<uint16_t>(byte << 8);
      expects_ = Expects::checksum_low;
      break;
    case Expects::checksum_low:
      if ((sent_ | byte) != checksum_.value()) frame_.kind = Kind::lost;
      expects_ = Expects::mark;
      return true;
  }
  return false;
}

uint64_t load_big_endian(const uint8_t *bytes, size_t size) {
  uint64_t value = 0;
  for (size_t i = 0; i < size; ++i) value = value << 8 | bytes[i];
  return value;
}

Status decode_status(const Frame &frame) {
  const auto bits = static_cast<uint32_t>(load_big_endian(frame.payload, sizeof(Status)));
  Status status;
  memcpy(&status, &bits, sizeof status);
  return status;
}

Event decode_events(const Frame &frame) { return static_cast<Event>(load_big_endian(frame.payload, sizeof(Event))); }

double Calibration::apply(int16_t raw) const { return offset + factor * raw; }

const Calibration *find_calibration(Channel channel) {
  for (const Calibration &calibration : kCalibrations) {
    if (calibration.channel == channel) return &calibration;
  }
  return nullptr;
}

double decode_reading(const Frame &frame, int index, const Calibration **calibration) {
  const uint8_t *reading = frame.payload + index * kReadingSize;
  *calibration = find_calibration(static_cast<Channel>(reading[0]));
  return (*calibration)->apply(static_cast<int16_t>(load_big_endian(reading + 1, 2)));
}

}  // namespace sonde
