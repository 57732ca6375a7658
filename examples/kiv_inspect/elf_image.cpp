#include "examples/kiv_inspect/elf_image.h"

#include <cstring>

namespace kiv::inspect {
namespace {

constexpr Field kClass = {4, 1};      // 1: 32 bits, 2: 64 bits
constexpr Field kByteOrder = {5, 1};  // 1: little endian, 2: big endian

/// The records of one class.
struct Layout {
  uint32_t header_size;
  Field section_table, section_stride, section_count;
  uint32_t section_size;
  Field type, offset, size, link, entry_size;
};
constexpr Layout kLayout32 = {52, {32, 4}, {46, 2}, {48, 2}, 40, {4, 4}, {16, 4}, {20, 4}, {24, 4}, {36, 4}};
constexpr Layout kLayout64 = {64, {40, 8}, {58, 2}, {60, 2}, 64, {4, 4}, {24, 8}, {32, 8}, {40, 4}, {56, 8}};

const Layout &layout(bool has_64_bits) { return has_64_bits ? kLayout64 : kLayout32; }

}  // namespace

bool ElfImage::recognises(ByteView file) { return file.size() >= 4 && std::memcmp(file.data(), "\177ELF", 4) == 0; }

Status ElfImage::open(ByteView file) {
  const uint64_t elf_class = file.number(kClass);
  if (elf_class != 1 && elf_class != 2) return {"its ELF class is unknown"};
  const uint64_t byte_order = file.number(kByteOrder);
  if (byte_order != 1 && byte_order != 2) return {"its ELF byte order is unknown"};
  has_64_bits_ = elf_class == 2;
  file_ = file.in_order(byte_order == 1 ? ByteOrder::little : ByteOrder::big);

  const Layout &in = layout(has_64_bits_);
  const auto header = file_.part(0, in.header_size);
  if (!header) return {"its ELF header is cut off"};
  const uint64_t table = header->number(in.section_table);
  if (table == 0) return {};  // sections may be stripped
  const uint64_t stride = header->number(in.section_stride);
  if (stride < in.section_size) return {"its section headers are too small"};
  uint64_t count = header->number(in.section_count);
  if (count == 0) {
    // A count that does not fit stands in the first section's size.
    const auto first = file_.part(table, stride);
    if (!first) return {"its section table lies outside the file"};
    count = first->number(in.size);
  }
  // Also keeps the product from overflowing.
  const auto entries = count <= file_.size() ? file_.part(table, count * stride) : std::nullopt;
  if (!entries) return {"its section table lies outside the file"};
  section_table_ = *entries;
  section_count_ = static_cast<uint32_t>(count);
  section_stride_ = static_cast<uint32_t>(stride);
  return {};
}

ElfSection ElfImage::section(uint32_t index) const {
  const Layout &in = layout(has_64_bits_);
  const ByteView header = section_table_.part(uint64_t{index} * section_stride_, section_stride_).value_or(ByteView());
  return {static_cast<uint32_t>(header.number(in.type)), static_cast<uint32_t>(header.number(in.link)),
          header.number(in.offset), header.number(in.size), header.number(in.entry_size)};
}

Status ElfImage::contents(const ElfSection &section, ByteView *bytes) const {
  const auto part = file_.part(section.offset, section.size);
  if (!part) return {"a section lies outside the file"};
  *bytes = *part;
  return {};
}

}  // namespace kiv::inspect
