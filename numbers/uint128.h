// 128-bit unsigned integers for the library's own arithmetic: the compiler's where the target has them, a pair of
// words elsewhere. Code that uses them is the same for both: the usual operators, and the functions below.
//
//   make_uint128(high, low), high64(x), low64(x)   halves
//   multiply_64(a, b)                              the whole product of two 64-bit integers
//   divide_128_by_64(high, low, divisor, &rest)    REQUIRES: high < divisor, so that the quotient has 64 bits
//   divide_64_by_32(dividend, divisor, &rest)      REQUIRES: divisor != 0
//   divide(dividend, divisor, &rest)               REQUIRES: divisor != 0
//   shift_right_signed(x, n)                       of two's complement
//   leading_zeros(x)                               0 to 128
//
// Shift counts are 0 to 127, as with the built-in types.
#ifndef KIV_NUMBERS_UINT128_H
#define KIV_NUMBERS_UINT128_H

#ifdef __SIZEOF_INT128__
#include "numbers/uint128_native.h"
#else
#include "numbers/uint128_words.h"
#endif

namespace kiv {

#ifdef __SIZEOF_INT128__
using UInt128 = native::UInt128;
using native::divide;
using native::divide_128_by_64;
using native::divide_64_by_32;
using native::high64;
using native::leading_zeros;
using native::low64;
using native::make_uint128;
using native::multiply_64;
using native::shift_right_signed;
#else
using UInt128 = words::UInt128;
using words::divide;
using words::divide_128_by_64;
using words::divide_64_by_32;
using words::high64;
using words::leading_zeros;
using words::low64;
using words::make_uint128;
using words::multiply_64;
using words::shift_right_signed;
#endif

}  // namespace kiv

#endif
