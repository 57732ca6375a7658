// The debug information of a program: its units, and the entries in them.
//
// Representation. Units are records in a list, in the order of the sections, and in two trees: by the place of their
// header, and type units by signature. Entries are read where they stand, each time anew.
// Cost. An entry that is skipped takes a step for each of its attributes that tells its size by itself, which has a
// byte or more. Entries may refer to each other, and an entry of one byte may have any number of attributes that take
// none. So the attributes of those that are read are counted: 64 for each byte of the sections, far more than a walk of
// a real program takes, and the time for any file is linear. Source: DWARF 5, sections 7.5.1 and 7.5.2; for versions 2
// to 4 their own section 7.5.1.
#ifndef KIV_INSPECT_DEBUG_INFO_H
#define KIV_INSPECT_DEBUG_INFO_H

#include <string_view>

#include "examples/kiv_inspect/debug_sections.h"
#include "examples/kiv_inspect/dwarf_abbreviations.h"
#include "examples/kiv_inspect/dwarf_forms.h"
#include "examples/kiv_inspect/symbol_names.h"

namespace kiv::inspect {

struct Unit {
  Unit *next;
  ByteView bytes;    // of its section, up to the end of the unit
  bool is_in_types;  // in .debug_types rather than in .debug_info
  uint32_t start;    // of its header; offsets count from the section's start
  uint32_t first;    // its first entry
  UnitFormat format;
  const AbbreviationTable *abbreviations;
  uint64_t text_offsets;  // where its part of .debug_str_offsets starts
  uint64_t signature;     // of a type unit
  uint64_t type_offset;   // its type's entry, from the unit's start
};

/// An entry with the attributes that lead to constants.
struct Entry {
  uint32_t start;
  uint64_t tag;  // 0: no entry, but the end of a list of children
  bool has_children;
  FormValue name, type, const_value, byte_size, encoding;
  FormValue origin;        // the entry that this one is an instance of
  FormValue completed;     // the declaration that this one completes
  FormValue signature;     // of the type unit that completes this one
  FormValue text_offsets;  // of a unit's first entry
  bool is_skeleton;        // of a unit whose rest is in another file
};

/// What is at some place of a unit before it is read.
struct EntryHead {
  uint32_t start;
  const Abbreviation *abbreviation;  // null: the end of a list of children
};

/// Where an entry stands.
struct EntryPlace {
  const Unit *unit;
  uint64_t offset;
};

class DebugInfo {
 public:
  /// REQUIRES: the errors outlive this.
  DebugInfo(const Errors &errors, uint32_t file_size, bool (*wants)(const Abbreviation &))
      : errors_(errors), abbreviations_(errors, wants), names_(errors, file_size) {}

  /// Finds the units. REQUIRES: the sections and the pool outlive this.
  Status open(const DebugSections &sections, KIV_ALLOCATOR *pool);

  const Unit *first_unit() const { return first_unit_; }
  const DebugSections &sections() const { return sections_; }

  /// Reads what an entry is. The reader is one of the unit's bytes, and behind the entry afterwards when then either
  /// its attributes are read or skipped.
  Status read_head(const Unit &unit, ByteReader &reader, EntryHead *head) const;
  Status read_attributes(const Unit &unit, const EntryHead &head, ByteReader &reader, Entry *entry);
  Status skip_attributes(const Unit &unit, const EntryHead &head, ByteReader &reader) const;

  /// Reads the entry at an offset of the unit's section.
  Status read_entry(const Unit &unit, uint64_t offset, Entry *entry);

  /// Where a reference leads; a null unit when that is in another file, or when value is no reference.
  Status find(const Unit &unit, const FormValue &value, EntryPlace *place) const;

  /// A text, in whichever section it is; empty for a value that is none.
  Status text(const Unit &unit, const FormValue &value, std::string_view *text);

 private:
  Status read_units(ByteView section, bool is_in_types, KIV_ALLOCATOR *pool);
  Status read_unit_entry(Unit *unit);
  Status indexed_text(const Unit &unit, uint64_t index, std::string_view *text);

  const Errors &errors_;
  DebugSections sections_;
  Abbreviations abbreviations_;
  SymbolNames names_;
  uint64_t attributes_left_ = 0;
  Unit *first_unit_ = nullptr;
  Unit **last_unit_ = &first_unit_;
  KIV_AVL_TREE *by_start_ = nullptr;
  KIV_AVL_TREE *by_signature_ = nullptr;
};

}  // namespace kiv::inspect

#endif
