// The frame of a PE file, PE32 or PE32+: its headers and its sections, found by number and by address.
// Source: Microsoft's PE format description. Addresses inside an image (RVAs) are 32-bit offsets from its base.
#ifndef KIV_INSPECT_PE_IMAGE_H
#define KIV_INSPECT_PE_IMAGE_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/machine.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

struct PeSection {
  uint32_t address;  // an RVA
  uint32_t size;     // in memory or in the file, whichever is more
  uint32_t file_offset;
  uint32_t file_size;
  uint32_t memory_size;  // 0: as in the file, which is padded there
  uint32_t characteristics;
  bool executable;
  bool writable;
  ByteView name;  // 8 bytes, shorter ones with a zero behind them, or a reference to the string table
};

class PeImage {
 public:
  /// REQUIRES: the errors outlive this.
  explicit PeImage(const Errors &errors) : errors_(errors) {}

  static bool recognises(FileView file);

  /// Memory for the sections comes from scratch and is not given back. REQUIRES: recognises(file).
  Status open(FileView file, KIV_ALLOCATOR *scratch);

  /// Where failures of its readers come from.
  const Errors &errors() const { return errors_; }

  bool has_64_bits() const { return has_64_bits_; }
  int address_digits() const { return has_64_bits_ ? 16 : 8; }  // hexadecimal ones

  /// The target address of an RVA. It wraps in the program's width, as the loader's arithmetic does.
  uint64_t address_of(uint32_t rva) const;

  /// A section by number, from 1 on as symbols count them, or by address; null when there is none.
  const PeSection *section_by_number(uint32_t number) const;
  const PeSection *section_at(uint32_t rva) const;
  uint32_t section_count() const { return section_count_; }

  /// A section's name, or something longer that starts with it and a zero. Names above 8 bytes stand in the string
  /// table, and the section has "/" with the offset there in decimal, or "//" with it in base 64. That they do so is
  /// a habit of GNU's and LLVM's linkers, for the sections of debug information.
  Status name(const PeSection &section, ByteView *name) const;

  /// The bytes of a section in the file, and these without the padding behind what is loaded.
  Status file_bytes(const PeSection &section, ByteView *bytes) const;
  Status contents(const PeSection &section, ByteView *bytes) const;

  /// The bytes from an RVA to the end of its section in the file.
  Status bytes_at(uint32_t rva, ByteView *bytes) const;

  struct Directory {
    uint32_t rva, size;
  };
  /// Where the export table is; size 0 when there is none.
  Directory export_table() const { return export_table_; }

  struct CoffSymbols {
    uint32_t file_offset, count;
  };
  CoffSymbols coff_symbols() const { return coff_symbols_; }

  /// The string table behind the symbols, from its size on, which stands in its first four bytes; empty when there is
  /// none.
  Status coff_strings(ByteView *strings) const;

  /// How many bytes from the file's start on are loaded to the base.
  uint32_t headers_size() const { return headers_size_; }

  /// What the program is for.
  Machine machine() const { return machine_; }

  /// Whether the program is for x86 of either width.
  bool is_x86() const { return machine_ == Machine::x86 || machine_ == Machine::x86_64; }

 private:
  void read_optional_header(ByteView header);
  Status first_bytes(const PeSection &section, uint32_t size, ByteView *bytes) const;
  Status read_sections(ByteView headers, uint32_t count, KIV_ALLOCATOR *scratch);

  const Errors &errors_;
  FileView file_;
  bool has_64_bits_ = false;
  Machine machine_ = Machine::unknown;
  uint64_t base_ = 0;
  uint32_t headers_size_ = 0;
  PeSection *sections_ = nullptr;
  uint32_t section_count_ = 0;
  KIV_AVL_TREE *by_address_ = nullptr;
  Directory export_table_ = {};
  CoffSymbols coff_symbols_ = {};
};

}  // namespace kiv::inspect

#endif
