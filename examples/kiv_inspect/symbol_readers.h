// The readers of a program's symbols. Each adds what it finds to an open table, whose names stay in the file's bytes.
//
// Whatever the bytes are, a reader stays inside them, needs time O(n log n) and memory O(n) for a file of n bytes, and
// tells damage by its status; the table then has the symbols found so far.
#ifndef KIV_INSPECT_SYMBOL_READERS_H
#define KIV_INSPECT_SYMBOL_READERS_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"
#include "examples/kiv_inspect/symbol_table.h"

namespace kiv::inspect {

/// Defined functions, objects and untyped symbols of .symtab and .dynsym. REQUIRES: ElfImage::recognises(file).
Status read_elf_symbols(FileView file, SymbolTable &table);

/// Defined external and static symbols of the COFF symbol table, and the export table's names but for forwarders.
/// REQUIRES: PeImage::recognises(file).
Status read_pe_symbols(FileView file, SymbolTable &table);

}  // namespace kiv::inspect

#endif
