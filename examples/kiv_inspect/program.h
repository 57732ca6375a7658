// A program under inspection: its bytes, and what is read out of them.
#ifndef KIV_INSPECT_PROGRAM_H
#define KIV_INSPECT_PROGRAM_H

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

/// Reads the symbols of a program of any known format into an open table.
Status read_symbols(FileView file, SymbolTable &table);

/// All memory comes from a pool, so that one call gives everything back. The objects among the constants are deleted
/// one by one, and come from the parent.
class Program {
 public:
  /// REQUIRES: errors and parent outlive the program.
  Program(const Errors &errors, KIV_ALLOCATOR *parent, Reading reading = Reading::on_demand);
  Program(const Program &) = delete;
  Program &operator=(const Program &) = delete;

  /// Opens the file, before any of the following. Each part is read once; further calls find it there. After a failure
  /// the program is of no further use.
  Status load(const char *path);

  Status load_symbols();
  Status load_sections();
  /// The sections, and sizes of the symbols that have none. After load_symbols.
  Status load_extents();
  Status load_constants();
  Status load_types();
  Status load_memory();

  /// Whether a part could not be read.
  bool has_failed() const { return has_failed_; }

  const SymbolTable &symbols() const { return symbols_; }
  const SectionTable &sections() const { return sections_; }
  const ConstantTable &constants() const { return constants_; }
  TypeTable &types() { return types_; }
  const MemoryMap &memory() const { return memory_map_; }

 private:
  enum Part : unsigned {
    kFile = 1,
    kSymbols = 2,
    kExtents = 4,
    kConstants = 8,
    kTypes = 16,
    kMemory = 32,
    kSections = 64
  };
  bool has(Part part);
  Status loaded(Status status, const Message &failure);

  const Errors &errors_;
  KIV_ALLOCATOR *parent_;
  MemoryPool pool_;
  unsigned parts_ = 0;
  bool has_failed_ = false;
  const Reading reading_;
  FileBytes file_;
  SymbolTable symbols_;
  SectionTable sections_;
  ConstantTable constants_;
  TypeTable types_;
  MemoryMap memory_map_;
};

}  // namespace kiv::inspect

#endif
