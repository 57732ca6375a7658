#include "examples/kiv_inspect/dwarf_forms.h"

#include <iterator>

#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {
namespace {

constexpr char kUnknownForm[] = "an attribute has an unknown form[|]";

using enum ValueClass;

constexpr Form kForms[] = {
    {Shape::unknown, other},                  // 00
    {Shape::address, address},                // 01 addr
    {Shape::unknown, other},                  // 02
    {Shape::block2, block},                   // 03 block2
    {Shape::block4, block},                   // 04 block4
    {Shape{2}, data},                         // 05 data2
    {Shape{4}, data},                         // 06 data4
    {Shape{8}, data},                         // 07 data8
    {Shape::text, text},                      // 08 string
    {Shape::block, block},                    // 09 block
    {Shape::block1, block},                   // 0a block1
    {Shape{1}, data},                         // 0b data1
    {Shape{1}, other},                        // 0c flag
    {Shape::signed_leb, signed_number},       // 0d sdata
    {Shape::offset, text_offset},             // 0e strp
    {Shape::unsigned_leb, unsigned_number},   // 0f udata
    {Shape::info_offset, section_reference},  // 10 ref_addr
    {Shape{1}, unit_reference},               // 11 ref1
    {Shape{2}, unit_reference},               // 12 ref2
    {Shape{4}, unit_reference},               // 13 ref4
    {Shape{8}, unit_reference},               // 14 ref8
    {Shape::unsigned_leb, unit_reference},    // 15 ref_udata
    {Shape::indirect, other},                 // 16 indirect
    {Shape::offset, unsigned_number},         // 17 sec_offset
    {Shape::block, block},                    // 18 exprloc
    {Shape::nothing, other},                  // 19 flag_present
    {Shape::unsigned_leb, text_index},        // 1a strx
    {Shape::unsigned_leb, other},             // 1b addrx
    {Shape{4}, other},                        // 1c ref_sup4
    {Shape::offset, foreign_text},            // 1d strp_sup
    {Shape::number16, data},                  // 1e data16
    {Shape::offset, line_text_offset},        // 1f line_strp
    {Shape{8}, signature},                    // 20 ref_sig8
    {Shape::implicit, signed_number},         // 21 implicit_const
    {Shape::unsigned_leb, other},             // 22 loclistx
    {Shape::unsigned_leb, other},             // 23 rnglistx
    {Shape{8}, other},                        // 24 ref_sup8
    {Shape{1}, text_index},                   // 25 strx1
    {Shape{2}, text_index},                   // 26 strx2
    {Shape{3}, text_index},                   // 27 strx3
    {Shape{4}, text_index},                   // 28 strx4
    {Shape{1}, other},                        // 29 addrx1
    {Shape{2}, other},                        // 2a addrx2
    {Shape{3}, other},                        // 2b addrx3
    {Shape{4}, other},                        // 2c addrx4
};

KIV_U128 image(ByteReader &reader, ByteOrder order) {
  KIV_U128 number = {};
  const ByteView bytes = reader.bytes(16);
  if (bytes.size() == 16) kiv_u8_array_to_u128(order == ByteOrder::big, bytes.data(), &number);
  return number;
}

/// The form that stands in front of a value.
Form read_indirect(ByteReader &reader) {
  Form form = {Shape::indirect, other};
  while (form.shape == Shape::indirect && reader.ok()) form = form_of(reader.short_leb128());
  if (form.shape == Shape::implicit) form.shape = Shape::unknown;  // there is nowhere to take it from
  return form;
}

}  // namespace

Form form_of(uint64_t code) {
  if (code < std::size(kForms)) return kForms[code];
  switch (code) {
    case dwarf::kFormGnuAddrIndex:
      return {Shape::unsigned_leb, other};
    case dwarf::kFormGnuStrIndex:
      return {Shape::unsigned_leb, text_index};
    case dwarf::kFormGnuRefAlt:
      return {Shape::offset, other};
    case dwarf::kFormGnuStrpAlt:
      return {Shape::offset, foreign_text};
    default:
      return {Shape::unknown, other};
  }
}

std::optional<uint32_t> size_of(Shape shape, UnitFormat format) {
  switch (shape) {
    case Shape::nothing:
    case Shape::implicit:
      return 0;
    case Shape::address:
      return format.address_size;
    case Shape::offset:
      return format.offset_size;
    case Shape::info_offset:
      return format.version == 2 ? format.address_size : format.offset_size;
    default:
      if (shape == Shape::unknown || shape > Shape::number16) return std::nullopt;
      return static_cast<uint32_t>(shape);
  }
}

Status skip_form(const Errors &errors, ByteReader &reader, Shape shape, UnitFormat format) {
  if (shape == Shape::indirect) shape = read_indirect(reader).shape;
  if (!reader.ok()) return {};
  switch (shape) {
    case Shape::unknown:
      return errors.failure(kUnknownForm);
    case Shape::unsigned_leb:
    case Shape::signed_leb:
      reader.skip_leb128();
      break;
    case Shape::text:
      (void)reader.text();
      break;
    case Shape::block1:
      reader.skip(reader.number(1));
      break;
    case Shape::block2:
      reader.skip(reader.number(2));
      break;
    case Shape::block4:
      reader.skip(reader.number(4));
      break;
    case Shape::block:
      reader.skip(reader.short_leb128());
      break;
    default:
      reader.skip(size_of(shape, format).value_or(0));
  }
  return {};
}

Status read_form(const Errors &errors, ByteReader &reader, Form form, const KIV_U128 *implicit, UnitFormat format,
                 FormValue *value) {
  if (form.shape == Shape::indirect) form = read_indirect(reader);
  if (!reader.ok()) return {};
  value->value_class = form.value_class;
  switch (form.shape) {
    case Shape::unknown:
      return errors.failure(kUnknownForm);
    case Shape::nothing:
      break;
    case Shape::address:
    case Shape::offset:
    case Shape::info_offset:
      value->number.lo = reader.number(size_of(form.shape, format).value_or(0));
      break;
    case Shape::unsigned_leb:
      value->number = reader.unsigned_leb128();
      break;
    case Shape::signed_leb:
      value->number = reader.signed_leb128();
      break;
    case Shape::text:
      value->bytes = reader.text();
      break;
    case Shape::block1:
      value->bytes = reader.bytes(reader.number(1));
      break;
    case Shape::block2:
      value->bytes = reader.bytes(reader.number(2));
      break;
    case Shape::block4:
      value->bytes = reader.bytes(reader.number(4));
      break;
    case Shape::block:
      value->bytes = reader.bytes(reader.short_leb128());
      break;
    case Shape::implicit:
      value->number = *implicit;
      break;
    case Shape::number16:
      value->width = 16;
      value->number = image(reader, reader.order());
      break;
    default:
      value->width = static_cast<uint8_t>(form.shape);
      value->number.lo = reader.number(value->width);
  }
  return {};
}

}  // namespace kiv::inspect
