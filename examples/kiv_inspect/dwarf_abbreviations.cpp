#include "examples/kiv_inspect/dwarf_abbreviations.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/dwarf_codes.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {
namespace {

constexpr char kCutOff[] = "its abbreviations are cut off[|]";

/// The next name and form of an abbreviation; two zeros, and false, at its end.
bool read_row(ByteReader &reader, AttributeRow *row) {
  *row = {};
  row->name = reader.short_leb128();
  row->form = reader.short_leb128();
  if (row->form == dwarf::kFormImplicitConst) row->implicit = reader.signed_leb128();
  return reader.ok() && (row->name != 0 || row->form != 0);
}

}  // namespace

Status Abbreviations::open(ByteView section, KIV_ALLOCATOR *pool) {
  section_ = section;
  bytes_left_ = uint64_t{section.size()} * 4;
  pool_ = pool;
  tables_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_field<&AbbreviationTable::offset>, nullptr, nullptr);
  codes_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_field<&Abbreviation::code>, nullptr, nullptr);
  return tables_ != nullptr && codes_ != nullptr ? Status{} : errors_.out_of_memory();
}

Status Abbreviations::table_at(uint64_t offset, const AbbreviationTable **table) {
  const AbbreviationTable key = {offset, nullptr};
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
  while (const uint64_t code = reader.short_leb128()) {
    const uint32_t start = reader.at();
    const Status status = read_abbreviation(reader, code, table);
    if (!status.ok()) return status;
    const uint32_t size = reader.at() - start + 1;
    if (size > bytes_left_) return errors_.failure("its abbreviation tables share too many bytes[|]");
    bytes_left_ -= size;
  }
  return reader.ok() ? Status{} : errors_.failure(kCutOff);
}

Status Abbreviations::read_abbreviation(ByteReader &reader, uint64_t code, AbbreviationTable *table) {
  const uint64_t tag = reader.short_leb128();
  const bool has_children = reader.number(1) != 0;
  AttributeRow row;
  uint32_t count = 0;
  for (ByteReader ahead = reader; read_row(ahead, &row);) ++count;
  // A row takes two bytes of the section or more.
  if (count > UINT32_MAX / sizeof(AttributeRow)) return errors_.out_of_memory();
  const auto rows_size = static_cast<uint32_t>(count * sizeof(AttributeRow));
  auto *rows = static_cast<AttributeRow *>(count > 0 ? pool_->alloc(pool_, rows_size) : nullptr);
  auto *abbreviation = place(pool_, Abbreviation{code, tag, has_children, count, rows});
  if (abbreviation == nullptr || (rows == nullptr && count > 0)) return errors_.out_of_memory();
  for (uint32_t i = 0; i < count; ++i) (void)read_row(reader, &rows[i]);
  (void)read_row(reader, &row);  // the end
  if (!reader.ok()) return errors_.failure(kCutOff);
  // Of several with one code the first counts.
  return kiv_avl_shared_insert(codes_, &table->by_code, abbreviation) == 0 ? Status{} : errors_.out_of_memory();
}

const Abbreviation *Abbreviations::find(const AbbreviationTable &table, uint64_t code) const {
  const Abbreviation key = {code, 0, false, 0, nullptr};
  return static_cast<const Abbreviation *>(kiv_avl_shared_find(codes_, table.by_code, &key));
}

}  // namespace kiv::inspect
