#include "examples/kiv_inspect/dwarf_abbreviations.h"

#include <algorithm>

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/dwarf_codes.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {
namespace {

constexpr char kCutOff[] = "its abbreviations are cut off[|]";

struct AttributeRow {
  uint64_t name, form;
  KIV_U128 implicit;
};

/// The next name and form of an abbreviation; two zeros, and false, at its end.
bool read_row(ByteReader &reader, AttributeRow *row) {
  *row = {};
  row->name = reader.short_leb128();
  row->form = reader.short_leb128();
  if (row->form == dwarf::kFormImplicitConst) row->implicit = reader.signed_leb128();
  return reader.ok() && (row->name != 0 || row->form != 0);
}

AttributeField field_of(uint64_t attribute) {
  switch (attribute) {
    case dwarf::kName:
      return AttributeField::name;
    case dwarf::kType:
      return AttributeField::type;
    case dwarf::kConstValue:
      return AttributeField::const_value;
    case dwarf::kByteSize:
      return AttributeField::byte_size;
    case dwarf::kEncoding:
      return AttributeField::encoding;
    case dwarf::kAbstractOrigin:
      return AttributeField::origin;
    case dwarf::kSpecification:
      return AttributeField::completed;
    case dwarf::kSignature:
      return AttributeField::signature;
    case dwarf::kStringOffsetsBase:
      return AttributeField::text_offsets;
    default:
      return AttributeField::none;
  }
}

/// Collects the steps of an abbreviation, or only counts them when there is nowhere to put them.
class Steps {
 public:
  Steps(AttributeStep *steps, UnitFormat format) : steps_(steps), format_(format) {}

  void add(Form form, AttributeField field, const KIV_U128 *implicit) {
    const auto size = field == AttributeField::none ? size_of(form.shape, format_) : std::nullopt;
    if (!size) return put({0, false, form, field, implicit});
    skipped_ = static_cast<uint32_t>(std::min<uint64_t>(uint64_t{skipped_} + *size, UINT32_MAX));
  }

  /// Behind the last; then how many there are.
  uint32_t finish() {
    put({0, true, {}, AttributeField::none, nullptr});
    return count_;
  }

 private:
  void put(AttributeStep step) {
    step.skipped = skipped_;
    skipped_ = 0;
    if (steps_ != nullptr) steps_[count_] = step;
    ++count_;
  }

  AttributeStep *steps_;
  UnitFormat format_;
  uint32_t count_ = 0;
  uint32_t skipped_ = 0;
};

/// Two units have their tables in common when the forms have the same sizes in both.
int by_place(const void *key, const void *value) {
  const auto &a = *static_cast<const AbbreviationTable *>(key), &b = *static_cast<const AbbreviationTable *>(value);
  if (a.offset != b.offset) return compare(a.offset, b.offset);
  for (const Shape shape : {Shape::address, Shape::offset, Shape::info_offset}) {
    const int order = compare(size_of(shape, a.format).value_or(0), size_of(shape, b.format).value_or(0));
    if (order != 0) return order;
  }
  return 0;
}

}  // namespace

Status Abbreviations::open(ByteView section, KIV_ALLOCATOR *pool) {
  section_ = section;
  bytes_left_ = uint64_t{section.size()} * 4;
  pool_ = pool;
  tables_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_place, nullptr, nullptr);
  codes_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_field<&Abbreviation::code>, nullptr, nullptr);
  return tables_ != nullptr && codes_ != nullptr ? Status{} : errors_.out_of_memory();
}

Status Abbreviations::table_at(uint64_t offset, UnitFormat format, const AbbreviationTable **table) {
  const AbbreviationTable key = {offset, format, 0, nullptr, nullptr};
  auto *found = static_cast<AbbreviationTable *>(kiv_avl_find(tables_, &key));
  Status status;
  if (found == nullptr) {
    found = place(pool_, key);
    if (found == nullptr) return errors_.out_of_memory();
    status = read_table(found);
    if (status.ok() && kiv_avl_insert(tables_, found) != 0) status = errors_.out_of_memory();
  }
  *table = found;
  return status;
}

Status Abbreviations::read_table(AbbreviationTable *table) {
  ByteReader reader(section_, table->offset);
  Abbreviation *first = nullptr, **last = &first;
  while (const uint64_t code = reader.short_leb128()) {
    const uint32_t start = reader.at();
    Abbreviation *added = place(pool_, Abbreviation{});
    if (added == nullptr) return errors_.out_of_memory();
    added->code = code;
    const Status status = read_abbreviation(reader, table->format, added);
    if (!status.ok()) return status;
    const uint32_t size = reader.at() - start + 1;
    if (size > bytes_left_) return errors_.failure("its abbreviation tables share too many bytes[|]");
    bytes_left_ -= size;
    *last = added;
    last = &added->next;
    ++table->count;
  }
  return reader.ok() ? index(first, table) : errors_.failure(kCutOff);
}

// The rows are read twice: for how many steps there are, and for the steps.
Status Abbreviations::read_abbreviation(ByteReader &reader, UnitFormat format, Abbreviation *abbreviation) {
  abbreviation->tag = reader.short_leb128();
  abbreviation->has_children = reader.number(1) != 0;
  AttributeRow row;
  Steps reading(nullptr, format), skipping(nullptr, format);
  for (ByteReader ahead = reader; read_row(ahead, &row); ++abbreviation->count) {
    const AttributeField field = field_of(row.name);
    const Form form = form_of(row.form);
    reading.add(form, field, nullptr);
    skipping.add(form, AttributeField::none, nullptr);
    abbreviation->fields |= 1u << static_cast<int>(field);
    if (row.name == dwarf::kDeclaration) abbreviation->is_declaration = true;
    if (row.name == dwarf::kDwoName || row.name == dwarf::kGnuDwoName) abbreviation->is_skeleton = true;
  }
  const uint64_t reading_count = reading.finish(), count = reading_count + skipping.finish();
  // A row takes two bytes of the section or more.
  if (count > UINT32_MAX / sizeof(AttributeStep)) return errors_.out_of_memory();
  auto *steps = static_cast<AttributeStep *>(pool_->alloc(pool_, static_cast<uint32_t>(count * sizeof(AttributeStep))));
  if (steps == nullptr) return errors_.out_of_memory();
  reading = Steps(steps, format);
  skipping = Steps(steps + reading_count, format);
  while (read_row(reader, &row)) {
    const AttributeField field = field_of(row.name);
    const Form form = form_of(row.form);
    const bool is_implicit = form.shape == Shape::implicit && field != AttributeField::none;
    const KIV_U128 *implicit = is_implicit ? place(pool_, row.implicit) : nullptr;
    if (is_implicit && implicit == nullptr) return errors_.out_of_memory();
    reading.add(form, field, implicit);
    skipping.add(form, AttributeField::none, nullptr);
  }
  if (!reader.ok()) return errors_.failure(kCutOff);
  (void)reading.finish(), (void)skipping.finish();
  abbreviation->reading = steps;
  abbreviation->skipping = steps + reading_count;
  abbreviation->is_wanted = wants_(*abbreviation);
  return {};
}

// Of several with one code the first counts.
Status Abbreviations::index(Abbreviation *first, AbbreviationTable *table) {
  const uint64_t size = uint64_t{table->count} * sizeof *table->by_code;
  if (table->count == 0) return {};
  if (size > UINT32_MAX) return errors_.out_of_memory();
  table->by_code = static_cast<const Abbreviation **>(pool_->alloc(pool_, static_cast<uint32_t>(size)));
  if (table->by_code == nullptr) return errors_.out_of_memory();
  std::fill_n(table->by_code, table->count, nullptr);
  for (Abbreviation *added = first; added != nullptr; added = added->next) {
    if (added->code <= table->count) {
      const Abbreviation *&slot = table->by_code[added->code - 1];
      if (slot == nullptr) slot = added;
    } else if (kiv_avl_shared_insert(codes_, &table->others, added) != 0) {
      return errors_.out_of_memory();
    }
  }
  return {};
}

const Abbreviation *Abbreviations::find_other(const AbbreviationTable &table, uint64_t code) const {
  Abbreviation key = {};
  key.code = code;
  return static_cast<const Abbreviation *>(kiv_avl_shared_find(codes_, table.others, &key));
}

}  // namespace kiv::inspect
