#include "examples/kiv_inspect/program.h"

#include "examples/kiv_inspect/constant_reader.h"
#include "examples/kiv_inspect/program_format.h"
#include "examples/kiv_inspect/symbol_readers.h"
#include "examples/kiv_inspect/type_reader.h"

namespace kiv::inspect {

Status read_symbols(FileView file, SymbolTable &table) {
  ProgramFormat format;
  const Status status = recognise(table.errors(), file, &format);
  if (!status.ok()) return status;
  return format == ProgramFormat::elf ? read_elf_symbols(file, table) : read_pe_symbols(file, table);
}

Program::Program(const Errors &errors, KIV_ALLOCATOR *parent, Reading reading)
    : errors_(errors),
      parent_(parent),
      pool_(parent),
      reading_(reading),
      file_(errors),
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

/// What came of a part. To its reader, bytes that could not be read are bytes that are not there.
Status Program::loaded(Status status, const Message &failure) {
  if (!file_.status().ok()) status = file_.status();
  if (!status.ok()) has_failed_ = true;
  return errors_.add(status, failure);
}

Status Program::load(const char *path) {
  if (has(kFile)) return {};
  const Status status = pool_.ok() ? file_.open(path, pool_.memory(), reading_) : errors_.out_of_memory();
  if (!status.ok()) has_failed_ = true;
  return status;
}

Status Program::load_symbols() {
  if (has(kSymbols)) return {};
  Status status = symbols_.open(pool_.pool());
  if (status.ok()) status = read_symbols(file_.view(), symbols_);
  return loaded(status, "its symbols cannot be read[|]");
}

Status Program::load_sections() {
  if (has(kSections)) return {};
  return loaded(sections_.open(file_.view(), pool_.pool()), "its sections cannot be read[|]");
}

Status Program::load_extents() {
  const Status status = load_sections();
  if (status.ok() && !has(kExtents)) symbols_.estimate_sizes(sections_);
  return status;
}

Status Program::load_constants() {
  if (has(kConstants)) return {};
  Status status = constants_.open(pool_.pool(), parent_);
  if (status.ok()) status = read_constants(file_.view(), constants_);
  return loaded(status, "its constants cannot be read[|]");
}

Status Program::load_types() {
  if (has(kTypes)) return {};
  Status status = types_.open(pool_.pool());
  if (status.ok()) status = read_types(file_.view(), types_);
  return loaded(status, "its types cannot be read[|]");
}

Status Program::load_memory() {
  if (has(kMemory)) return {};
  return loaded(memory_map_.open(file_.view(), pool_.pool()), "its memory cannot be laid out[|]");
}

}  // namespace kiv::inspect
