#include "examples/kiv_inspect/program.h"

#include "examples/kiv_inspect/constant_reader.h"
#include "examples/kiv_inspect/file_bytes.h"
#include "examples/kiv_inspect/program_format.h"
#include "examples/kiv_inspect/symbol_readers.h"
#include "examples/kiv_inspect/type_reader.h"

namespace kiv::inspect {

Status read_symbols(ByteView file, SymbolTable &table) {
  ProgramFormat format;
  const Status status = recognise(table.errors(), file, &format);
  if (!status.ok()) return status;
  return format == ProgramFormat::elf ? read_elf_symbols(file, table) : read_pe_symbols(file, table);
}

Program::Program(const Errors &errors, KIV_ALLOCATOR *parent)
    : errors_(errors),
      parent_(parent),
      pool_(parent),
      symbols_(errors),
      sections_(errors),
      all_sections_(errors, SectionTable::Which::all),
      constants_(errors),
      types_(errors),
      memory_map_(errors) {}

template <class Read>
Status Program::once(Part part, Read read) {
  if (!parts_[part]) parts_[part] = read();
  return *parts_[part];
}

Status Program::load(const char *path) {
  return once(kFile,
              [&] { return pool_.ok() ? read_file(errors_, path, pool_.memory(), &file_) : errors_.out_of_memory(); });
}

Status Program::load_symbols() {
  return once(kSymbols, [&] {
    const Status status = symbols_.open(pool_.pool());
    return status.ok() ? errors_.add(read_symbols(file_, symbols_), "its symbols cannot be read[|]") : status;
  });
}

Status Program::load_extents() {
  return once(kExtents, [&] {
    const Status status = sections_.open(file_, pool_.pool());
    if (status.ok()) symbols_.estimate_sizes(sections_);
    return errors_.add(status, "its sections cannot be read[|]");
  });
}

Status Program::load_all_sections() {
  return once(kAllSections,
              [&] { return errors_.add(all_sections_.open(file_, pool_.pool()), "its sections cannot be read[|]"); });
}

Status Program::load_constants() {
  return once(kConstants, [&] {
    const Status status = constants_.open(pool_.pool(), parent_);
    return status.ok() ? errors_.add(read_constants(file_, constants_), "its constants cannot be read[|]") : status;
  });
}

Status Program::load_types() {
  return once(kTypes, [&] {
    const Status status = types_.open(pool_.pool());
    return status.ok() ? errors_.add(read_types(file_, types_), "its types cannot be read[|]") : status;
  });
}

Status Program::load_memory() {
  return once(kMemory,
              [&] { return errors_.add(memory_map_.open(file_, pool_.pool()), "its memory cannot be laid out[|]"); });
}

}  // namespace kiv::inspect
