// The walk through all entries of the debug information, and the declarations on its way that later entries complete.
#ifndef KIV_INSPECT_DEBUG_WALK_H
#define KIV_INSPECT_DEBUG_WALK_H

#include <new>

#include "examples/kiv_inspect/debug_info.h"
#include "examples/kiv_inspect/debug_sections.h"
#include "examples/kiv_inspect/pool.h"
#include "kiv_avl.h"

namespace kiv::inspect {

/// Namespaces and the types that have names in them.
bool is_scope(uint64_t tag);

/// Whether other entries of the program refer to an entry as the one that has its scopes: a declaration of a scope or a
/// constant that they complete, or the type of a type unit, which they declare, not always in its scopes.
bool is_referred_to(const Unit &unit, const Entry &entry);

/// A walk through all entries of a file, in the order of the sections, those of type units of version 4 first. It has a
/// level, which the visitor fills, for each entry whose children are being read, and goes down and up by a stack of its
/// own.
template <class Level>
class EntryWalk {
 public:
  /// REQUIRES: errors and pool outlive this.
  EntryWalk(FileView file, const Errors &errors, KIV_ALLOCATOR *pool)
      : file_(file), errors_(errors), pool_(pool), info_(errors, file.size()) {}

  /// Once. For each entry calls
  ///   Status visit(unit, entry)
  /// which calls enter() if the entry has children; they follow.
  template <class Visitor>
  Status run(Visitor &visitor) {
    Status status = open();
    // The types of version 4 are declared in the other section.
    for (const bool in_types : {true, false}) {
      for (const Unit *unit = info_.first_unit(); status.ok() && unit != nullptr; unit = unit->next) {
        if (unit->is_in_types == in_types) status = visit_unit(*unit, visitor);
      }
    }
    return status;
  }

  DebugInfo &info() { return info_; }
  const DebugInfo &info() const { return info_; }

  /// How many levels are around the current entry.
  uint32_t depth() const { return depth_; }

  /// From the outermost. REQUIRES: index < depth().
  Level &level(uint32_t index) const { return levels_[index]; }

  /// That of the entry around the current one, or null.
  Level *innermost() const { return depth_ > 0 ? &levels_[depth_ - 1] : nullptr; }

  /// Puts a level inside the others, for the children of the current entry.
  Status enter(const Level &level) {
    if (depth_ == kMostLevels) return errors_.failure("the entries of its debug information are nested too deeply[|]");
    new (&levels_[depth_++]) Level(level);
    return {};
  }

 private:
  Status open() {
    DebugSections sections;
    const Status status = find_debug_sections(errors_, file_, pool_, &sections);
    if (!status.ok()) return status;
    levels_ = static_cast<Level *>(pool_->alloc(pool_, kMostLevels * sizeof(Level)));
    return levels_ != nullptr ? info_.open(sections, pool_) : errors_.out_of_memory();
  }

  template <class Visitor>
  Status visit_unit(const Unit &unit, Visitor &visitor) {
    Status status;
    depth_ = 0;
    for (uint32_t at = unit.first; status.ok() && at < unit.bytes.size();) {
      Entry entry;
      status = info_.read_entry(unit, at, &entry);
      if (!status.ok()) break;
      at = entry.next;
      if (entry.tag != 0) {
        status = visitor.visit(unit, entry);
      } else if (depth_ > 0) {  // ends a list of children; some end lists that nothing began
        --depth_;
      }
    }
    return errors_.add(status, "the unit at offset 0x[0_u32x] of its debug information is damaged[|]", unit.start);
  }

  static constexpr uint32_t kMostLevels = 4096;  // entries nest as deep as the blocks and scopes of a program's text

  FileView file_;
  const Errors &errors_;
  KIV_ALLOCATOR *pool_;
  DebugInfo info_;
  Level *levels_ = nullptr;
  uint32_t depth_ = 0;
};

/// Where entries stand that others refer to.
class ReferredEntries {
 public:
  struct Key {
    const Unit *unit;
    uint64_t offset;
  };

  /// False without memory.
  [[nodiscard]] bool open(KIV_ALLOCATOR *pool);

 protected:
  /// The entry that a completing entry, or one that declares the type of a type unit, refers to; null when it is not
  /// there. Declarations come before the entries that complete them, and type units before the others.
  Status find_key(const DebugInfo &info, const Unit &unit, const Entry &entry, const Key **found) const;

  KIV_ALLOCATOR *pool_ = nullptr;
  KIV_AVL_TREE *entries_ = nullptr;
};

/// The same with what a walk knows about each.
template <class Known>
class KnownEntries : public ReferredEntries {
 public:
  /// False without memory.
  [[nodiscard]] bool add(const Unit &unit, const Entry &entry, const Known &known) {
    Row *row = place(pool_, Row{{&unit, entry.start}, known});
    return row != nullptr && kiv_avl_insert(entries_, row) == 0;
  }

  /// What is known about the entry that an entry refers to; null when there is none.
  Status find(const DebugInfo &info, const Unit &unit, const Entry &entry, const Known **known) const {
    const Key *found = nullptr;
    const Status status = find_key(info, unit, entry, &found);
    *known = found != nullptr ? &reinterpret_cast<const Row *>(found)->known : nullptr;
    return status;
  }

 private:
  struct Row {
    Key key;
    Known known;
  };
};

}  // namespace kiv::inspect

#endif
