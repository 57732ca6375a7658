#include "examples/kiv_inspect/constant_value.h"

#include <algorithm>

#include "examples/kiv_inspect/compare.h"

namespace kiv::inspect {
namespace {

/// A number of up to 16 bytes in the program's byte order.
KIV_U128 number_of(ByteView bytes, ByteOrder order) {
  uint8_t image[16] = {};
  const bool big = order == ByteOrder::big;
  std::copy_n(bytes.data(), bytes.size(), big ? image + 16 - bytes.size() : image);
  KIV_U128 number;
  kiv_u8_array_to_u128(big, image, &number);
  return number;
}

/// The lowest bits of a number, zeros or copies of the highest of them above.
KIV_U128 extend(const KIV_U128 &number, uint64_t bytes, bool is_signed) {
  if (bytes == 0 || bytes >= 16) return number;
  const int shift = 128 - 8 * static_cast<int>(bytes);
  KIV_U128 high = number;
  kiv_u128_lsl(&high, shift);
  if (!is_signed) {
    kiv_u128_lsr(&high, shift);
    return high;
  }
  KIV_S128 value;
  kiv_u128_to_s128(&high, &value);
  kiv_s128_asr(&value, shift);
  KIV_U128 result;
  kiv_s128_to_u128(&value, &result);
  return result;
}

/// Whether bytes have one number of the type, whose size has to be theirs; a floating-point number's padding may be
/// left out.
bool is_number(ByteView bytes, const ValueType &type) {
  if (type.kind == ValueType::floating && bytes.size() == type.format->size / 8) return true;
  return bytes.size() >= 1 && bytes.size() <= 16 && type.kind != ValueType::unknown && type.kind != ValueType::other &&
         (type.size == bytes.size() || type.size == 0);
}

}  // namespace

bool decode_value(const FormValue &value, const ValueType &type, ByteOrder order, ConstantValue *result) {
  *result = {ConstantValue::unsigned_integer, value.number, nullptr, {}};
  uint64_t width = value.width;
  switch (value.value_class) {
    case ValueClass::address:
    case ValueClass::data:
    case ValueClass::unsigned_number:
      break;
    case ValueClass::signed_number:
      result->kind = ConstantValue::signed_integer;
      break;
    case ValueClass::block:
      if (!is_number(value.bytes, type)) {
        result->kind = ConstantValue::bytes;
        result->contents = value.bytes.text();
        return true;
      }
      result->number = number_of(value.bytes, order);
      width = value.bytes.size();
      break;
    default:
      return false;
  }
  if (type.kind == ValueType::floating) {
    result->kind = ConstantValue::floating;
    result->format = type.format;
    // The image is the lowest bits, and what is above them in a padded one does not count.
    result->number = extend(result->number, type.format->size / 8, false);
  } else if (type.kind == ValueType::unsigned_integer || type.kind == ValueType::signed_integer) {
    const bool is_signed = type.kind == ValueType::signed_integer;
    result->kind = is_signed ? ConstantValue::signed_integer : ConstantValue::unsigned_integer;
    result->number = extend(result->number, type.size != 0 ? type.size : width, is_signed);
  }
  // One kind for numbers that look the same, so that they are one constant.
  if (result->kind == ConstantValue::signed_integer && result->number.hi >> 63 == 0) {
    result->kind = ConstantValue::unsigned_integer;
  }
  return true;
}

void format_number(const ConstantValue &value, char (&text)[kFloatTextSize]) {
  KIV_S128 number;
  switch (value.kind) {
    case ConstantValue::unsigned_integer:
      kiv_u128_to_str_bis(&value.number, 10, nullptr, '\0', text);
      break;
    case ConstantValue::signed_integer:
      kiv_u128_to_s128(&value.number, &number);
      kiv_s128_to_str_bis(&number, 10, nullptr, '\0', text);
      break;
    case ConstantValue::floating:
      format_float(value.number, *value.format, text);
      break;
    default:
      text[0] = '\0';
  }
}

int compare_values(const ConstantValue &a, const ConstantValue &b) {
  if (a.kind != b.kind) return compare(a.kind, b.kind);
  if (a.format != b.format)
    return compare(a.format->size * 32 + a.format->exponent, b.format->size * 32 + b.format->exponent);
  const int number = kiv_u128_cmp(&a.number, &b.number);
  return number != 0 ? number : a.contents.compare(b.contents);
}

}  // namespace kiv::inspect
