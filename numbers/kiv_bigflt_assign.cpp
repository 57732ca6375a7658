#include "kiv_bigflt.h"
#include "numbers/bigflt_value.h"

using namespace kiv::bigflt_engine;

void kiv_bigflt_assign_zero(bigflt *r) { store_small(r, 0); }
void kiv_bigflt_assign_one(bigflt *r) { store_small(r, 1); }
void kiv_bigflt_assign_minus_one(bigflt *r) { store_small(r, -1); }
void kiv_bigflt_assign_inf(bigflt *r) { store(r, infinity(false)); }
void kiv_bigflt_assign_nan(bigflt *r) { store(r, kNan); }
void kiv_bigflt_assign_closest_to_zero(bigflt *r, uint32_t sign) { store(r, {kTopBit, kMinExponent, sign != 0}); }
void kiv_bigflt_assign_MAX_BIGFLT(bigflt *r) { store(r, {kAllOnes, kMaxExponent, false}); }
void kiv_bigflt_assign_MIN_BIGFLT(bigflt *r) { store(r, {kAllOnes, kMaxExponent, true}); }
