#include "examples/kiv_inspect/elf_image.h"

namespace kiv::inspect {
namespace {

constexpr Field kClass = {4, 1};      // 1: 32 bits, 2: 64 bits
constexpr Field kByteOrder = {5, 1};  // 1: little endian, 2: big endian

/// The records of one class.
struct Layout {
  uint32_t header_size;
  Field section_table, section_stride, section_count;
  uint32_t section_size;
  Field flags, address, offset, size, link, info, entry_size;
  Field names_index;
  Field segment_table, segment_stride, segment_count;
  uint32_t segment_size;
  Field segment_offset, segment_address, segment_file_size, segment_memory_size;
};
constexpr Layout kLayout32 = {52,      {32, 4}, {46, 2}, {48, 2}, 40,      {8, 4},  {12, 4},
                              {16, 4}, {20, 4}, {24, 4}, {28, 4}, {36, 4}, {50, 2}, {28, 4},
                              {42, 2}, {44, 2}, 32,      {4, 4},  {8, 4},  {16, 4}, {20, 4}};
constexpr Layout kLayout64 = {64,      {40, 8}, {58, 2}, {60, 2}, 64,      {8, 8},  {16, 8},
                              {24, 8}, {32, 8}, {40, 4}, {44, 4}, {56, 8}, {62, 2}, {32, 8},
                              {54, 2}, {56, 2}, 56,      {8, 8},  {16, 8}, {32, 8}, {40, 8}};
constexpr Field kSectionName = {0, 4}, kSectionType = {4, 4}, kSegmentType = {0, 4};
constexpr uint32_t kElsewhere = 0xFFFF;  // a number that does not fit in the header stands in the first section

const Layout &layout(bool has_64_bits) { return has_64_bits ? kLayout64 : kLayout32; }

}  // namespace

bool ElfImage::recognises(FileView file) {
  const auto magic = file.part(0, 4);
  return magic && magic->text() == "\177ELF";
}

Status ElfImage::open(FileView file) {
  const uint64_t elf_class = file.number(kClass);
  if (elf_class != 1 && elf_class != 2) return errors_.failure("its ELF class is unknown[|]");
  const uint64_t byte_order = file.number(kByteOrder);
  if (byte_order != 1 && byte_order != 2) return errors_.failure("its ELF byte order is unknown[|]");
  has_64_bits_ = elf_class == 2;
  file_ = file.in_order(byte_order == 1 ? ByteOrder::little : ByteOrder::big);

  type_ = file_.u16(16);
  machine_ = file_.u16(18);

  const Layout &in = layout(has_64_bits_);
  const auto header = file_.part(0, in.header_size);
  if (!header) return errors_.failure("its ELF header is cut off[|]");
  const uint64_t table = header->number(in.section_table);
  if (table == 0) return {};  // sections may be stripped
  const uint64_t stride = header->number(in.section_stride);
  if (stride < in.section_size) return errors_.failure("its section headers are too small[|]");
  uint64_t count = header->number(in.section_count);
  if (count == 0) {
    // A count that does not fit stands in the first section's size.
    const auto first = file_.part(table, stride);
    if (!first) return errors_.failure("its section table lies outside the file[|]");
    count = first->number(in.size);
  }
  // Also keeps the product from overflowing.
  const auto entries = count <= file_.size() ? file_.part(table, count * stride) : std::nullopt;
  if (!entries) return errors_.failure("its section table lies outside the file[|]");
  section_table_ = *entries;
  section_count_ = static_cast<uint32_t>(count);
  section_stride_ = static_cast<uint32_t>(stride);
  return {};
}

ElfSection ElfImage::section(uint32_t index) const {
  const Layout &in = layout(has_64_bits_);
  const ByteView header = section_table_.part(uint64_t{index} * section_stride_, section_stride_).value_or(ByteView());
  ElfSection section = {};
  section.name = static_cast<uint32_t>(header.number(kSectionName));
  section.type = static_cast<uint32_t>(header.number(kSectionType));
  section.flags = header.number(in.flags);
  section.address = header.number(in.address);
  section.link = static_cast<uint32_t>(header.number(in.link));
  section.offset = header.number(in.offset);
  section.size = header.number(in.size);
  section.entry_size = header.number(in.entry_size);
  return section;
}

Status ElfImage::contents(const ElfSection &section, ByteView *bytes) const {
  const auto part = file_.part(section.offset, section.size);
  if (!part) return errors_.failure("a section lies outside the file[|]");
  *bytes = *part;
  return {};
}

Status ElfImage::section_names(ByteView *names) const {
  *names = {};
  const Layout &in = layout(has_64_bits_);
  uint64_t index = file_.number(in.names_index);
  if (index == kElsewhere && section_count_ > 0) index = section(0).link;
  if (index == 0 || section_count_ == 0) return {};
  if (index >= section_count_) return errors_.failure("its sections have no string table[|]");
  return contents(section(static_cast<uint32_t>(index)), names);
}

Status ElfImage::segments(ByteView *table, uint32_t *count) const {
  const Layout &in = layout(has_64_bits_);
  *table = {};
  *count = 0;
  const uint64_t start = file_.number(in.segment_table);
  if (start == 0) return {};
  uint64_t all = file_.number(in.segment_count);
  if (all == kElsewhere && section_count_ > 0) all = section_table_.number(in.info);
  const uint64_t stride = file_.number(in.segment_stride);
  if (all != 0 && stride < in.segment_size) return errors_.failure("its program headers are too small[|]");
  const auto entries = file_.part(start, all * stride);  // at most 32 and 16 bits
  if (!entries) return errors_.failure("its program headers lie outside the file[|]");
  *table = *entries;
  *count = static_cast<uint32_t>(all);
  return {};
}

ElfSegment ElfImage::segment(ByteView table, uint32_t index) const {
  const Layout &in = layout(has_64_bits_);
  const uint64_t stride = file_.number(in.segment_stride);
  const ByteView header = table.part(index * stride, stride).value_or(ByteView());
  return {static_cast<uint32_t>(header.number(kSegmentType)), header.number(in.segment_offset),
          header.number(in.segment_address), header.number(in.segment_file_size),
          header.number(in.segment_memory_size)};
}

}  // namespace kiv::inspect
