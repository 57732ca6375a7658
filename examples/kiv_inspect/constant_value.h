// Values of constants, as far as their type tells what they mean.
#ifndef KIV_INSPECT_CONSTANT_VALUE_H
#define KIV_INSPECT_CONSTANT_VALUE_H

#include <string_view>

#include "examples/kiv_inspect/dwarf_forms.h"
#include "examples/kiv_inspect/float_format.h"

namespace kiv::inspect {

/// What the debug information says about a value's type.
struct ValueType {
  enum Kind : uint8_t { unknown, unsigned_integer, signed_integer, floating, other };
  Kind kind = unknown;
  uint64_t size = 0;                    // in bytes; 0 when it is not known
  const FloatFormat *format = nullptr;  // of floating
};

struct ConstantValue {
  enum Kind : uint8_t { unsigned_integer, signed_integer, floating, bytes, text };
  Kind kind;
  KIV_U128 number;  // an integer, negative ones (only these are signed) in two's complement; or a float's image
  const FloatFormat *format;  // of floating
  std::string_view contents;  // of bytes and text
};

/// Decodes the value of an attribute; false when it is none that can be shown.
///
/// Integers are taken into their type's width and signedness where these are known: compilers write -5 as an unsigned
/// number of 64 bits, the greatest unsigned number as -1, and 200 as one byte also where the type is signed. Otherwise
/// the form says whether a number is signed; data forms and blocks without a type are unsigned numbers and bytes.
bool decode_value(const FormValue &value, const ValueType &type, ByteOrder order, ConstantValue *result);

/// An integer or a floating-point number as text; all other values as none.
void format_number(const ConstantValue &value, char (&text)[kFloatTextSize]);

/// Some total order; 0 for values that are shown in the same way.
int compare_values(const ConstantValue &a, const ConstantValue &b);

}  // namespace kiv::inspect

#endif
