// The sections of a program's debug information.
#ifndef KIV_INSPECT_DEBUG_SECTIONS_H
#define KIV_INSPECT_DEBUG_SECTIONS_H

#include "examples/kiv_inspect/file_view.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"

namespace kiv::inspect {

/// Those that are absent are empty.
struct DebugSections {
  ByteView info, types, abbreviations, strings, line_strings, string_offsets;
  bool x87 = false;           // long double is the extended format of x86
  bool double_pairs = false;  // long double is a pair of doubles
};

/// Finds them in a program of any known format. A program without debug information, or with one that is compressed,
/// split or not linked yet, is refused. Memory comes from scratch and is not given back.
Status find_debug_sections(const Errors &errors, FileView file, KIV_ALLOCATOR *scratch, DebugSections *sections);

}  // namespace kiv::inspect

#endif
