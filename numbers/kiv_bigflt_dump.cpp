// The exact text of a record.
//
// Places in it: 0 the sign, 1 "0x", 3 the four limbs of eight digits and an underscore each, 39 'E', 40 the exponent.

#include <algorithm>
#include <cstring>

#include "kiv_bigflt_dump.h"
#include "numbers/bigflt_value.h"

using namespace kiv::bigflt_engine;

namespace {

constexpr uint32_t kExponentPlace = 40;
// What results of operations need: their exponents have at most six characters. Smaller buffers are refused, whatever
// the text.
constexpr uint32_t kLeastSize = 47;
// The longest exponent of a record is "-2147483648".
constexpr uint32_t kMostCharacters = kExponentPlace + 11;

char *put(char *to, const char *text) {
  while (*text != 0) *to++ = *text++;
  return to;
}

char *put_limb(char *to, uint32_t limb) {
  for (int shift = 28; shift >= 0; shift -= 4) *to++ = "0123456789abcdef"[limb >> shift & 15];
  *to++ = '_';
  return to;
}

// As "%+03d" prints it, but for a negative exponent of one digit, which goes without a zero before it.
char *put_exponent(char *to, int32_t exponent) {
  uint32_t magnitude = static_cast<uint32_t>(exponent);
  if (exponent < 0) magnitude = 0 - magnitude;
  *to++ = exponent < 0 ? '-' : '+';
  if (exponent >= 0 && magnitude < 10) *to++ = '0';
  char digits[10];
  int count = 0;
  do {
    digits[count++] = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  while (count > 0) *to++ = digits[--count];
  return to;
}

// Writes up to kMostCharacters characters and gives their end.
char *put_record(char *to, const bigflt &record) {
  *to++ = record.sign != 0 ? '-' : '+';
  if (record.exponent == kZeroExponent && record.mantissa[3] >> 31 == 0) return put(to, "zero");
  if (record.exponent == kSpecialExponent) return put(to, load_mantissa(record) != kiv::UInt128(0) ? "NaN" : "INF");
  to = put(to, "0x");
  for (int limb = 3; limb >= 0; --limb) to = put_limb(to, record.mantissa[limb]);
  *to++ = 'E';
  return put_exponent(to, record.exponent);
}

// The value of a digit, or 16.
constexpr uint32_t digit_value(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<uint32_t>(digit - '0');
  if (digit >= 'a' && digit <= 'f') return static_cast<uint32_t>(digit - 'a' + 10);
  // Dumps have no upper-case digits. They are not refused, but misread, so that no dump has two texts.
  if (digit >= 'A' && digit <= 'F') return static_cast<uint32_t>(digit & 15);
  return 16;
}

// Reads eight digits and an underscore.
bool read_limb(const char *text, uint32_t *limb) {
  uint32_t value = 0;
  for (int i = 0; i < 8; ++i) {
    const uint32_t digit = digit_value(text[i]);
    if (digit > 15) return false;
    value = value << 4 | digit;
  }
  *limb = value;
  return text[8] == '_';
}

// Reads a decimal number as "%ld" does, but of 32 bits on every target. REQUIRES: a zero byte ends the text.
bool read_exponent(const char *text, int32_t *exponent) {
  text += std::strspn(text, " \t\n\v\f\r");
  const bool negative = *text == '-';
  if (*text == '-' || *text == '+') ++text;
  if (*text < '0' || *text > '9') return false;
  const int64_t limit = negative ? -int64_t{INT32_MIN} : INT32_MAX;
  int64_t magnitude = 0;
  for (; *text >= '0' && *text <= '9'; ++text) magnitude = std::min(magnitude * 10 + (*text - '0'), limit);
  *exponent = static_cast<int32_t>(negative ? -magnitude : magnitude);
  return true;
}

// Reads what has digits. REQUIRES: kMostCharacters and a zero byte at `text`, zero bytes behind what was given.
bool read_finite(const char *text, bigflt *record) {
  if (text[1] != '0' || text[2] != 'x') return false;
  for (int limb = 3; limb >= 0; --limb) {
    if (!read_limb(text + 3 + 9 * (3 - limb), &record->mantissa[limb])) return false;
  }
  return text[kExponentPlace - 1] == 'E' && read_exponent(text + kExponentPlace, &record->exponent);
}

// Stores a record that was read: as it is, but small where that form holds its value.
void store_record(bigflt *r, const bigflt &record) {
  int32_t integer = 0;
  if (fits_small(load_extended(record), &integer)) return store_small(r, integer);
  *r = record;
}

}  // namespace

void kiv_bigflt_sdump(char *buf, uint32_t size, const bigflt *a) {
  if (size == 0) return;
  bigflt record = *a;
  if (record.small != 0) store_raw(&record, from_int32(record.exponent));
  char text[kMostCharacters + 1];
  *put_record(text, record) = 0;
  const bool fits = size >= kLeastSize && std::strlen(text) < size;
  const char *written = fits ? text : "buf 2 small";
  std::memcpy(buf, written, std::min<size_t>(size, std::strlen(written) + 1));
  if (!fits) buf[size - 1] = 0;
}

int kiv_bigflt_scan_sdump_widestring(const KIV_UNICHAR *text, bigflt *r, uint32_t *consumed) {
  char narrow[kMostCharacters + 1] = {};
  uint32_t length = 0;
  for (; text != nullptr && length < kMostCharacters && text[length] != 0; ++length) {
    narrow[length] = static_cast<char>(text[length] & 0xFF);
  }
  bigflt record = {0, {}, narrow[0] == '-' ? 1U : 0U, kSpecialExponent, 128, 4, {}};
  uint32_t taken = 0;
  switch (narrow[1]) {
    case 'I':
      taken = 4;
      break;
    case 'N':
      std::memset(record.mantissa, 0xFF, sizeof record.mantissa);
      taken = 4;
      break;
    case 'z':
      record.exponent = kZeroExponent;
      taken = 5;
      break;
    default:
      if (read_finite(narrow, &record)) {
        taken = kExponentPlace + static_cast<uint32_t>(std::strspn(narrow + kExponentPlace, "+-0123456789"));
      }
      break;
  }
  if (taken != 0) store_record(r, record);
  if (consumed != nullptr) *consumed = std::min(taken, length);
  return taken != 0 ? 1 : 0;
}
