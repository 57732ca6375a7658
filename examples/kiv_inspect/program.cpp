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
  const Status read = format == ProgramFormat::elf ? read_elf_symbols(file, table) : read_pe_symbols(file, table);
  table.sort();
  return read;
}

Program::Program(const Errors &errors, KIV_ALLOCATOR *parent, Reading reading)
    : errors_(errors),
      parent_(parent),
      pool_(parent),
      reading_(reading),
      file_(errors),
      symbols_(errors),
      sections_(errors),
      all_sections_(errors, SectionTable::Which::all),
      constants_(errors),
      types_(errors),
      memory_map_(errors) {}

template <class Read>
Status Program::once(Part part, const Message &failure, Read read) {
  if (!parts_[part]) {
    Status status = read();
    // To a reader, bytes that could not be read are bytes that are not there.
    if (!file_.status().ok()) status = errors_.copy(file_.status());
    parts_[part] = errors_.add(status, failure);
  }
  return *parts_[part];
}

Status Program::load(const char *path) {
  auto &file = parts_[kFile];
  if (!file) file = pool_.ok() ? file_.open(path, pool_.memory(), reading_) : errors_.out_of_memory();
  return *file;
}

Status Program::load_symbols() {
  return once(kSymbols, "its symbols cannot be read[|]", [&] {
    const Status status = symbols_.open(pool_.pool());
    return status.ok() ? read_symbols(file_.view(), symbols_) : status;
  });
}

Status Program::load_sections() {
  return once(kSections, "its sections cannot be read[|]", [&] { return sections_.open(file_.view(), pool_.pool()); });
}

Status Program::load_extents() {
  const Status status = load_sections();
  if (!status.ok()) return status;
  return once(kExtents, "the sizes of its symbols cannot be estimated[|]", [&] {
    symbols_.estimate_sizes(sections_);
    return Status{};
  });
}

Status Program::load_all_sections() {
  return once(kAllSections, "its sections cannot be read[|]",
              [&] { return all_sections_.open(file_.view(), pool_.pool()); });
}

Status Program::load_constants() {
  return once(kConstants, "its constants cannot be read[|]", [&] {
    const Status status = constants_.open(pool_.pool(), parent_);
    return status.ok() ? read_constants(file_.view(), constants_) : status;
  });
}

Status Program::load_types() {
  return once(kTypes, "its types cannot be read[|]", [&] {
    const Status status = types_.open(pool_.pool());
    return status.ok() ? read_types(file_.view(), types_) : status;
  });
}

Status Program::load_memory() {
  return once(kMemory, "its memory cannot be laid out[|]",
              [&] { return memory_map_.open(file_.view(), pool_.pool()); });
}

}  // namespace kiv::inspect
