// The forms in which DWARF stores the values of attributes.
// Source: DWARF 5, sections 7.5.5 and 7.5.6; for versions 2 to 4 their own section 7.5.4.
#ifndef KIV_INSPECT_DWARF_FORMS_H
#define KIV_INSPECT_DWARF_FORMS_H

#include <optional>

#include "examples/kiv_inspect/byte_reader.h"
#include "examples/kiv_inspect/status.h"

namespace kiv::inspect {

/// What a unit's header says about its forms.
struct UnitFormat {
  uint16_t version;      // 2 to 5
  uint8_t address_size;  // 1 to 8
  uint8_t offset_size;   // 4 or 8: the two formats of DWARF
};

/// How a value is stored. 1 to 16 are numbers of so many bytes.
enum class Shape : uint8_t {
  unknown = 0,
  number16 = 16,
  nothing = 32,
  address,
  offset,
  info_offset,  // an offset, but in version 2 as wide as an address
  unsigned_leb,
  signed_leb,
  text,
  block1,
  block2,
  block4,
  block,
  implicit,  // in the abbreviation
  indirect,  // behind its form
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

struct Form {
  Shape shape;
  ValueClass value_class;
};

/// A form by its code; an unknown shape for an unknown one.
Form form_of(uint64_t code);

/// How many bytes the values of a shape take; none when they tell by themselves.
std::optional<uint32_t> size_of(Shape shape, UnitFormat format);

/// Reads one value. An implicit constant, whose value is in the abbreviation, is that; null for all others. The
/// reader's ok() tells whether the bytes were there; the status is for forms that are unknown.
Status read_form(const Errors &errors, ByteReader &reader, Form form, const KIV_U128 *implicit, UnitFormat format,
                 FormValue *value);

/// Leaves one value out, as read_form() would.
Status skip_form(const Errors &errors, ByteReader &reader, Shape shape, UnitFormat format);

}  // namespace kiv::inspect

#endif
