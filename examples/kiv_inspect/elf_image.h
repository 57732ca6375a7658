// The frame of an ELF file: its header and its section table, in either width and byte order.
// Source: the System V application binary interface, chapters 4 and 5.
#ifndef KIV_INSPECT_ELF_IMAGE_H
#define KIV_INSPECT_ELF_IMAGE_H

#include "examples/kiv_inspect/byte_view.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

struct ElfSection {
  uint32_t type;
  uint32_t link;  // the index of a related section
  uint64_t offset;
  uint64_t size;
  uint64_t entry_size;
};

class ElfImage {
 public:
  static bool recognises(ByteView file);

  /// REQUIRES: recognises(file).
  Status open(ByteView file);

  bool has_64_bits() const { return has_64_bits_; }
  uint32_t section_count() const { return section_count_; }

  /// REQUIRES: index < section_count().
  ElfSection section(uint32_t index) const;
  Status contents(const ElfSection &section, ByteView *bytes) const;

 private:
  ByteView file_;
  ByteView section_table_;
  bool has_64_bits_ = false;
  uint32_t section_count_ = 0;
  uint32_t section_stride_ = 0;
};

}  // namespace kiv::inspect

#endif
