// The forms in which DWARF stores the values of attributes.
// Source: DWARF 5, sections 7.5.5 and 7.5.6; for versions 2 to 4 their own section 7.5.4.
#ifndef KIV_INSPECT_DWARF_FORMS_H
#define KIV_INSPECT_DWARF_FORMS_H

#include "examples/kiv_inspect/byte_reader.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

/// What a unit's header says about its forms.
struct UnitFormat {
  uint16_t version;      // 2 to 5
  uint8_t address_size;  // 1 to 8
  uint8_t offset_size;   // 4 or 8: the two formats of DWARF
};

/// What a value is, and which field has it.
enum class ValueClass : uint8_t {
  absent,             // the entry has no such attribute
  data,               // number, of `width` bytes, whose signedness only the type tells
  unsigned_number,    // number
  signed_number,      // number, in two's complement
  address,            // number
  block,              // bytes
  text,               // bytes
  text_offset,        // number, in .debug_str
  line_text_offset,   // number, in .debug_line_str
  text_index,         // number, in .debug_str_offsets
  foreign_text,       // in another file
  unit_reference,     // number, from the unit's start
  section_reference,  // number, from the start of .debug_info
  signature,          // number, of a type unit
  other,              // nothing that constants need: flags, lists, indices of addresses
};

struct FormValue {
  ValueClass value_class = ValueClass::absent;
  uint8_t width = 0;
  KIV_U128 number = {};
  ByteView bytes;

  explicit operator bool() const { return value_class != ValueClass::absent; }
};

/// Reads one value. An implicit constant, whose value is in the abbreviation, is that. The reader's ok() tells whether
/// the bytes were there; the status is for forms that are unknown.
Status read_form(const Errors &errors, ByteReader &reader, uint64_t form, const KIV_U128 &implicit, UnitFormat format,
                 FormValue *value);

}  // namespace kiv::inspect

#endif
