// A program's sections by address: the parts of its address space that have names.
//
// Representation. Records in a tree by their first address, then by number. Sections should not overlap, but those of a
// damaged file may.
// Cost. O(log n) compares for each section that is added or searched.
#ifndef KIV_INSPECT_SECTION_TABLE_H
#define KIV_INSPECT_SECTION_TABLE_H

#include <string_view>

#include "examples/kiv_inspect/address_range.h"
#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

struct Section {
  AddressRange addresses;  // when it takes memory in the running program
  uint32_t number;         // in the file
  std::string_view name;   // in the file's bytes
  bool takes_memory = true;
  bool is_executable = false;
  bool is_writable = false;
  uint64_t size = 0;           // bytes in memory, or in the file
  uint32_t type = 0;           // what the format says of it
  const char *kind = nullptr;  // the name of that, if it has one
};

class SectionTable {
 public:
  enum class Which { in_memory, all };

  /// REQUIRES: the errors outlive this.
  explicit SectionTable(const Errors &errors, Which which = Which::in_memory) : errors_(errors), which_(which) {}

  /// Reads the sections of a program of any known format that take memory, or all. Those of object files do not: they
  /// have no addresses yet. Memory comes from the pool and is not given back.
  Status open(FileView file, KIV_ALLOCATOR *pool);

  /// Whether addresses are final, unlike those of an object file.
  bool is_linked() const { return is_linked_; }

  /// A section around an address, of several that one which starts last; or null.
  const Section *around(uint64_t address) const;

  /// Hexadecimal digits of the program's addresses: 8 or 16.
  int address_digits() const { return address_digits_; }

  /// Calls function(section, context) in the order of addresses until it gives 0. Sections that take no memory come
  /// last, as the file has them.
  void walk(KIV_AVL_WALK function, void *context) const;

 private:
  Status add(const Section &section, KIV_ALLOCATOR *pool);
  Status read_elf(FileView file, KIV_ALLOCATOR *pool);
  Status read_pe(FileView file, KIV_ALLOCATOR *pool);

  bool is_wanted(const Section &section) const { return which_ == Which::all || section.takes_memory; }

  const Errors &errors_;
  const Which which_;
  int address_digits_ = 16;
  KIV_AVL_TREE *sections_ = nullptr;
  bool is_linked_ = true;
};

}  // namespace kiv::inspect

#endif
