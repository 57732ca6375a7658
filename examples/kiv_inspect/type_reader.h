// Reads the types out of a program's debug information.
//
// Whatever the bytes are, the reader stays inside them, needs time O(n log n) and memory O(n) for a file of n bytes,
// and tells damage by its status; the table then has the types found so far.
#ifndef KIV_INSPECT_TYPE_READER_H
#define KIV_INSPECT_TYPE_READER_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"
#include "examples/kiv_inspect/type_table.h"

namespace kiv::inspect {

/// Namespaces, types that have a name of their own, and enumerators, of DWARF versions 2 to 5 in an ELF or PE file.
/// Types are in the scopes around them, or around the declarations that they complete; those in a function are in the
/// scope around it. Enumerations and namespaces without a name are there; what is in other types without one is in the
/// scope around these. The table is open.
Status read_types(FileView file, TypeTable &table);

}  // namespace kiv::inspect

#endif
