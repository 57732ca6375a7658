// A program under inspection: its bytes, and what is read out of them.
#ifndef KIV_INSPECT_PROGRAM_H
#define KIV_INSPECT_PROGRAM_H

#include <optional>

#include "examples/kiv_inspect/constant_table.h"
#include "examples/kiv_inspect/file_bytes.h"
#include "examples/kiv_inspect/memory_map.h"
#include "examples/kiv_inspect/memory_pool.h"
#include "examples/kiv_inspect/section_table.h"
#include "examples/kiv_inspect/status.h"
#include "examples/kiv_inspect/symbol_table.h"
#include "examples/kiv_inspect/type_table.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// Reads the symbols of a program of any known format into an open table. After a failure it has those found so far.
Status read_symbols(FileView file, SymbolTable &table);

/// All memory comes from a pool, so that one call gives everything back. The objects among the constants are deleted
/// one by one, and come from the parent.
class Program {
 public:
  /// REQUIRES: errors and parent outlive the program.
  Program(const Errors &errors, KIV_ALLOCATOR *parent, Reading reading = Reading::on_demand);
  Program(const Program &) = delete;
  Program &operator=(const Program &) = delete;

  /// Opens the file, before any of the following. Each part is read once; further calls find it there, or its failure,
  /// whose record stays the program's: it takes no further entries.
  Status load(const char *path);

  Status load_symbols();
  Status load_sections();
  /// The sections, and sizes of the symbols that have none. After load_symbols.
  Status load_extents();
  /// Those that take no memory, too.
  Status load_all_sections();
  Status load_constants();
  Status load_types();
  Status load_memory();

  const SymbolTable &symbols() const { return symbols_; }
  const SectionTable &sections() const { return sections_; }
  const SectionTable &all_sections() const { return all_sections_; }
  const ConstantTable &constants() const { return constants_; }
  const TypeTable &types() const { return types_; }
  const MemoryMap &memory() const { return memory_map_; }

 private:
  enum Part { kFile, kSymbols, kSections, kExtents, kAllSections, kConstants, kTypes, kMemory, kParts };
  template <class Read>
  Status once(Part part, const Message &failure, Read read);

  const Errors &errors_;
  KIV_ALLOCATOR *parent_;
  MemoryPool pool_;
  std::optional<Status> parts_[kParts];  // what reading them came to
  const Reading reading_;
  FileBytes file_;
  SymbolTable symbols_;
  SectionTable sections_, all_sections_;
  ConstantTable constants_;
  TypeTable types_;
  MemoryMap memory_map_;
};

}  // namespace kiv::inspect

#endif
