#include "tests/examples/program_images.h"

#include <fstream>

#include "tests/support/process.h"
#include "tests/support/random.h"

namespace kiv::test {

using kiv::inspect::ByteOrder;

void Image::put_at(size_t offset, uint64_t value, int width) {
  for (int i = 0; i < width; ++i) {
    const int shift = 8 * (order == ByteOrder::little ? i : width - 1 - i);
    bytes[offset + static_cast<size_t>(i)] = static_cast<uint8_t>(value >> shift);
  }
}

void Image::put(uint64_t value, int width) {
  bytes.resize(bytes.size() + static_cast<size_t>(width));
  put_at(bytes.size() - static_cast<size_t>(width), value, width);
}

void Image::put_text(const std::string &text, size_t width) {
  bytes.insert(bytes.end(), text.begin(), text.end());
  bytes.resize(bytes.size() + width - text.size());
}

void Image::damage(std::mt19937_64 &random) {
  constexpr uint64_t kLimits[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x8000000000000000, ~uint64_t{0}};
  for (uint32_t i = 1 + below(random, 4); i > 0; --i) {
    const int width = 1 << below(random, 4);
    const size_t at = below(random, size() - 8);
    const uint64_t near = below(random, 2 * size());
    put_at(at, below(random, 2) != 0 ? kLimits[below(random, 7)] : near, width);
  }
}

std::string write_file(const std::string &name, const Image &image) {
  const std::string path = this_program() + "." + name;
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char *>(image.bytes.data()), static_cast<std::streamsize>(image.size()));
  return path;
}

namespace {

struct ElfSectionHeader {
  std::string mark;
  size_t name;
  uint32_t type;
  uint64_t flags, address, start, size;
  uint32_t link = 0;
  uint32_t entry_size = 0;
};

/// The header, as far as it is the same in all programs.
Image begin_elf(bool wide, ByteOrder order) {
  Image image{order, wide};
  image.put_text("\177ELF", 4);
  image.put(wide ? 2 : 1, 1);
  image.put(order == ByteOrder::little ? 1 : 2, 1);
  image.pad_to(wide ? 64 : 52);
  return image;
}

/// The section headers, of which that of the names is the one with the given index; and where they are.
void put_section_headers(Image &image, const std::vector<ElfSectionHeader> &sections, size_t names) {
  const bool wide = image.wide;
  image.put_at(wide ? 40 : 32, image.size(), wide ? 8 : 4);
  image.put_at(wide ? 58 : 46, wide ? 64 : 40, 2);
  image.put_at(wide ? 60 : 48, sections.size() + 1, 2);
  image.put_at(wide ? 62 : 50, names, 2);
  image.pad_to(image.size() + (wide ? 64 : 40));  // the first section is none
  for (const ElfSectionHeader &section : sections) {
    image.mark(section.mark + " header");
    image.put(section.name, 4);
    image.put(section.type, 4);
    for (const uint64_t word : {section.flags, section.address, section.start, section.size}) image.put_word(word);
    image.put(section.link, 4);
    image.put(0, 4);
    image.put_word(1);
    image.put_word(section.entry_size);
  }
}

}  // namespace

Image build_elf(bool wide, ByteOrder order, const std::vector<ElfRow> &rows,
                const std::vector<ElfSectionRow> &sections) {
  Image image = begin_elf(wide, order);
  std::vector<ElfSectionHeader> headers, given;
  for (const bool dynamic : {false, true}) {
    const uint32_t symbol_size = wide ? 24 : 16;
    const size_t start = image.size();
    std::string names(1, '\0');
    image.mark(dynamic ? "dynsym" : "symtab");
    image.pad_to(start + symbol_size);  // the first symbol is none
    for (const ElfRow &row : rows) {
      if (row.dynamic != dynamic) continue;
      const auto info = static_cast<uint8_t>(row.binding << 4 | row.type);
      image.put(row.name.empty() ? 0 : names.size(), 4);
      if (!wide) image.put(row.value, 4), image.put(row.size, 4);
      image.put(info, 1);
      image.put(0, 1);
      image.put(row.section, 2);
      if (wide) image.put(row.value, 8), image.put(row.size, 8);
      names += row.name + '\0';
    }
    for (const ElfSectionRow &row : sections) {
      if (!dynamic) given.push_back({row.name, names.size(), 8, row.flags, row.address, 0, row.size});
      if (!dynamic) names += row.name + '\0';
    }
    const size_t end = image.size();
    image.mark(dynamic ? "dynstr" : "strtab");
    image.put_text(names, names.size());
    headers.push_back({dynamic ? "dynsym" : "symtab", 0, dynamic ? 11u : 2u, 0, 0, start, end - start,
                       dynamic ? 4u : 2u, symbol_size});
    headers.push_back({dynamic ? "dynstr" : "strtab", 0, 3, 0, 0, end, names.size()});
  }
  headers.insert(headers.end(), given.begin(), given.end());
  put_section_headers(image, headers, given.empty() ? 0 : 2);
  return image;
}

namespace {

/// The export table at the start of .data; gives the RVAs of its three arrays.
void put_exports(Image &image, const std::vector<ExportRow> &exports) {
  const auto count = static_cast<uint32_t>(exports.size());
  const uint32_t functions = kPeData + 40, names = functions + 4 * count, ordinals = names + 4 * count;
  const size_t start = image.size();
  image.mark("exports");
  image.pad_to(start + 20);
  for (const uint32_t word : {count, count, functions, names, ordinals}) image.put(word, 4);
  image.mark("functions");
  for (const ExportRow &row : exports) image.put(row.rva, 4);
  image.mark("names");
  uint32_t text = ordinals + 2 * count;
  for (const ExportRow &row : exports) {
    image.put(text, 4);
    text += static_cast<uint32_t>(row.name.size()) + 1;
  }
  image.mark("ordinals");
  for (uint32_t i = 0; i < count; ++i) image.put(i, 2);
  for (const ExportRow &row : exports) image.put_text(row.name, row.name.size() + 1);
}

void put_coff_symbols(Image &image, const std::vector<CoffRow> &rows) {
  std::string strings;
  image.mark("coff");
  for (const CoffRow &row : rows) {
    if (row.name.size() <= 8) {
      image.put_text(row.name, 8);
    } else {
      image.put(0, 4);
      image.put(strings.size() + 4, 4);
      strings += row.name + '\0';
    }
    image.put(row.value, 4);
    image.put(row.section, 2);
    image.put(row.type, 2);
    image.put(row.storage_class, 1);
    image.put(row.further_records, 1);
    // Looks like an external symbol "AAAA...", should anyone take it for one.
    for (int i = 0; i < row.further_records; ++i)
      image.put_text(std::string(12, 'A') + '\1' + std::string(3, '\0') + '\2', 18);
  }
  image.mark("strings");
  image.put(strings.size() + 4, 4);
  image.put_text(strings, strings.size());
}

/// The headers but for those of the sections.
Image begin_pe(bool wide, size_t sections) {
  Image image{ByteOrder::little, wide};
  const uint16_t optional_size = wide ? 240 : 224;
  image.put_text("MZ", 60);
  image.put(64, 4);
  image.mark("header");
  image.put_text("PE", 4);
  image.put(wide ? 0x8664 : 0x14C, 2);
  image.put(sections, 2);
  image.pad_to(64 + 20);
  image.put(optional_size, 2);
  image.put(0, 2);
  image.mark("optional");
  image.put(wide ? 0x20B : 0x10B, 2);
  image.pad_to(64 + 24 + (wide ? 24 : 28));
  image.put_word(wide ? kPeBase64 : kPeBase32);
  image.pad_to(64 + 24 + 60);
  image.put(64 + 24 + optional_size + 40 * sections, 4);
  image.pad_to(64 + 24 + optional_size);
  image.mark("sections");
  return image;
}

constexpr size_t kSymbolPointer = 64 + 12;

}  // namespace

Image build_pe(bool wide, const std::vector<CoffRow> &coff, const std::vector<ExportRow> &exports) {
  Image image = begin_pe(wide, 2);
  uint32_t coff_count = 0;
  for (const CoffRow &row : coff) coff_count += 1u + row.further_records;
  image.put_at(kSymbolPointer + 4, coff_count, 4);
  const size_t directory = image.marks["optional"] + (wide ? 108 : 92);
  image.put_at(directory, 16, 4);
  image.put_at(directory + 4, exports.empty() ? 0 : kPeData, 4);
  const size_t data_header = image.size() + 40;
  const uint32_t text_at = image.size() + 2 * 40;
  for (const bool text : {true, false}) {
    image.put_text(text ? ".text" : ".data", 8);
    for (const uint32_t word : {0x800u, text ? kPeText : kPeData, text ? 16u : 0u, text ? text_at : text_at + 16})
      image.put(word, 4);
    image.pad_to(image.size() + 12);
    image.put(text ? 0x60000020 : 0xC0000040, 4);
  }
  image.pad_to(text_at + 16);
  if (!exports.empty()) put_exports(image, exports);
  const uint32_t data_size = image.size() - text_at - 16;
  image.put_at(directory + 8, data_size, 4);
  image.put_at(data_header + 16, data_size, 4);
  image.put_at(kSymbolPointer, image.size(), 4);
  put_coff_symbols(image, coff);
  return image;
}

Image build_elf_sections(bool wide, ByteOrder order, const std::vector<SectionRow> &sections,
                         const std::vector<SegmentRow> &segments) {
  Image image = begin_elf(wide, order);
  image.put_at(16, 3, 2);
  image.put_at(18, wide ? 62 : 3, 2);
  image.put_at(wide ? 32 : 28, image.size(), wide ? 8 : 4);
  image.put_at(wide ? 54 : 42, wide ? 56 : 32, 2);
  image.put_at(wide ? 56 : 44, segments.size(), 2);
  image.mark("segments");
  uint64_t at = image.size() + segments.size() * (wide ? 56 : 32);
  for (const SegmentRow &row : segments) {
    image.put(1, 4);
    if (wide) image.put(0, 4);
    for (const uint64_t word : {at, row.address, uint64_t{0}, uint64_t{row.bytes.size()}, row.size})
      image.put_word(word);
    if (!wide) image.put(0, 4);
    image.put_word(0);
    at += row.bytes.size();
  }
  for (const SegmentRow &row : segments) image.put_text(row.bytes, row.bytes.size());

  std::string names(1, '\0');
  std::vector<ElfSectionHeader> headers;
  std::vector<SectionRow> all = sections;
  all.push_back({".shstrtab", {}});
  for (SectionRow &row : all) {
    const size_t name = names.size();
    names += row.name + '\0';
    if (row.name == ".shstrtab") row.bytes.assign(names.begin(), names.end());
    headers.push_back({row.name, name, row.type, row.flags, row.address, image.size(), row.bytes.size()});
    image.mark(row.name);
    image.bytes.insert(image.bytes.end(), row.bytes.begin(), row.bytes.end());
  }
  put_section_headers(image, headers, all.size());
  return image;
}

Image build_pe_sections(bool wide, const std::vector<SectionRow> &sections) {
  Image image = begin_pe(wide, sections.size());
  std::string strings(4, '\0');
  size_t address = 0x1000, at = image.size() + 40 * sections.size();
  for (const SectionRow &row : sections) {
    image.put_text(row.name.size() <= 8 ? row.name : "/" + std::to_string(strings.size()), 8);
    if (row.name.size() > 8) strings += row.name + '\0';
    const size_t padded = row.bytes.size() + 16;
    for (const size_t word : {row.bytes.size(), address, padded, at}) image.put(word, 4);
    image.put_text("", 16);
    at += padded;
    address += 0x1000;
  }
  for (const SectionRow &row : sections) {
    image.mark(row.name);
    image.bytes.insert(image.bytes.end(), row.bytes.begin(), row.bytes.end());
    image.put_text("", 16);
  }
  image.put_at(kSymbolPointer, image.size(), 4);
  image.mark("strings");
  image.put_text(strings, strings.size());
  image.put_at(image.marks["strings"], strings.size(), 4);
  return image;
}

}  // namespace kiv::test
