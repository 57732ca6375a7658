#include "examples/kiv_inspect/dwarf_forms.h"

#include <iterator>

#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {
namespace {

/// How a value is stored. 1 to 16 are numbers of so many bytes.
enum Shape : uint8_t {
  kUnknown = 0,
  kNothing = 32,
  kAddress,
  kOffset,
  kInfoOffset,  // an offset, but in version 2 as wide as an address
  kUnsigned,
  kSigned,
  kText,
  kBlock1,
  kBlock2,
  kBlock4,
  kBlock,
  kImplicit,
  kIndirect,  // the form itself stands before the value
};

struct FormRow {
  uint8_t shape;
  ValueClass value_class;
};

using enum ValueClass;

constexpr FormRow kForms[] = {
    {kUnknown, other},                 // 00
    {kAddress, address},               // 01 addr
    {kUnknown, other},                 // 02
    {kBlock2, block},                  // 03 block2
    {kBlock4, block},                  // 04 block4
    {2, data},                         // 05 data2
    {4, data},                         // 06 data4
    {8, data},                         // 07 data8
    {kText, text},                     // 08 string
    {kBlock, block},                   // 09 block
    {kBlock1, block},                  // 0a block1
    {1, data},                         // 0b data1
    {1, other},                        // 0c flag
    {kSigned, signed_number},          // 0d sdata
    {kOffset, text_offset},            // 0e strp
    {kUnsigned, unsigned_number},      // 0f udata
    {kInfoOffset, section_reference},  // 10 ref_addr
    {1, unit_reference},               // 11 ref1
    {2, unit_reference},               // 12 ref2
    {4, unit_reference},               // 13 ref4
    {8, unit_reference},               // 14 ref8
    {kUnsigned, unit_reference},       // 15 ref_udata
    {kIndirect, other},                // 16 indirect
    {kOffset, unsigned_number},        // 17 sec_offset
    {kBlock, block},                   // 18 exprloc
    {kNothing, other},                 // 19 flag_present
    {kUnsigned, text_index},           // 1a strx
    {kUnsigned, other},                // 1b addrx
    {4, other},                        // 1c ref_sup4
    {kOffset, foreign_text},           // 1d strp_sup
    {16, data},                        // 1e data16
    {kOffset, line_text_offset},       // 1f line_strp
    {8, signature},                    // 20 ref_sig8
    {kImplicit, signed_number},        // 21 implicit_const
    {kUnsigned, other},                // 22 loclistx
    {kUnsigned, other},                // 23 rnglistx
    {8, other},                        // 24 ref_sup8
    {1, text_index},                   // 25 strx1
    {2, text_index},                   // 26 strx2
    {3, text_index},                   // 27 strx3
    {4, text_index},                   // 28 strx4
    {1, other},                        // 29 addrx1
    {2, other},                        // 2a addrx2
    {3, other},                        // 2b addrx3
    {4, other},                        // 2c addrx4
};

FormRow row_of(uint64_t form) {
  if (form < std::size(kForms)) return kForms[form];
  switch (form) {
    case dwarf::kFormGnuAddrIndex:
      return {kUnsigned, other};
    case dwarf::kFormGnuStrIndex:
      return {kUnsigned, text_index};
    case dwarf::kFormGnuRefAlt:
      return {kOffset, other};
    case dwarf::kFormGnuStrpAlt:
      return {kOffset, foreign_text};
    default:
      return {kUnknown, other};
  }
}

KIV_U128 image(ByteReader &reader, ByteOrder order) {
  KIV_U128 number = {};
  const ByteView bytes = reader.bytes(16);
  if (bytes.size() == 16) kiv_u8_array_to_u128(order == ByteOrder::big, bytes.data(), &number);
  return number;
}

}  // namespace

Status read_form(const Errors &errors, ByteReader &reader, uint64_t form, const KIV_U128 &implicit, UnitFormat format,
                 FormValue *value) {
  FormRow row = row_of(form);
  while (row.shape == kIndirect && reader.ok()) {
    row = row_of(reader.short_leb128());
    if (row.shape == kImplicit) row.shape = kUnknown;  // there is nowhere to take it from
  }
  if (!reader.ok()) return {};
  value->value_class = row.value_class;
  switch (row.shape) {
    case kUnknown:
      return errors.failure("an attribute has an unknown form[|]");
    case kNothing:
      break;
    case kAddress:
      value->number.lo = reader.number(format.address_size);
      break;
    case kOffset:
      value->number.lo = reader.number(format.offset_size);
      break;
    case kInfoOffset:
      value->number.lo = reader.number(format.version == 2 ? format.address_size : format.offset_size);
      break;
    case kUnsigned:
      value->number = reader.unsigned_leb128();
      break;
    case kSigned:
      value->number = reader.signed_leb128();
      break;
    case kText:
      value->bytes = reader.text();
      break;
    case kBlock1:
      value->bytes = reader.bytes(reader.number(1));
      break;
    case kBlock2:
      value->bytes = reader.bytes(reader.number(2));
      break;
    case kBlock4:
      value->bytes = reader.bytes(reader.number(4));
      break;
    case kBlock:
      value->bytes = reader.bytes(reader.short_leb128());
      break;
    case kImplicit:
      value->number = implicit;
      break;
    case 16:
      value->width = 16;
      value->number = image(reader, reader.order());
      break;
    default:
      value->width = row.shape;
      value->number.lo = reader.number(row.shape);
  }
  return {};
}

}  // namespace kiv::inspect
