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
      constants_(errors),
      types_(errors),
      memory_map_(errors) {}

/// Whether a part is there; from now on it is, or has failed.
bool Program::has(Part part) {
  const bool was_there = (parts_ & part) != 0;
  parts_ |= part;
  return was_there;
}

Status Program::loaded(Status status) {
  if (!status.ok()) has_failed_ = true;
  return status;
}

Status Program::load(const char *path) {
  if (has(kFile)) return {};
  return loaded(pool_.ok() ? read_file(errors_, path, pool_.memory(), &file_) : errors_.out_of_memory());
}

Status Program::load_symbols() {
  if (has(kSymbols)) return {};
  Status status = symbols_.open(pool_.pool());
  if (status.ok()) status = errors_.add(read_symbols(file_, symbols_), "its symbols cannot be read[|]");
  return loaded(status);
}

Status Program::load_extents() {
  if (has(kExtents)) return {};
  const Status status = sections_.open(file_, pool_.pool());
  if (status.ok()) symbols_.estimate_sizes(sections_);
  return loaded(errors_.add(status, "its sections cannot be read[|]"));
}

Status Program::load_constants() {
  if (has(kConstants)) return {};
  Status status = constants_.open(pool_.pool(), parent_);
  if (status.ok()) status = errors_.add(read_constants(file_, constants_), "its constants cannot be read[|]");
  return loaded(status);
}

Status Program::load_types() {
  if (has(kTypes)) return {};
  Status status = types_.open(pool_.pool());
  if (status.ok()) status = errors_.add(read_types(file_, types_), "its types cannot be read[|]");
  return loaded(status);
}

Status Program::load_memory() {
  if (has(kMemory)) return {};
  return loaded(errors_.add(memory_map_.open(file_, pool_.pool()), "its memory cannot be laid out[|]"));
}

}  // namespace kiv::inspect
