#include "examples/kiv_inspect/memory_map.h"

#include <algorithm>

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/elf_image.h"
#include "examples/kiv_inspect/pe_image.h"
#include "examples/kiv_inspect/pool.h"
#include "examples/kiv_inspect/program_format.h"

namespace kiv::inspect {

Status MemoryMap::open(FileView file, KIV_ALLOCATOR *pool) {
  regions_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_field<&MemoryRegion::address>, nullptr, nullptr);
  if (regions_ == nullptr) return errors_.out_of_memory();
  ProgramFormat format;
  const Status status = recognise(errors_, file, &format);
  if (!status.ok()) return status;
  return format == ProgramFormat::elf ? read_elf(file, pool) : read_pe(file, pool);
}

Status MemoryMap::add(const MemoryRegion &region, KIV_ALLOCATOR *pool) {
  if (region.size == 0) return {};
  MemoryRegion *added = place(pool, region);
  return added != nullptr && kiv_avl_insert(regions_, added) == 0 ? Status{} : errors_.out_of_memory();
}

Status MemoryMap::read_elf(FileView file, KIV_ALLOCATOR *pool) {
  ElfImage image(errors_);
  Status status = image.open(file);
  order_ = image.order();
  address_digits_ = image.address_digits();
  machine_ = image.machine();
  ByteView table;
  uint32_t count = 0;
  if (status.ok()) status = image.segments(&table, &count);
  for (uint32_t i = 0; status.ok() && i < count; ++i) {
    const ElfSegment segment = image.segment(table, i);
    if (segment.type != ElfSegment::kLoad) continue;
    const auto bytes = file.part(segment.offset, std::min(segment.file_size, segment.memory_size));
    if (!bytes) return errors_.failure("a segment lies outside the file[|]");
    status = add({segment.address, segment.memory_size, *bytes}, pool);
  }
  if (!status.ok() || count != 0) return status;
  if (!image.is_linked()) return errors_.failure(kNotLinked);
  for (uint32_t i = 0; status.ok() && i < image.section_count(); ++i) {
    const ElfSection section = image.section(i);
    if (!section.has(ElfSection::kAllocated)) continue;
    ByteView bytes;
    if (section.type != ElfSection::kNoBits) status = image.contents(section, &bytes);
    if (status.ok()) status = add({section.address, section.size, bytes}, pool);
  }
  return status;
}

Status MemoryMap::read_pe(FileView file, KIV_ALLOCATOR *pool) {
  PeImage image(errors_);
  Status status = image.open(file, pool);
  address_digits_ = image.address_digits();
  machine_ = image.machine();
  if (!status.ok()) return status;
  const auto headers = file.part(0, image.headers_size());
  if (!headers) return errors_.failure("its PE header is cut off[|]");
  status = add({image.address_of(0), headers->size(), *headers}, pool);
  for (uint32_t i = 1; status.ok() && i <= image.section_count(); ++i) {
    const PeSection &section = *image.section_by_number(i);
    ByteView bytes;
    status = image.file_bytes(section, &bytes);
    if (status.ok()) status = add({image.address_of(section.address), section.size, bytes}, pool);
  }
  return status;
}

const MemoryRegion *MemoryMap::region_at(uint64_t address) const {
  const MemoryRegion key = {address, 0, {}};
  const auto *region = static_cast<const MemoryRegion *>(kiv_avl_find_largest_less_or_equal(regions_, &key));
  return region != nullptr && address - region->address < region->size ? region : nullptr;
}

/// Of a region, from an address in it up to its end.
uint64_t MemoryMap::size_from(const MemoryRegion &region, uint64_t address) const {
  const uint64_t left = region.size - (address - region.address);
  const auto *next = static_cast<const MemoryRegion *>(kiv_avl_find_least_greater(regions_, &region));
  return next != nullptr ? std::min(left, next->address - address) : left;
}

bool MemoryMap::contains(uint64_t address, uint64_t count) const {
  while (count > 0) {
    const MemoryRegion *region = region_at(address);
    if (region == nullptr) return false;
    const uint64_t left = size_from(*region, address);
    if (count <= left) return count - 1 <= UINT64_MAX - address;
    if (left > UINT64_MAX - address) return false;  // the addresses wrap
    address += left;
    count -= left;
  }
  return true;
}

void MemoryMap::read(uint64_t address, uint32_t count, uint8_t *bytes) const {
  std::fill_n(bytes, count, uint8_t{0});
  while (count > 0) {
    const MemoryRegion *region = region_at(address);
    if (region == nullptr) return;
    const uint64_t offset = address - region->address;
    const auto here = static_cast<uint32_t>(std::min<uint64_t>(count, size_from(*region, address)));
    const auto rest = region->bytes.rest(offset);
    if (rest) std::copy_n(rest->data(), std::min(here, rest->size()), bytes);
    address += here;
    bytes += here;
    count -= here;
  }
}

}  // namespace kiv::inspect
