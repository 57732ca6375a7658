// Builds debug information entry by entry, and programs that have it, for tests of its reader.
#ifndef KIV_TESTS_EXAMPLES_DWARF_IMAGES_H
#define KIV_TESTS_EXAMPLES_DWARF_IMAGES_H

#include "tests/examples/program_images.h"

namespace kiv::test {

/// An attribute's name, form, and value: a number, or the contents of a text or a block. LEB128 forms take contents,
/// too, for numbers above 64 bits and for damage.
struct DwarfAttribute {
  uint32_t name, form;
  uint64_t value = 0;
  std::string contents = {};
};

struct DwarfShape {
  int version;        // 2 to 5
  bool long_offsets;  // the 64-bit format
  bool wide;          // a 64-bit program
  kiv::inspect::ByteOrder order;
};

/// Every entry gets an abbreviation of its own; all are in one table.
class DwarfBuilder {
 public:
  explicit DwarfBuilder(DwarfShape shape);

  /// Starts a unit of version 5's type 1 (a program's) or 2 (a type's, whose entry is the next), and ends the one
  /// before.
  void begin_unit(uint32_t type = 1, uint64_t signature = 0);
  /// Adds an entry and gives its offset in the unit.
  uint64_t entry(uint32_t tag, bool has_children, const std::vector<DwarfAttribute> &attributes);
  /// Ends a list of children.
  void end_children() { current().put(0, 1); }
  /// Adds a text to .debug_str, or .debug_line_str, and gives its offset.
  uint64_t text(const std::string &text, bool line = false);
  /// Adds a row to .debug_str_offsets.
  void text_index(uint64_t offset) { text_offsets_.put(offset, offset_size()); }

  int offset_size() const { return shape_.long_offsets ? 8 : 4; }
  uint64_t unit_start() const { return unit_start_; }

  /// The sections in a program. Marks are the sections' names.
  Image elf();
  Image pe();

 private:
  void end_unit();
  void put_value(const DwarfAttribute &attribute);
  Image &current() { return in_types_ ? types_ : info_; }
  std::vector<SectionRow> sections();

  DwarfShape shape_;
  Image info_, types_, abbreviations_, strings_, line_strings_, text_offsets_;
  bool in_types_ = false, in_unit_ = false;
  uint64_t unit_start_ = 0;
  uint32_t code_ = 0;
};

}  // namespace kiv::test

#endif
