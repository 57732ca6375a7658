// Builds small ELF and PE files byte by byte, for tests of readers.
#ifndef KIV_TESTS_EXAMPLES_PROGRAM_IMAGES_H
#define KIV_TESTS_EXAMPLES_PROGRAM_IMAGES_H

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "examples/kiv_inspect/byte_view.h"

namespace kiv::test {

/// A file in the making. Marks name the places that a test may want to damage.
struct Image {
  kiv::inspect::ByteOrder order = kiv::inspect::ByteOrder::little;
  bool wide = false;  // a 64-bit program
  std::vector<uint8_t> bytes;
  std::map<std::string, size_t> marks;

  uint32_t size() const { return static_cast<uint32_t>(bytes.size()); }
  void mark(const std::string &name) { marks[name] = bytes.size(); }
  void put(uint64_t value, int width);
  void put_at(size_t offset, uint64_t value, int width);
  /// A number of the program's width.
  void put_word(uint64_t value) { put(value, wide ? 8 : 4); }
  void put_text(const std::string &text, size_t width);
  void pad_to(size_t offset) { bytes.resize(offset); }
  /// Writes up to four numbers at random places, each near a limit or within twice the file's size.
  void damage(std::mt19937_64 &random);
};

/// Writes an image beside the test program and gives its path, which is the caller's to remove.
std::string write_file(const std::string &name, const Image &image);

struct ElfRow {
  bool dynamic;
  std::string name;
  uint64_t value;
  uint8_t type, binding;
  uint16_t section;
  uint64_t size = 0;
};

/// A section with addresses, but without bytes in the file.
struct ElfSectionRow {
  std::string name;
  uint64_t address, size;
  uint64_t flags = 2;  // takes memory
};

/// Header, .symtab, .strtab, .dynsym, .dynstr, section headers: first these four, then the given ones. Names of
/// sections are in .strtab, too. Marks: "symtab", "strtab", "dynsym", "dynstr", and the headers of all sections as
/// "symtab header" and so on.
Image build_elf(bool wide, kiv::inspect::ByteOrder order, const std::vector<ElfRow> &rows,
                const std::vector<ElfSectionRow> &sections = {});

struct CoffRow {
  std::string name;
  uint32_t value;
  uint16_t section;
  uint16_t type;
  uint8_t storage_class, further_records;
};
struct ExportRow {
  std::string name;
  uint32_t rva;
};

constexpr uint64_t kPeBase32 = 0x400000, kPeBase64 = 0x140000000;
constexpr uint32_t kPeText = 0x1000, kPeData = 0x2000;  // RVAs of the two sections

/// Headers, .text (executable, 16 bytes), .data with the export table, COFF symbols and strings. Marks: "header" (the
/// signature), "optional", "sections", "exports", "functions", "names", "ordinals", "coff", "strings".
Image build_pe(bool wide, const std::vector<CoffRow> &coff, const std::vector<ExportRow> &exports);

struct SectionRow {
  std::string name;
  std::vector<uint8_t> bytes;
  uint64_t address = 0;
  uint32_t type = 1;
  uint64_t flags = 0;
};

struct SegmentRow {
  uint64_t address, size;
  std::string bytes;
};

/// Header, program headers and the bytes of the segments, the sections, their names, their headers. Marks: the
/// sections' names, these with " header", "segments".
Image build_elf_sections(bool wide, kiv::inspect::ByteOrder order, const std::vector<SectionRow> &sections,
                         const std::vector<SegmentRow> &segments = {});

/// Headers, sections at 0x1000, 0x2000, ..., padded by 16 bytes in the file, and a string table for their names. Marks:
/// "sections" (their headers), the sections' names, "strings".
Image build_pe_sections(bool wide, const std::vector<SectionRow> &sections);

}  // namespace kiv::test

#endif
