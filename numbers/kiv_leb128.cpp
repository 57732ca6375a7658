// LEB128 integers of up to 128 bits.
//
// Eight bytes are taken as one word. Their groups of seven bits are moved together in three steps, which join the
// groups two by two, four by four, eight by eight, or moved apart by the same steps backwards. The length is a number
// like any other, not a branch: mixed lengths are what no processor foresees, and a wrong guess costs more than all of
// these steps. Only encodings of nine bytes and more take another way, and small values on their way into one or two
// bytes a shorter one.
#include "kiv_leb128.h"

#include <algorithm>
#include <bit>
#include <type_traits>

#include "base/alias.h"
#include "base/reads_around.h"
#include "numbers/byte_words.h"
#include "numbers/uint128.h"

namespace {

using kiv::UInt128;

constexpr uint32_t kUnknown = UINT32_MAX;  // how many bytes are available
constexpr uint32_t kWordBytes = 8;
constexpr uint32_t kWordBits = 7 * kWordBytes;  // the bits of a value in a word of its encoding
constexpr uint64_t kContinues = 0x8080808080808080;

/// The low seven bits of each byte.
constexpr uint64_t join_groups(uint64_t word) {
  word = (word & 0x007F007F007F007F) | (word & 0x7F007F007F007F00) >> 1;
  word = (word & 0x00003FFF00003FFF) | (word & 0x3FFF00003FFF0000) >> 2;
  return (word & 0x0FFFFFFF) | (word & 0x0FFFFFFF00000000) >> 4;
}

/// The 56 low bits, seven a byte.
constexpr uint64_t split_groups(uint64_t bits) {
  bits = (bits & 0x0FFFFFFF) | (bits & 0x00FFFFFFF0000000) << 4;
  bits = (bits & 0x00003FFF00003FFF) | (bits & 0x0FFFC0000FFFC000) << 2;
  return (bits & 0x007F007F007F007F) | (bits & 0x3F803F803F803F80) << 1;
}

template <class Record>
constexpr bool kIsSigned = std::is_signed_v<decltype(Record::hi)>;

template <class Record>
Record make_record(uint64_t hi, uint64_t lo) {
  return {static_cast<decltype(Record::hi)>(hi), lo};
}

// --- Decoding -------------------------------------------------------------------------------------------------------

/// Whether a word may be read. When nobody knows how many bytes there are, the first one is there, and so is its page.
inline bool has_word(uint32_t available, const uint8_t *bytes) {
  constexpr uintptr_t kPage = 4096;  // or more
  return available >= kWordBytes &&
         (available != kUnknown || reinterpret_cast<uintptr_t>(bytes) % kPage <= kPage - kWordBytes);
}

KIV_READS_AROUND inline uint64_t read_word(const uint8_t *bytes) { return kiv::load_word<uint64_t>(bytes, false); }

/// Eight bytes of an encoding, or its last ones and what follows them.
struct Word {
  uint64_t word;
  uint64_t ends;  // bit 7 of each byte that ends an encoding

  explicit Word(const uint8_t *bytes) : word(read_word(bytes)), ends(~word & kContinues) {}

  bool has_end() const { return ends != 0; }
  // REQUIRES: has_end().
  uint32_t bytes_up_to_end() const { return static_cast<uint32_t>(std::countr_zero(ends)) / 8 + 1; }
  uint64_t bits_up_to_end() const { return join_groups(word & (ends ^ (ends - 1))); }
};

/// Stores a value of 7 * length bits.
template <class Record>
int finish(UInt128 value, uint32_t length, Record *out) {
  if (kIsSigned<Record> && 7 * length < 128) {
    const UInt128 sign = UInt128(1) << static_cast<int>(7 * length - 1);
    value = (value ^ sign) - sign;
  }
  *out = make_record<Record>(kiv::high64(value), kiv::low64(value));
  return static_cast<int>(length);
}

/// Any encoding: word by word, and byte by byte where less than a word may be read.
template <class Record>
[[gnu::noinline]] int decode_any(uint32_t available, const uint8_t *bytes, Record *out) {
  const uint32_t limit = std::min<uint32_t>(available, KIV_LEB128_MAX_BYTES);
  UInt128 value = 0;
  uint32_t i = 0;
  for (; i + kWordBytes <= limit && has_word(available == kUnknown ? kUnknown : available - i, bytes + i);
       i += kWordBytes) {
    const Word word(bytes + i);
    const int shift = static_cast<int>(7 * i);
    if (word.has_end()) {
      return finish(value | UInt128(word.bits_up_to_end()) << shift, i + word.bytes_up_to_end(), out);
    }
    value |= UInt128(join_groups(word.word)) << shift;
  }
  for (; i < limit; ++i) {
    value |= UInt128(uint64_t{bytes[i]} & 0x7F) << static_cast<int>(7 * i);
    if ((bytes[i] & 0x80) == 0) return finish(value, i + 1, out);
  }
  return 0;
}

template <class Record>
[[gnu::always_inline]] inline int decode(uint32_t available, const uint8_t *bytes, Record *out) {
  if (!has_word(available, bytes)) return decode_any(available, bytes, out);
  const Word word(bytes);
  if (!word.has_end()) return decode_any(available, bytes, out);
  const uint32_t length = word.bytes_up_to_end();
  uint64_t value = word.bits_up_to_end();
  if (kIsSigned<Record>) {
    const uint32_t unused = 64 - 7 * length;
    value = static_cast<uint64_t>(static_cast<int64_t>(value << unused) >> unused);
  }
  const auto sign = static_cast<uint64_t>(static_cast<int64_t>(value) >> 63);
  *out = make_record<Record>(kIsSigned<Record> ? sign : 0, value);
  return static_cast<int>(length);
}

// --- Encoding --------------------------------------------------------------------------------------------------------

/// Whether so many groups, up to eight, hold a value.
template <class Record>
bool fits_groups(uint32_t groups, uint64_t hi, uint64_t lo) {
  if (!kIsSigned<Record>) return hi == 0 && lo >> 7 * groups == 0;
  const auto sign = static_cast<uint64_t>(static_cast<int64_t>(lo) >> 63);
  return hi == sign && (lo ^ sign) >> (7 * groups - 1) == 0;
}

/// How many groups hold a value that fits in eight.
template <class Record>
uint32_t count_groups(uint64_t lo) {
  const auto sign = static_cast<uint64_t>(static_cast<int64_t>(lo) >> 63);
  const uint64_t magnitude = kIsSigned<Record> ? (lo ^ sign) << 1 | 1 : lo | 1;  // with a sign bit
  const auto bits = static_cast<uint32_t>(64 - std::countl_zero(magnitude));
  return (9 * bits + 64) / 64;  // bits / 7, rounded up, as far as 63
}

/// Writes a value of one or two groups.
template <class Record>
int encode_two(uint64_t lo, uint8_t *bytes) {
  const uint32_t more = fits_groups<Record>(1, kIsSigned<Record> && lo >> 63 != 0 ? ~uint64_t{0} : 0, lo) ? 0 : 1;
  const auto word = static_cast<uint32_t>((lo & 0x7F) | (lo << 1 & 0x7F00) | more << 7);
  bytes[0] = static_cast<uint8_t>(word);
  bytes[more] = static_cast<uint8_t>(word >> 8 * more);
  return static_cast<int>(1 + more);
}

/// Writes a value of three to eight groups: pairs of bytes, of which later ones overlap where there are fewer than
/// eight.
template <class Record>
int encode_word(uint64_t lo, uint8_t *bytes) {
  const uint32_t count = count_groups<Record>(lo);
  const uint64_t before_last = (uint64_t{1} << (8 * count - 8)) - 1;
  // A negative value has its sign in groups behind the last one: these are not stored.
  const uint64_t word = split_groups(lo) | (kContinues & before_last);
  const auto store = [=](uint32_t i) { kiv::store_word(bytes + i, false, static_cast<uint16_t>(word >> 8 * i)); };
  const uint32_t last = count - 2;
  store(0), store(2 < last ? 2 : last), store(4 < last ? 4 : last), store(last);
  return static_cast<int>(count);
}

template <class Record>
[[gnu::noinline]] int encode_any(Record value, uint8_t *bytes) {
  auto hi = value.hi;
  uint64_t lo = value.lo;
  int before = 0;
  for (; !fits_groups<Record>(kWordBytes, static_cast<uint64_t>(hi), lo); before += kWordBytes) {
    kiv::store_word(bytes + before, false, split_groups(lo) | kContinues);
    lo = lo >> kWordBits | static_cast<uint64_t>(hi) << (64 - kWordBits);
    hi >>= kWordBits;
  }
  const bool two = fits_groups<Record>(2, static_cast<uint64_t>(hi), lo);
  return before + (two ? encode_two<Record>(lo, bytes + before) : encode_word<Record>(lo, bytes + before));
}

template <class Record>
int encode(const Record *value, uint8_t *bytes) {
  const auto hi = static_cast<uint64_t>(value->hi);
  const uint64_t lo = value->lo;
  if (fits_groups<Record>(2, hi, lo)) return encode_two<Record>(lo, bytes);
  if (fits_groups<Record>(kWordBytes, hi, lo)) return encode_word<Record>(lo, bytes);
  return encode_any(*value, bytes);
}

}  // namespace

int kiv_u128_to_uleb128(const KIV_U128 *value, uint8_t *bytes) { return encode(value, bytes); }

int kiv_s128_to_sleb128(const KIV_S128 *value, uint8_t *bytes) { return encode(value, bytes); }

int kiv_uleb128_array_to_u128_bis(uint32_t available, const uint8_t *bytes, KIV_U128 *out) {
  return decode(available, bytes, out);
}

int kiv_sleb128_array_to_s128_bis(uint32_t available, const uint8_t *bytes, KIV_S128 *out) {
  return decode(available, bytes, out);
}

int kiv_uleb128_to_u128(const uint8_t *bytes, KIV_U128 *out) { return decode(kUnknown, bytes, out) != 0; }

int kiv_sleb128_to_s128(const uint8_t *bytes, KIV_S128 *out) { return decode(kUnknown, bytes, out) != 0; }

KIV_ALIAS(kiv_uleb128_array_to_u128, kiv_uleb128_to_u128);
KIV_ALIAS(kiv_sleb128_array_to_s128, kiv_sleb128_to_s128);
