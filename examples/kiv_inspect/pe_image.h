// The frame of a PE file, PE32 or PE32+: its headers and its sections, found by number and by address.
// Source: Microsoft's PE format description. Addresses inside an image (RVAs) are 32-bit offsets from its base.
#ifndef KIV_INSPECT_PE_IMAGE_H
#define KIV_INSPECT_PE_IMAGE_H

#include "examples/kiv_inspect/byte_view.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

struct PeSection {
  uint32_t address;  // an RVA
  uint32_t size;     // in memory or in the file, whichever is more
  uint32_t file_offset;
  uint32_t file_size;
  bool executable;
};

class PeImage {
 public:
  static bool recognises(ByteView file);

  /// Memory for the sections comes from scratch and is not given back. REQUIRES: recognises(file).
  Status open(ByteView file, KIV_ALLOCATOR *scratch);

  bool has_64_bits() const { return has_64_bits_; }

  /// The target address of an RVA. It wraps in the program's width, as the loader's arithmetic does.
  uint64_t address_of(uint32_t rva) const;

  /// A section by number, from 1 on as symbols count them, or by address; null when there is none.
  const PeSection *section_by_number(uint32_t number) const;
  const PeSection *section_at(uint32_t rva) const;

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

 private:
  void read_optional_header(ByteView header);
  Status read_sections(ByteView headers, uint32_t count, KIV_ALLOCATOR *scratch);

  ByteView file_;
  bool has_64_bits_ = false;
  uint64_t base_ = 0;
  PeSection *sections_ = nullptr;
  uint32_t section_count_ = 0;
  KIV_AVL_TREE *by_address_ = nullptr;
  Directory export_table_ = {};
  CoffSymbols coff_symbols_ = {};
};

}  // namespace kiv::inspect

#endif
