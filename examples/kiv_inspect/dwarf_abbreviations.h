// The abbreviations of .debug_abbrev: which attributes, in which forms, the entries with a code have.
//
// Representation. A tree of tables by offset, and in each table a tree of its abbreviations by code; all of the trees
// of the second kind share one record. A table is read when a unit first asks for it.
// Cost. O(log n) compares for a search. Units share tables, but tables do not share bytes in real programs: those that
// overlap may be four times as long together as the section, so that reading takes linear time in any file.
// Source: DWARF 5, section 7.5.3.
#ifndef KIV_INSPECT_DWARF_ABBREVIATIONS_H
#define KIV_INSPECT_DWARF_ABBREVIATIONS_H

#include "examples/kiv_inspect/byte_reader.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

struct AttributeRow {
  uint64_t name;
  uint64_t form;
  KIV_U128 implicit;  // the value in the form DW_FORM_implicit_const
};

struct Abbreviation {
  uint64_t code;
  uint64_t tag;
  bool has_children;
  uint32_t count;
  AttributeRow *attributes;
};

struct AbbreviationTable {
  uint64_t offset;
  KIV_AVL_NODE *by_code;
};

class Abbreviations {
 public:
  /// REQUIRES: the errors outlive this.
  explicit Abbreviations(const Errors &errors) : errors_(errors) {}

  /// REQUIRES: the pool outlives the tables; nothing is given back to it.
  Status open(ByteView section, KIV_ALLOCATOR *pool);

  Status table_at(uint64_t offset, const AbbreviationTable **table);

  /// Null when the table does not have the code.
  const Abbreviation *find(const AbbreviationTable &table, uint64_t code) const;

 private:
  Status read_table(AbbreviationTable *table);
  Status read_abbreviation(ByteReader &reader, uint64_t code, AbbreviationTable *table);

  const Errors &errors_;
  ByteView section_;
  uint64_t bytes_left_ = 0;
  KIV_ALLOCATOR *pool_ = nullptr;
  KIV_AVL_TREE *tables_ = nullptr;
  KIV_AVL_TREE *codes_ = nullptr;  // the record that all tables share
};

}  // namespace kiv::inspect

#endif
