// kiv_inspect bytes PROGRAM HEX COUNT [FIRST:WIDTH[be|le]]: the bytes from an address on, sixteen in a line: address,
// bytes, characters. With a bit field, lines with its value follow: "hex", "unsigned", "signed" when its top bit is
// set, and "float" when a floating-point format is as wide.

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string_view>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/float_format.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "kiv_bitops.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kBytesPerLine = 16;
constexpr uint32_t kMostBits = 128;

struct BitField {
  uint64_t first;
  uint32_t width;
  std::optional<ByteOrder> order;  // none: the program's
};

struct Request {
  uint64_t address;
  uint64_t count;
  std::optional<BitField> field;
};

std::optional<BitField> parse_field(std::string_view text) {
  BitField field = {};
  if (text.ends_with("be")) field.order = ByteOrder::big;
  if (text.ends_with("le")) field.order = ByteOrder::little;
  if (field.order) text.remove_suffix(2);
  const size_t colon = text.find(':');
  if (colon == text.npos) return std::nullopt;
  const auto first = parse_count(text.substr(0, colon)), width = parse_count(text.substr(colon + 1));
  if (!first || !width || *width < 1 || *width > kMostBits) return std::nullopt;
  field.first = *first;
  field.width = static_cast<uint32_t>(*width);
  return field;
}

std::optional<Request> parse(const Arguments &arguments) {
  const auto address = parse_address(arguments.values[0]), count = parse_count(arguments.values[1]);
  if (!address || !count || *count == 0) return std::nullopt;
  Request request = {*address, *count, {}};
  if (arguments.count < 3) return request;
  request.field = parse_field(arguments.values[2]);
  if (!request.field) return std::nullopt;
  // In bytes, so that nothing overflows: the field's last one.
  const uint64_t last = request.field->first / 8 + (request.field->first % 8 + request.field->width - 1) / 8;
  if (last >= *count) return std::nullopt;
  return request;
}

constexpr AddressMessage kLine = {"[0_u64x.8] [1_s-24] [2_s-24]  |[3_s]|[|]",
                                  "[0_u64x.16] [1_s-24] [2_s-24]  |[3_s]|[|]"};
constexpr uint32_t kBytesPerGroup = kBytesPerLine / 2;

/// A group of bytes in hexadecimal.
struct Group {
  Group(const uint8_t *bytes, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) std::snprintf(text + 3 * size_t{i}, 4, " %02x", bytes[i]);
  }
  char text[3 * kBytesPerGroup + 1] = "";
};

Status print_line(const MemoryMap &memory, uint64_t address, uint32_t count, Output &output) {
  uint8_t bytes[kBytesPerLine];
  memory.read(address, count, bytes);
  char characters[kBytesPerLine + 1] = "";
  for (uint32_t i = 0; i < count; ++i) {
    const bool plain = bytes[i] >= ' ' && bytes[i] <= '~';
    characters[i] = plain ? static_cast<char>(bytes[i]) : '.';
  }
  const uint32_t first = std::min(count, kBytesPerGroup);
  const Group left(bytes, first), right(bytes + first, count - first);
  const char *const as_text = characters;
  return output.line(kLine.of(memory.address_digits()), address, left.text, right.text, as_text);
}

Status print_bytes(const MemoryMap &memory, const Request &request, Output &output) {
  Status status;
  for (uint64_t at = 0; at < request.count && status.ok() && !output.has_failed(); at += kBytesPerLine) {
    const auto count = static_cast<uint32_t>(std::min<uint64_t>(request.count - at, kBytesPerLine));
    output.progress(at, request.count);
    status = print_line(memory, request.address + at, count, output);
  }
  return status;
}

/// A field of 128 bits that starts within a byte is in 17 bytes.
KIV_U128 read_field(const MemoryMap &memory, const Request &request, ByteOrder order) {
  const BitField &field = *request.field;
  const auto first = static_cast<int32_t>(field.first % 8), width = static_cast<int32_t>(field.width);
  const auto size = static_cast<uint32_t>(first + width + 7) / 8;
  uint8_t bytes[kMostBits / 8 + 1];
  uint8_t bits[kMostBits / 8] = {};
  if (order == ByteOrder::big) {
    memory.read(request.address + (request.count - field.first / 8 - size), size, bytes);
    kiv_bitops_replace_bits_big_endian_source(bits, 0, bytes + size - 1, first, width);
  } else {
    memory.read(request.address + field.first / 8, size, bytes);
    kiv_bitops_replace_bits(bits, 0, bytes, first, width);
  }
  KIV_U128 value;
  kiv_bitops_convert_to_U128(&value, bits, width);
  return value;
}

Status print_field(const MemoryMap &memory, const Request &request, Output &output) {
  const BitField &field = *request.field;
  const ByteOrder order = field.order.value_or(memory.order());
  const KIV_U128 value = read_field(memory, request, order);
  Status status =
      output.line("bits      [0_u64]:[1_u32][2_s][|]", field.first, field.width, order == ByteOrder::big ? "be" : "le");
  if (status.ok()) status = output.line("hex       0x[0_u128x][|]", value);
  if (status.ok()) status = output.line("unsigned  [0_u128][|]", value);
  const int unused = static_cast<int>(kMostBits - field.width);
  KIV_U128 shifted = value;
  kiv_u128_lsl(&shifted, unused);
  KIV_S128 extended;
  kiv_u128_to_s128(&shifted, &extended);
  if (status.ok() && kiv_s128_sign(&extended) < 0) {
    kiv_s128_asr(&extended, unused);
    status = output.line("signed    [0_s128][|]", extended);
  }
  const FloatFormat *format = float_format_of_width(field.width);
  if (!status.ok() || format == nullptr) return status;
  char text[kFloatTextSize];
  format_float(value, *format, text);
  return output.line("float     [0_s][|]", text);
}

Status show(const Arguments &arguments, const Request &request) {
  const Errors &errors = arguments.errors;
  Status status = arguments.load({&Program::load_memory});
  if (!status.ok()) return status;
  const MemoryMap &memory = arguments.program().memory();
  if (!memory.contains(request.address, request.count)) {
    return errors.failure("these addresses are not all in the program[|]");
  }
  Output output(arguments.out, errors, arguments.allocator);
  status = print_bytes(memory, request, output);
  if (status.ok() && request.field) status = print_field(memory, request, output);
  return status.ok() ? output.finish() : status;
}

}  // namespace

Outcome run_bytes(Arguments arguments) {
  const auto request = arguments.take_path() ? parse(arguments) : std::nullopt;
  if (!request) return Outcome::wrong_usage;
  return finish(arguments, show(arguments, *request), "bytes of \"[0_S]\" cannot be shown[|]");
}

}  // namespace kiv::inspect
