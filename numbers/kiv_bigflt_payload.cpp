// 32 bits kept in a value.

#include "kiv_bigflt.h"
#include "numbers/bigflt_value.h"

using namespace kiv::bigflt_engine;

void kiv_bigflt_poke_32bits(bigflt *a, uint32_t value) {
  if (a->small != 0) {
    store_raw(a, from_int32(a->exponent));
    a->small = 0;
  }
  a->limb_count = 4;
  a->mantissa[0] = value;
  a->mantissa[3] = uint32_t{1} << 31;
  a->exponent = 0;
}

void kiv_bigflt_poke_pointer(bigflt *a, const void *pointer) {
  kiv_bigflt_poke_32bits(a, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer)));
}

uint32_t kiv_bigflt_peek_32bits(const bigflt *a) { return a->mantissa[0]; }
