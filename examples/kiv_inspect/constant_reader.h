// Reads the constants out of a program's debug information.
//
// Whatever the bytes are, the reader stays inside them, needs time O(n log n) and memory O(n) for a file of n bytes,
// and tells damage by its status; the table then has the constants found so far.
#ifndef KIV_INSPECT_CONSTANT_READER_H
#define KIV_INSPECT_CONSTANT_READER_H

#include "examples/kiv_inspect/constant_table.h"
#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

/// Enumerators, constants, and variables and members with a constant value, of DWARF versions 2 to 5 in an ELF or PE
/// file. Names have those of the namespaces, types and enumerations around them, or around the declarations that they
/// complete: "namespace::type::name". Text and bytes of values stay in the file. The table is open.
Status read_constants(FileView file, ConstantTable &table);

}  // namespace kiv::inspect

#endif
