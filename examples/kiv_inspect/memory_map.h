// The memory of a program as it is loaded: target bytes by address.
//
// Representation. The loaded regions in a tree by address. Regions do not overlap; in a damaged file that has such, a
// region ends where the next one starts, and of several that start at one address the first counts.
// Cost. O(log n) for each region that a range of addresses goes through.
#ifndef KIV_INSPECT_MEMORY_MAP_H
#define KIV_INSPECT_MEMORY_MAP_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/machine.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

/// Addresses from `address` on. What is behind the bytes of the file is zero.
struct MemoryRegion {
  uint64_t address;
  uint64_t size;
  ByteView bytes;
};

class MemoryMap {
 public:
  /// REQUIRES: the errors outlive this.
  explicit MemoryMap(const Errors &errors) : errors_(errors) {}

  /// Reads the regions of a program of any known format: the segments of an ELF file, or its sections when it has no
  /// segments; the headers and sections of a PE file. An object file is refused. The map's memory comes from the pool
  /// and is not given back.
  Status open(FileView file, KIV_ALLOCATOR *pool);

  /// Whether all of these addresses are in the program.
  bool contains(uint64_t address, uint64_t count) const;

  /// REQUIRES: contains(address, count).
  void read(uint64_t address, uint32_t count, uint8_t *bytes) const;

  /// Of the program.
  ByteOrder order() const { return order_; }
  int address_digits() const { return address_digits_; }
  Machine machine() const { return machine_; }

 private:
  Status add(const MemoryRegion &region, KIV_ALLOCATOR *pool);
  Status read_elf(FileView file, KIV_ALLOCATOR *pool);
  Status read_pe(FileView file, KIV_ALLOCATOR *pool);
  const MemoryRegion *region_at(uint64_t address) const;
  uint64_t size_from(const MemoryRegion &region, uint64_t address) const;

  const Errors &errors_;
  KIV_AVL_TREE *regions_ = nullptr;
  ByteOrder order_ = ByteOrder::little;
  int address_digits_ = 16;
  Machine machine_ = Machine::unknown;
};

}  // namespace kiv::inspect

#endif
