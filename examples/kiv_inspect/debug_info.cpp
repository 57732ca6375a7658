#include "examples/kiv_inspect/debug_info.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/dwarf_codes.h"
#include "examples/kiv_inspect/pool.h"
#include "examples/kiv_inspect/unit_header.h"

namespace kiv::inspect {
namespace {

constexpr char kUnreadableUnit[] = "the unit at offset 0x[0_u64x] of its debug information cannot be read[|]";
constexpr char kCutOff[] = "an entry of its debug information is cut off[|]";

constexpr FormValue Entry::*kFields[] = {nullptr,           &Entry::name,        &Entry::type,   &Entry::const_value,
                                         &Entry::byte_size, &Entry::encoding,    &Entry::origin, &Entry::completed,
                                         &Entry::signature, &Entry::text_offsets};  // by AttributeField

}  // namespace

Status DebugInfo::open(const DebugSections &sections, KIV_ALLOCATOR *pool) {
  sections_ = sections;
  attributes_left_ = (uint64_t{sections.info.size()} + sections.types.size()) * 64;
  by_start_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_field<&Unit::start>, nullptr, nullptr);
  by_signature_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_field<&Unit::signature>, nullptr, nullptr);
  if (by_start_ == nullptr || by_signature_ == nullptr) return errors_.out_of_memory();
  Status status = abbreviations_.open(sections.abbreviations, pool);
  if (status.ok()) status = read_units(sections.info, false, pool);
  if (status.ok()) status = read_units(sections.types, true, pool);
  return status;
}

Status DebugInfo::read_units(ByteView section, bool is_in_types, KIV_ALLOCATOR *pool) {
  for (uint64_t at = 0; at < section.size();) {
    UnitHeader header;
    Status status = read_unit_header(errors_, section, static_cast<uint32_t>(at), is_in_types, &header);
    if (!status.ok()) return errors_.add(status, kUnreadableUnit, at);
    Unit *unit = place(pool, Unit{});
    if (unit == nullptr) return errors_.out_of_memory();
    unit->bytes = section.part(0, header.end).value_or(ByteView());
    unit->is_in_types = is_in_types;
    unit->start = static_cast<uint32_t>(at);
    unit->first = header.first;
    unit->format = header.format;
    unit->signature = header.signature;
    unit->type_offset = header.type_offset;
    status = abbreviations_.table_at(header.abbreviations, unit->format, &unit->abbreviations);
    if (status.ok()) status = read_unit_entry(unit);
    if (!status.ok()) return errors_.add(status, kUnreadableUnit, at);
    if (!is_in_types && kiv_avl_insert(by_start_, unit) != 0) return errors_.out_of_memory();
    // Of several with one signature any will do: they have the same type.
    if (header.has_type && kiv_avl_insert(by_signature_, unit) != 0) return errors_.out_of_memory();
    *last_unit_ = unit;
    last_unit_ = &unit->next;
    at = header.end;
  }
  return {};
}

/// What the first entry says about all.
Status DebugInfo::read_unit_entry(Unit *unit) {
  // Behind the header of the only table that there is, when a unit does not say where its own is.
  unit->text_offsets = unit->format.offset_size == 4 ? 8 : 16;
  if (unit->first == unit->bytes.size()) return {};
  Entry entry;
  const Status status = read_entry(*unit, unit->first, &entry);
  if (!status.ok()) return status;
  if (entry.is_skeleton) return errors_.failure(kSplitDebugInfo);
  if (entry.text_offsets) unit->text_offsets = entry.text_offsets.number.lo;
  return {};
}

Status DebugInfo::read_head(const Unit &unit, ByteReader &reader, EntryHead *head) const {
  *head = {reader.at(), nullptr};
  const uint64_t code = reader.short_leb128();
  if (!reader.ok()) return errors_.failure(kCutOff);
  if (code == 0) return {};
  head->abbreviation = abbreviations_.find(*unit.abbreviations, code);
  if (head->abbreviation != nullptr) return {};
  return errors_.failure("an entry of its debug information has an unknown abbreviation[|]");
}

Status DebugInfo::read_attributes(const Unit &unit, const EntryHead &head, ByteReader &reader, Entry *entry) {
  const Abbreviation &abbreviation = *head.abbreviation;
  *entry = {};
  entry->start = head.start;
  entry->tag = abbreviation.tag;
  entry->has_children = abbreviation.has_children;
  entry->is_skeleton = abbreviation.is_skeleton;
  if (abbreviation.count >= attributes_left_)
    return errors_.failure("its debug information refers too often to the same entries[|]");
  attributes_left_ -= abbreviation.count + 1u;
  for (const AttributeStep *step = abbreviation.reading;; ++step) {
    reader.skip(step->skipped);
    if (step->is_last) break;
    const bool is_wanted = step->field != AttributeField::none;
    const Status status = is_wanted ? read_form(errors_, reader, step->form, step->implicit, unit.format,
                                                &(entry->*kFields[static_cast<int>(step->field)]))
                                    : skip_form(errors_, reader, step->form.shape, unit.format);
    if (!status.ok()) return status;
  }
  return reader.ok() ? Status{} : errors_.failure(kCutOff);
}

Status DebugInfo::skip_attributes(const Unit &unit, const EntryHead &head, ByteReader &reader) const {
  for (const AttributeStep *step = head.abbreviation->skipping;; ++step) {
    reader.skip(step->skipped);
    if (step->is_last) break;
    const Status status = skip_form(errors_, reader, step->form.shape, unit.format);
    if (!status.ok()) return status;
  }
  return reader.ok() ? Status{} : errors_.failure(kCutOff);
}

Status DebugInfo::read_entry(const Unit &unit, uint64_t offset, Entry *entry) {
  *entry = {};
  ByteReader reader(unit.bytes, offset);
  EntryHead head;
  const Status status = read_head(unit, reader, &head);
  return status.ok() && head.abbreviation != nullptr ? read_attributes(unit, head, reader, entry) : status;
}

Status DebugInfo::find(const Unit &unit, const FormValue &value, EntryPlace *place) const {
  *place = {};
  Unit key = {};
  switch (value.value_class) {
    case ValueClass::unit_reference:
      if (value.number.hi != 0 || value.number.lo > UINT32_MAX) break;
      *place = {&unit, unit.start + value.number.lo};
      break;
    case ValueClass::section_reference:
      if (value.number.lo >= sections_.info.size()) break;
      key.start = static_cast<uint32_t>(value.number.lo);
      *place = {static_cast<const Unit *>(kiv_avl_find_largest_less_or_equal(by_start_, &key)), value.number.lo};
      break;
    case ValueClass::signature:
      key.signature = value.number.lo;
      place->unit = static_cast<const Unit *>(kiv_avl_find(by_signature_, &key));
      if (place->unit == nullptr) return {};  // the type may be in a file that is not there
      if (place->unit->type_offset <= UINT32_MAX) place->offset = place->unit->start + place->unit->type_offset;
      break;
    default:
      return {};
  }
  if (place->unit == nullptr || place->offset < place->unit->first || place->offset >= place->unit->bytes.size()) {
    return errors_.failure("a reference in its debug information leads nowhere[|]");
  }
  return {};
}

Status DebugInfo::text(const Unit &unit, const FormValue &value, std::string_view *text) {
  switch (value.value_class) {
    case ValueClass::text:
      *text = value.bytes.text();
      return {};
    case ValueClass::text_offset:
      return names_.read(sections_.strings, value.number.lo, text);
    case ValueClass::line_text_offset:
      return names_.read(sections_.line_strings, value.number.lo, text);
    case ValueClass::text_index:
      return indexed_text(unit, value.number.lo, text);
    case ValueClass::foreign_text:
      return errors_.failure("its debug information has names in another file[|]");
    default:
      return {};
  }
}

Status DebugInfo::indexed_text(const Unit &unit, uint64_t index, std::string_view *text) {
  const uint32_t width = unit.format.offset_size;
  const auto table = sections_.string_offsets.rest(unit.text_offsets);
  const auto entry = table && index < table->size() ? table->part(index * width, width) : std::nullopt;
  if (!entry) return errors_.failure("a name's index lies outside the string offsets[|]");
  return names_.read(sections_.strings, entry->number({0, width}), text);
}

}  // namespace kiv::inspect
