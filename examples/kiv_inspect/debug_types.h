// Types of values in debug information. Source: DWARF 5, sections 5.1 to 5.3, 7.8.
#ifndef KIV_INSPECT_DEBUG_TYPES_H
#define KIV_INSPECT_DEBUG_TYPES_H

#include "examples/kiv_inspect/constant_value.h"
#include "examples/kiv_inspect/debug_info.h"

namespace kiv::inspect {

/// The type that an entry's DW_AT_type stands for, through typedefs and qualifiers. Types in other files are unknown.
Status read_value_type(DebugInfo &info, const Unit &unit, const FormValue &reference, ValueType *type);

/// The type of the enumerators of an enumeration: its underlying type, or what it says about itself.
Status read_enumeration_type(DebugInfo &info, const Unit &unit, const Entry &enumeration, ValueType *type);

/// An entry's name and type, which may stand in the entries that it completes, and the name in the type unit that
/// completes it. Empty and absent when there are none.
struct Declaration {
  std::string_view name;
  const Unit *type_unit = nullptr;  // of the type
  FormValue type;
};
Status read_declaration(DebugInfo &info, const Unit &unit, const Entry &entry, Declaration *declaration);

}  // namespace kiv::inspect

#endif
