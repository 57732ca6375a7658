// A program under inspection: its bytes, and what is read out of them.
#ifndef KIV_INSPECT_PROGRAM_H
#define KIV_INSPECT_PROGRAM_H

#include "examples/kiv_inspect/byte_view.h"
#include "examples/kiv_inspect/constant_table.h"
#include "examples/kiv_inspect/memory_map.h"
#include "examples/kiv_inspect/section_table.h"
#include "examples/kiv_inspect/status.h"
#include "examples/kiv_inspect/symbol_table.h"
#include "examples/kiv_inspect/type_table.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// Reads the symbols of a program of any known format into an open table.
Status read_symbols(ByteView file, SymbolTable &table);

/// All memory comes from a wrapping allocator, so that one call gives everything back; small blocks from a pool on it.
/// The objects among the constants are deleted one by one, and come from the parent.
class Program {
 public:
  /// REQUIRES: errors and parent outlive the program.
  Program(const Errors &errors, KIV_ALLOCATOR *parent);
  ~Program();
  Program(const Program &) = delete;
  Program &operator=(const Program &) = delete;

  /// Reads the file. To be called once, before one or more of the following, each of which is called once.
  Status load(const char *path);

  Status load_symbols();
  /// The sections, and sizes of the symbols that have none. After load_symbols.
  Status load_extents();
  Status load_constants();
  Status load_types();
  Status load_memory();

  const SymbolTable &symbols() const { return symbols_; }
  const SectionTable &sections() const { return sections_; }
  const ConstantTable &constants() const { return constants_; }
  TypeTable &types() { return types_; }
  const MemoryMap &memory() const { return memory_map_; }

  /// Memory that lasts as long as the program. After load.
  KIV_ALLOCATOR *pool() { return &pool_; }

 private:
  const Errors &errors_;
  KIV_ALLOCATOR *parent_;
  KIV_ALLOCATOR storage_ = {}, pool_ = {};
  KIV_ALLOCATOR *memory_;  // null when it could not be made
  ByteView file_;
  SymbolTable symbols_;
  SectionTable sections_;
  ConstantTable constants_;
  TypeTable types_;
  MemoryMap memory_map_;
};

}  // namespace kiv::inspect

#endif
