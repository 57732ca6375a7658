#include "kiv_bigflt128.h"

#include "numbers/bigflt_add.h"
#include "numbers/bigflt_multiply.h"
#include "numbers/bigflt_value.h"

using namespace kiv::bigflt_engine;

namespace {

// Sets the number of limbs, but stores nothing where it is right: threads may share such a record.
void set_limb_count(bigflt *record) {
  if (record->limb_count != 4) record->limb_count = 4;
}

template <Extended (*Operation)(const Extended &, const Extended &)>
void apply(bigflt *r, bigflt *a, bigflt *b) {
  set_limb_count(a);
  set_limb_count(b);
  store_raw(r, Operation(load_extended(*a), load_extended(*b)));
}

}  // namespace

void kiv_bigflt128_add(bigflt *r, bigflt *a, bigflt *b) { apply<add>(r, a, b); }
void kiv_bigflt128_add_implied(bigflt *a, bigflt *b) { apply<add>(a, a, b); }

// The subtrahend's record is not changed on the way: others may read it meanwhile.
void kiv_bigflt128_subtract(bigflt *r, bigflt *a, bigflt *b) { apply<subtract>(r, a, b); }
void kiv_bigflt128_subtract_implied(bigflt *a, bigflt *b) { apply<subtract>(a, a, b); }

void kiv_bigflt128_multiply(bigflt *r, bigflt *a, bigflt *b) { apply<multiply>(r, a, b); }
void kiv_bigflt128_multiply_implied(bigflt *a, bigflt *b) { apply<multiply>(a, a, b); }

void kiv_bigflt128_KIV_S32_to_bigflt(bigflt *r, int32_t value) { store_raw(r, from_int32(value)); }

void kiv_bigflt128_KIV_S64_to_bigflt(bigflt *r, int64_t value) {
  const uint64_t bits = static_cast<uint64_t>(value);
  store_raw(r, from_uint128(kiv::UInt128(value < 0 ? 0 - bits : bits), value < 0));
}

int32_t kiv_bigflt128_to_KIV_S32(bigflt *a) {
  set_limb_count(a);
  // Unsigned, as any exponent may come; the negative of 2^31 is itself.
  const uint32_t magnitude = a->mantissa[3] >> ((31 - static_cast<uint32_t>(a->exponent)) & 31);
  return static_cast<int32_t>(a->sign != 0 ? 0 - magnitude : magnitude);
}

int kiv_bigflt128_is_signed_integral_and_fits_in_32_bits(bigflt *a) {
  set_limb_count(a);
  int32_t integer = 0;
  return fits_small(load_extended(*a), &integer) ? 1 : 0;
}
