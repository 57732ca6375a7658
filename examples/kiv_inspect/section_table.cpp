#include "examples/kiv_inspect/section_table.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/elf_image.h"
#include "examples/kiv_inspect/pe_image.h"
#include "examples/kiv_inspect/pool.h"
#include "examples/kiv_inspect/program_format.h"
#include "examples/kiv_inspect/section_kind.h"
#include "examples/kiv_inspect/symbol_names.h"

namespace kiv::inspect {
namespace {

int by_address(const void *key, const void *value) {
  const auto &a = *static_cast<const Section *>(key), &b = *static_cast<const Section *>(value);
  if (a.takes_memory != b.takes_memory) return a.takes_memory ? -1 : 1;
  const int address = a.takes_memory ? compare(a.addresses.first, b.addresses.first) : 0;
  return address != 0 ? address : compare(a.number, b.number);
}

/// Thread-local variables without bytes in the file take addresses in no program, only in its threads.
bool takes_memory(const ElfSection &section) {
  return section.has(ElfSection::kAllocated) && section.size != 0 &&
         !(section.type == ElfSection::kNoBits && section.has(ElfSection::kThreadLocal));
}

}  // namespace

Status SectionTable::open(FileView file, KIV_ALLOCATOR *pool) {
  sections_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_address, nullptr, nullptr);
  if (sections_ == nullptr) return errors_.out_of_memory();
  ProgramFormat format;
  const Status status = recognise(errors_, file, &format);
  if (!status.ok()) return status;
  return format == ProgramFormat::elf ? read_elf(file, pool) : read_pe(file, pool);
}

Status SectionTable::add(const Section &section, KIV_ALLOCATOR *pool) {
  Section *added = place(pool, section);
  return added != nullptr && kiv_avl_insert(sections_, added) == 0 ? Status{} : errors_.out_of_memory();
}

Status SectionTable::read_elf(FileView file, KIV_ALLOCATOR *pool) {
  ElfImage image(errors_);
  Status status = image.open(file);
  is_linked_ = image.is_linked();
  address_digits_ = image.address_digits();
  if (!status.ok() || (!is_linked_ && which_ != Which::all)) return status;
  ByteView strings;
  status = image.section_names(&strings);
  SymbolNames names(errors_, file.size());
  for (uint32_t i = 0; status.ok() && i < image.section_count(); ++i) {
    const ElfSection section = image.section(i);
    Section added = {address_range(section.address, section.size, address_digits_), i, {}};
    added.takes_memory = is_linked_ && takes_memory(section);
    if (!is_wanted(added) || section.type == ElfSection::kUnused) continue;
    added.size = section.size;
    added.type = section.type;
    added.kind = elf_section_kind(section.type);
    added.is_executable = section.has(ElfSection::kExecutable);
    added.is_writable = section.has(ElfSection::kWritable);
    if (strings.size() != 0) status = names.read(strings, section.name, &added.name);
    if (status.ok()) status = add(added, pool);
  }
  return status;
}

Status SectionTable::read_pe(FileView file, KIV_ALLOCATOR *pool) {
  PeImage image(errors_);
  Status status = image.open(file, pool);
  address_digits_ = image.address_digits();
  SymbolNames names(errors_, file.size());
  for (uint32_t i = 1; status.ok() && i <= image.section_count(); ++i) {
    const PeSection &section = *image.section_by_number(i);
    // What the file has beyond the size in memory is padding.
    const uint32_t size = section.memory_size != 0 ? section.memory_size : section.file_size;
    Section added = {address_range(image.address_of(section.address), size, address_digits_), i, {}};
    added.takes_memory = size != 0;
    if (!is_wanted(added)) continue;
    added.size = size;
    added.type = section.characteristics;
    added.kind = pe_section_kind(section.characteristics);
    added.is_executable = section.executable;
    added.is_writable = section.writable;
    ByteView name;
    status = image.name(section, &name);
    if (status.ok()) status = names.read_field(name, &added.name);
    if (status.ok()) status = add(added, pool);
  }
  return status;
}

const Section *SectionTable::around(uint64_t address) const {
  const Section key = {{address, address}, UINT32_MAX, {}};
  const auto *section = static_cast<const Section *>(kiv_avl_find_largest_less_or_equal(sections_, &key));
  return section != nullptr && address <= section->addresses.last ? section : nullptr;
}

void SectionTable::walk(KIV_AVL_WALK function, void *context) const {
  (void)kiv_avl_conditional_sequential_walk(sections_, function, context);
}

}  // namespace kiv::inspect
