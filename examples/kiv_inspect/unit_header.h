// The headers of units of debug information. Source: DWARF 5, section 7.5.1; for versions 2 to 4 their own.
#ifndef KIV_INSPECT_UNIT_HEADER_H
#define KIV_INSPECT_UNIT_HEADER_H

#include "examples/kiv_inspect/dwarf_forms.h"

namespace kiv::inspect {

inline constexpr char kSplitDebugInfo[] = "its debug information is split: the entries are in .dwo files[|]";

/// Offsets count from the section's start but for type_offset.
struct UnitHeader {
  uint32_t first;  // the first entry
  uint32_t end;
  UnitFormat format;
  uint64_t abbreviations;
  bool has_type;  // a type unit, with the two that follow
  uint64_t signature;
  uint64_t type_offset;  // from the unit's start
};

/// Reads the header at an offset of .debug_info, or of the .debug_types that version 4 had.
Status read_unit_header(const Errors &errors, ByteView section, uint32_t offset, bool is_in_types, UnitHeader *header);

}  // namespace kiv::inspect

#endif
