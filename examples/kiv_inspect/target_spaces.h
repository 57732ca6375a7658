// The memory spaces of a program, and addresses in them.
//
// The first four are those of every program: all of its addresses, and those of its code, data and read-only sections,
// in bytes. Users add more, which have all addresses in units of so many bits.
#ifndef KIV_INSPECT_TARGET_SPACES_H
#define KIV_INSPECT_TARGET_SPACES_H

#include "examples/kiv_inspect/command.h"
#include "examples/kiv_inspect/section_table.h"
#include "examples/kiv_inspect/status.h"
#include "kiv_target_memspace.h"

namespace kiv::inspect {

/// A bit of a program.
struct TargetAddress {
  const KIV_TARGET_MEMSPACE *space = nullptr;
  uint64_t byte = 0;
  uint32_t bit = 0;  // of that byte, 0 to 7
};

class TargetSpaces {
 public:
  /// REQUIRES: errors and allocator outlive this.
  TargetSpaces(const Errors &errors, KIV_ALLOCATOR *allocator)
      : errors_(errors), list_(kiv_target_memspace_list_new(allocator)) {}
  ~TargetSpaces() { kiv_target_memspace_list_delete(list_); }
  TargetSpaces(const TargetSpaces &) = delete;
  TargetSpaces &operator=(const TargetSpaces &) = delete;

  /// Makes the spaces of every program; before all of the following.
  Status open();

  /// Adds the spaces of all options "--space NAME:NUMBER:BITS" and takes these out. False when one makes no sense, or
  /// has a name or a number that another space has. A NAME has letters, digits and "_", and begins with no digit.
  bool take_options(Arguments *arguments);

  /// Whether a text is to be read as a name of symbols, not as an address: not when it begins with a digit, is a
  /// hexadecimal number, or has a single ":" behind a space or in front of such a number.
  bool is_name(const char *text) const;

  enum class Reading { done, malformed, no_space, too_far };

  /// Reads `[SPACE:]HEX`. The address is written only when that is done.
  Reading read(const char *text, TargetAddress *address) const;

  /// What went wrong; REQUIRES: something did.
  Status failure(Reading reading, const KIV_UNICHAR *text) const;

  /// Whether a space has only the addresses of some sections, and whether this is one of them.
  static bool has_sections(const KIV_TARGET_MEMSPACE &space);
  static bool has_section(const KIV_TARGET_MEMSPACE &space, const Section &section);

  uint32_t count() const { return list_->count; }
  const KIV_TARGET_MEMSPACE &operator[](uint32_t index) const { return *list_->memspaces[index]; }

 private:
  enum Extent : uint32_t { kEverything, kCode, kData, kReadOnly };  // the first word of a space's data
  bool add(uint64_t number, std::string_view name, std::string_view as_name, uint32_t bits, Extent extent);
  bool add_option(std::string_view text);
  bool is_prefix(const char *text, size_t length) const;

  const Errors &errors_;
  KIV_TARGET_MEMSPACE_LIST *list_;  // null: without memory
};

}  // namespace kiv::inspect

#endif
