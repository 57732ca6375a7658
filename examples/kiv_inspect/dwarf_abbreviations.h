// The abbreviations of .debug_abbrev: which attributes, in which forms, the entries with a code have.
//
// Representation. A tree of tables, by offset and the sizes that some forms take from the unit. A table has an array of
// its abbreviations by code, as long as there are abbreviations in it, since producers number them from 1 on; what has
// a greater code is in a tree, and all of these trees share one record. A table is read when a unit first asks for it.
// The attributes of an abbreviation become steps for a reader of its entries: what nobody asks for is skipped at once
// as far as its size is known, and often all of an entry is one step.
// Cost. Constant time for a search, O(log n) compares in files whose codes are not numbered so. Units share tables, but
// tables do not share bytes in real programs: those that overlap may be four times as long together as the section, so
// that reading takes linear time in any file.
// Source: DWARF 5, section 7.5.3.
#ifndef KIV_INSPECT_DWARF_ABBREVIATIONS_H
#define KIV_INSPECT_DWARF_ABBREVIATIONS_H

#include "examples/kiv_inspect/byte_reader.h"
#include "examples/kiv_inspect/dwarf_forms.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_allocator.h"
#include "kiv_avl.h"

namespace kiv::inspect {

/// The attributes whose values somebody asks for.
enum class AttributeField : uint8_t {
  none,
  name,
  type,
  const_value,
  byte_size,
  encoding,
  origin,
  completed,
  signature,
  text_offsets,
};

/// What a reader of an entry does next.
struct AttributeStep {
  uint32_t skipped;  // so many bytes are of no interest; UINT32_MAX: more than there can be
  bool is_last;      // nothing follows these
  Form form;         // of the value behind them
  AttributeField field;
  const KIV_U128 *implicit;  // the value in the form DW_FORM_implicit_const
};

struct Abbreviation {
  Abbreviation *next;  // in the table
  uint64_t code;
  uint64_t tag;
  uint32_t count;   // of its attributes
  uint32_t fields;  // a bit for each AttributeField
  bool has_children;
  bool is_declaration;            // of entries without what completes them
  bool is_skeleton;               // of a unit whose rest is in another file
  bool is_wanted;                 // by the reader
  const AttributeStep *reading;   // the steps that give its fields
  const AttributeStep *skipping;  // those that lead behind them

  bool has(AttributeField field) const { return (fields >> static_cast<int>(field) & 1) != 0; }
};

struct AbbreviationTable {
  uint64_t offset;
  UnitFormat format;             // of the units that have it
  uint32_t count;                // of its abbreviations
  const Abbreviation **by_code;  // those with the codes from 1 to count; null: there is none
  KIV_AVL_NODE *others;
};

class Abbreviations {
 public:
  /// A reader wants the entries with some abbreviations, and skips all others. REQUIRES: the errors outlive this.
  Abbreviations(const Errors &errors, bool (*wants)(const Abbreviation &)) : errors_(errors), wants_(wants) {}

  /// REQUIRES: the pool outlives the tables; nothing is given back to it.
  Status open(ByteView section, KIV_ALLOCATOR *pool);

  /// The table for a unit of that format.
  Status table_at(uint64_t offset, UnitFormat format, const AbbreviationTable **table);

  /// Null when the table does not have the code.
  const Abbreviation *find(const AbbreviationTable &table, uint64_t code) const {
    return code - 1 < table.count ? table.by_code[code - 1] : find_other(table, code);
  }

 private:
  Status read_table(AbbreviationTable *table);
  Status read_abbreviation(ByteReader &reader, UnitFormat format, Abbreviation *abbreviation);
  Status index(Abbreviation *first, AbbreviationTable *table);
  const Abbreviation *find_other(const AbbreviationTable &table, uint64_t code) const;

  const Errors &errors_;
  bool (*wants_)(const Abbreviation &);
  ByteView section_;
  uint64_t bytes_left_ = 0;
  KIV_ALLOCATOR *pool_ = nullptr;
  KIV_AVL_TREE *tables_ = nullptr;
  KIV_AVL_TREE *codes_ = nullptr;  // the record that all tables share
};

}  // namespace kiv::inspect

#endif
