// The pattern by which a command chooses names.
#ifndef KIV_INSPECT_NAME_PATTERN_H
#define KIV_INSPECT_NAME_PATTERN_H

#include "examples/kiv_inspect/name_text.h"

namespace kiv::inspect {

class NamePattern {
 public:
  explicit NamePattern(KIV_ALLOCATOR *allocator) : text_(allocator) {}

  /// Takes a pattern, or null, which chooses all names. A regular expression chooses names of which it matches a part,
  /// wildcards those that they match as a whole. False without memory.
  [[nodiscard]] bool set(const char *pattern, bool is_regex);

  bool chooses(const KIV_UNICHAR *name) const;

  /// Whether no name has to be asked for.
  bool chooses_all() const { return pattern_ == nullptr; }

 private:
  NameText text_;
  const KIV_UNICHAR *pattern_ = nullptr;
  bool is_regex_ = false;
};

}  // namespace kiv::inspect

#endif
