#include "examples/kiv_inspect/pe_image.h"

#include <algorithm>

#include "examples/kiv_inspect/compare.h"

namespace kiv::inspect {
namespace {

constexpr uint32_t kDosHeaderSize = 64;
constexpr uint32_t kHeaderOffsetAt = 60;  // in the DOS header
constexpr uint32_t kCoffHeaderSize = 24;  // with the signature before it
constexpr uint32_t kSectionSize = 40;
constexpr uint32_t kCoffSymbolSize = 18;
constexpr uint32_t kShortNameSize = 8;
constexpr uint32_t kExecutable = 0x20000000;
constexpr uint32_t kWritable = 0x80000000;

/// The optional header of one width.
struct Layout {
  uint16_t magic;
  Field base, directory_count;
  uint32_t export_directory;
};
constexpr Layout kLayout32 = {0x10B, {28, 4}, {92, 4}, 96};
constexpr Layout kLayout64 = {0x20B, {24, 8}, {108, 4}, 112};

/// The offset that a name refers to, or none for a name that is one itself.
std::optional<uint64_t> name_offset(ByteView name) {
  if (name.u8(0) != '/') return std::nullopt;
  const bool base_64 = name.u8(1) == '/';
  uint64_t offset = 0;
  for (uint32_t i = base_64 ? 2 : 1; i < name.size() && name.u8(i) != 0; ++i) {
    const uint8_t c = name.u8(i);
    const bool decimal = c >= '0' && c <= '9';
    if (!base_64) {
      if (!decimal) return std::nullopt;
      offset = offset * 10 + (c - '0');
      continue;
    }
    const bool lower = c >= 'a' && c <= 'z', upper = c >= 'A' && c <= 'Z';
    if (!decimal && !lower && !upper && c != '+' && c != '/') return std::nullopt;
    const int digit = upper ? c - 'A' : lower ? c - 'a' + 26 : decimal ? c - '0' + 52 : c == '+' ? 62 : 63;
    offset = offset * 64 + static_cast<uint64_t>(digit);
  }
  return offset;
}

}  // namespace

bool PeImage::recognises(FileView file) {
  const auto dos_header = file.in_order(ByteOrder::little).part(0, kDosHeaderSize);
  if (!dos_header || dos_header->u16(0) != 0x5A4D) return false;  // "MZ"
  const auto signature = file.part(dos_header->u32(kHeaderOffsetAt), 4);
  return signature && signature->in_order(ByteOrder::little).u32(0) == 0x4550;  // "PE", two zeros
}

Status PeImage::open(FileView file, KIV_ALLOCATOR *scratch) {
  file_ = file.in_order(ByteOrder::little);
  const uint64_t header_at = file_.u32(kHeaderOffsetAt);
  const auto header = file_.part(header_at, kCoffHeaderSize);
  if (!header) return errors_.failure("its PE header is cut off[|]");
  const uint32_t section_count = header->u16(6);
  machine_ = pe_machine(header->u16(4));
  coff_symbols_ = {header->u32(12), header->u32(16)};
  const uint32_t optional_size = header->u16(20);
  const auto optional = file_.part(header_at + kCoffHeaderSize, optional_size);
  if (!optional) return errors_.failure("its PE header is cut off[|]");
  const uint16_t magic = optional->u16(0);
  if (magic != kLayout32.magic && magic != kLayout64.magic)
    return errors_.failure("its kind of PE header is unknown[|]");
  has_64_bits_ = magic == kLayout64.magic;
  read_optional_header(*optional);
  const auto sections = file_.part(header_at + kCoffHeaderSize + optional_size, uint64_t{section_count} * kSectionSize);
  if (!sections) return errors_.failure("its section table lies outside the file[|]");
  return read_sections(*sections, section_count, scratch);
}

/// What a short header lacks reads as 0: such an image has no export table.
void PeImage::read_optional_header(ByteView header) {
  const Layout &in = has_64_bits_ ? kLayout64 : kLayout32;
  base_ = header.number(in.base);
  headers_size_ = header.u32(60);
  if (header.number(in.directory_count) == 0) return;
  export_table_ = {header.u32(in.export_directory), header.u32(in.export_directory + 4)};
}

Status PeImage::read_sections(ByteView headers, uint32_t count, KIV_ALLOCATOR *scratch) {
  by_address_ = kiv_avl_new_using_KIV_ALLOCATOR(scratch, by_field<&PeSection::address>, nullptr, nullptr);
  // At most 65535 records: the size cannot overflow.
  sections_ = static_cast<PeSection *>(scratch->alloc(scratch, count * static_cast<uint32_t>(sizeof(PeSection))));
  if (by_address_ == nullptr || sections_ == nullptr) return errors_.out_of_memory();
  for (uint32_t at = 0; section_count_ < count; at += kSectionSize) {
    const ByteView header = headers.part(at, kSectionSize).value_or(ByteView());
    PeSection &section = sections_[section_count_++];
    section.address = header.u32(12);
    section.file_offset = header.u32(20);
    section.file_size = section.file_offset != 0 ? header.u32(16) : 0;
    section.memory_size = header.u32(8);
    section.size = std::max(section.memory_size, section.file_size);
    section.characteristics = header.u32(36);
    section.executable = (section.characteristics & kExecutable) != 0;
    section.writable = (section.characteristics & kWritable) != 0;
    section.name = header.part(0, kShortNameSize).value_or(ByteView());
    // Sections do not overlap. In a damaged file that has some, the earlier of two at one address counts.
    if (section.size != 0 && kiv_avl_insert(by_address_, &section) != 0) return errors_.out_of_memory();
  }
  return {};
}

uint64_t PeImage::address_of(uint32_t rva) const {
  const uint64_t address = base_ + rva;
  return has_64_bits_ ? address : static_cast<uint32_t>(address);
}

const PeSection *PeImage::section_by_number(uint32_t number) const {
  return number >= 1 && number <= section_count_ ? &sections_[number - 1] : nullptr;
}

const PeSection *PeImage::section_at(uint32_t rva) const {
  PeSection key = {};
  key.address = rva;
  const auto *section = static_cast<const PeSection *>(kiv_avl_find_largest_less_or_equal(by_address_, &key));
  return section != nullptr && rva - section->address < section->size ? section : nullptr;
}

Status PeImage::name(const PeSection &section, ByteView *name) const {
  *name = section.name;
  const auto offset = name_offset(section.name);
  if (!offset) return {};
  ByteView strings;
  const Status status = coff_strings(&strings);
  *name = strings.rest(*offset).value_or(ByteView());
  return status;
}

Status PeImage::first_bytes(const PeSection &section, uint32_t size, ByteView *bytes) const {
  const auto part = file_.part(section.file_offset, size);
  if (!part) return errors_.failure("a section lies outside the file[|]");
  *bytes = *part;
  return {};
}

Status PeImage::file_bytes(const PeSection &section, ByteView *bytes) const {
  return first_bytes(section, section.file_size, bytes);
}

Status PeImage::contents(const PeSection &section, ByteView *bytes) const {
  const bool padded = section.memory_size != 0 && section.memory_size < section.file_size;
  return first_bytes(section, padded ? section.memory_size : section.file_size, bytes);
}

Status PeImage::coff_strings(ByteView *strings) const {
  const auto [offset, count] = coff_symbols_;
  *strings = {};
  if (offset == 0) return {};
  const uint64_t start = offset + uint64_t{count} * kCoffSymbolSize;
  const auto size = file_.part(start, 4);
  if (!size) return {};  // a file without long names may end before it
  const auto part = file_.part(start, size->u32(0));
  if (!part) return errors_.failure("its string table lies outside the file[|]");
  *strings = *part;
  return {};
}

Status PeImage::bytes_at(uint32_t rva, ByteView *bytes) const {
  const PeSection *section = section_at(rva);
  if (section == nullptr) return errors_.failure("an address lies in no section[|]");
  ByteView all;
  const Status status = file_bytes(*section, &all);
  if (!status.ok()) return status;
  const auto rest = all.rest(rva - section->address);
  if (!rest) return errors_.failure("an address lies behind the bytes of its section[|]");
  *bytes = *rest;
  return {};
}

}  // namespace kiv::inspect
