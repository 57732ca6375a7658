// The frame of an ELF file: its header and its section table, in either width and byte order.
// Source: the System V application binary interface, chapters 4 and 5.
#ifndef KIV_INSPECT_ELF_IMAGE_H
#define KIV_INSPECT_ELF_IMAGE_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/machine.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

struct ElfSection {
  uint32_t name;  // an offset in section_names()
  uint32_t type;
  uint64_t flags;
  uint64_t address;
  uint32_t link;  // the index of a related section
  uint64_t offset;
  uint64_t size;
  uint64_t entry_size;

  enum : uint32_t { kUnused = 0, kNoBits = 8 };  // types: no section, no bytes in the file
  enum : uint64_t {
    kWritable = 1,
    kAllocated = 2,
    kExecutable = 4,
    kThreadLocal = 0x400,
    kCompressed = 0x800
  };  // flags
  bool has(uint64_t flag) const { return (flags & flag) != 0; }
};

/// A part of the file as it is loaded.
struct ElfSegment {
  enum : uint32_t { kLoad = 1 };
  uint32_t type;
  uint64_t offset;
  uint64_t address;
  uint64_t file_size;
  uint64_t memory_size;
};

class ElfImage {
 public:
  /// REQUIRES: the errors outlive this.
  explicit ElfImage(const Errors &errors) : errors_(errors) {}

  static bool recognises(FileView file);

  /// REQUIRES: recognises(file).
  Status open(FileView file);

  bool has_64_bits() const { return has_64_bits_; }
  int address_digits() const { return has_64_bits_ ? 16 : 8; }  // hexadecimal ones
  ByteOrder order() const { return file_.order(); }
  uint32_t section_count() const { return section_count_; }

  /// REQUIRES: index < section_count().
  ElfSection section(uint32_t index) const;
  Status contents(const ElfSection &section, ByteView *bytes) const;

  /// The names of sections, which end with a zero; empty when there are none.
  Status section_names(ByteView *names) const;

  /// The table of segments, of which segment() reads those below count.
  Status segments(ByteView *table, uint32_t *count) const;
  ElfSegment segment(ByteView table, uint32_t index) const;

  /// Whether addresses and references are final: those of an object file are not.
  bool is_linked() const { return type_ != 1; }

  /// What the program is for.
  Machine machine() const { return elf_machine(machine_, has_64_bits_); }

  /// Whether the program is for x86 of either width.
  bool is_x86() const { return machine() == Machine::x86 || machine() == Machine::x86_64; }

  /// Whether the program is for PowerPC of either width.
  bool is_powerpc() const { return machine() == Machine::powerpc || machine() == Machine::powerpc64; }

 private:
  const Errors &errors_;
  FileView file_;
  ByteView section_table_;
  bool has_64_bits_ = false;
  uint16_t type_ = 0;
  uint16_t machine_ = 0;
  uint32_t section_count_ = 0;
  uint32_t section_stride_ = 0;
};

}  // namespace kiv::inspect

#endif
