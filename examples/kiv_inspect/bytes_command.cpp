// kiv_inspect bytes PROGRAM HEX COUNT [FIRST:WIDTH[be|le]]: the bytes from an address on, sixteen in a line: address,
// bytes, characters. With a bit field, lines with its value follow: "hex", "unsigned", "signed" when its top bit is
// set, and "float" when a floating-point format is as wide.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <optional>
#include <string_view>

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/float_format.h"
#include "examples/kiv_inspect/number_arguments.h"
#include "examples/kiv_inspect/output.h"
#include "examples/kiv_inspect/program.h"
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

std::optional<Request> parse(Arguments arguments) {
  const auto address = parse_address(arguments.values[1]), count = parse_count(arguments.values[2]);
  if (!address || !count || *count == 0) return std::nullopt;
  Request request = {*address, *count, {}};
  if (arguments.count < 4) return request;
  request.field = parse_field(arguments.values[3]);
  if (!request.field) return std::nullopt;
  // In bytes, so that nothing overflows: the field's last one.
  const uint64_t last = request.field->first / 8 + (request.field->first % 8 + request.field->width - 1) / 8;
  if (last >= *count) return std::nullopt;
  return request;
}

void print_line(const MemoryMap &memory, uint64_t address, uint32_t count) {
  uint8_t bytes[kBytesPerLine];
  memory.read(address, count, bytes);
  print_address(address, memory.address_digits());
  for (uint32_t i = 0; i < kBytesPerLine; ++i) {
    if (i % 8 == 0) std::putchar(' ');
    if (i < count) {
      std::printf(" %02x", bytes[i]);
    } else {
      std::fputs("   ", stdout);
    }
  }
  std::fputs("  |", stdout);
  for (uint32_t i = 0; i < count; ++i) std::putchar(bytes[i] >= ' ' && bytes[i] <= '~' ? bytes[i] : '.');
  std::fputs("|\n", stdout);
}

void print_bytes(const MemoryMap &memory, const Request &request) {
  for (uint64_t at = 0; at < request.count && std::ferror(stdout) == 0; at += kBytesPerLine) {
    print_line(memory, request.address + at,
               static_cast<uint32_t>(std::min<uint64_t>(request.count - at, kBytesPerLine)));
  }
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

void print_field(const MemoryMap &memory, const Request &request) {
  const BitField &field = *request.field;
  const ByteOrder order = field.order.value_or(memory.order());
  const KIV_U128 value = read_field(memory, request, order);
  std::printf("bits      %" PRIu64 ":%" PRIu32 "%s\n", field.first, field.width, order == ByteOrder::big ? "be" : "le");
  char digits[48];
  kiv_u128_to_str_bis(&value, -16, "0x", '\0', digits);
  std::printf("hex       %s\n", digits);
  kiv_u128_to_str_bis(&value, 10, nullptr, '\0', digits);
  std::printf("unsigned  %s\n", digits);
  const int unused = static_cast<int>(kMostBits - field.width);
  KIV_U128 shifted = value;
  kiv_u128_lsl(&shifted, unused);
  KIV_S128 extended;
  kiv_u128_to_s128(&shifted, &extended);
  if (kiv_s128_sign(&extended) < 0) {
    kiv_s128_asr(&extended, unused);
    kiv_s128_to_str_bis(&extended, 10, nullptr, '\0', digits);
    std::printf("signed    %s\n", digits);
  }
  const FloatFormat *format = float_format_of_width(field.width);
  if (format == nullptr) return;
  char text[kFloatTextSize];
  format_float(value, *format, text);
  std::printf("float     %s\n", text);
}

}  // namespace

Outcome run_bytes(Arguments arguments) {
  const auto request = parse(arguments);
  if (!request) return Outcome::wrong_usage;
  const char *path = arguments.values[0];
  Program program(arguments.allocator);
  Status status = program.load(path);
  if (status.ok()) status = program.load_memory();
  if (!status.ok()) return fail(path, status);
  const MemoryMap &memory = program.memory();
  if (!memory.contains(request->address, request->count)) {
    return fail(path, {"these addresses are not all in the program"});
  }
  print_bytes(memory, *request);
  if (request->field) print_field(memory, *request);
  return finish_output();
}

}  // namespace kiv::inspect
