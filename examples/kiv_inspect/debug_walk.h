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

/// Whether an entry with declarations of this tag may be completed by another.
bool can_be_completed(uint64_t tag);

/// Whether the entry at an offset is the type of a type unit.
inline bool is_type_of_unit(const Unit &unit, uint32_t start) { return start == unit.start + unit.type_offset; }

/// Whether other entries of the program may refer to one as that that has its scopes: a declaration of a scope or a
/// constant that they complete, or the type of a type unit, which they declare, not always in its scopes.
bool is_referred_to(const Unit &unit, const EntryHead &head);

/// A walk through the entries of a file, in the order of the sections, those of type units of version 4 first. It goes
/// down and up without a stack but for the levels that the visitor has: one for each entry that it calls a scope. All
/// other entries whose children are being read are only counted.
template <class Level>
class EntryWalk {
 public:
  /// wants tells by their abbreviations which entries are visited; those of types of type units are in any case.
  /// REQUIRES: errors and pool outlive this.
  EntryWalk(FileView file, const Errors &errors, KIV_ALLOCATOR *pool, bool (*wants)(const Abbreviation &))
      : file_(file), errors_(errors), pool_(pool), info_(errors, file.size(), wants) {}

  /// Once. For each entry that is wanted calls
  ///   Status visit(unit, head, reader)
  /// which reads or skips its attributes, and may call enter() if it has children; they follow.
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
  Level &level(uint32_t index) const { return frames_[index].level; }

  /// That of the innermost scope around the current entry, or null.
  Level *innermost() const { return depth_ > 0 ? &frames_[depth_ - 1].level : nullptr; }

  /// The same when the current entry is a child of the scope, or null.
  Level *parent() const { return counted_ == 0 ? innermost() : nullptr; }

  /// Puts a level inside the others, for the children of the current entry.
  Status enter(const Level &level) {
    if (depth_ == kMostLevels) return errors_.failure("the scopes of its debug information are nested too deeply[|]");
    new (&frames_[depth_++]) Frame{level, counted_};
    counted_ = 0;
    return {};
  }

 private:
  struct Frame {
    Level level;
    uint32_t counted;  // entries between this scope and that around it
  };

  Status open() {
    DebugSections sections;
    const Status status = find_debug_sections(errors_, file_, pool_, &sections);
    if (!status.ok()) return status;
    frames_ = static_cast<Frame *>(pool_->alloc(pool_, kMostLevels * sizeof(Frame)));
    return frames_ != nullptr ? info_.open(sections, pool_) : errors_.out_of_memory();
  }

  template <class Visitor>
  Status visit_unit(const Unit &unit, Visitor &visitor) {
    Status status;
    depth_ = counted_ = 0;
    for (ByteReader reader(unit.bytes, unit.first); status.ok() && !reader.at_end();) {
      EntryHead head;
      status = info_.read_head(unit, reader, &head);
      if (!status.ok()) break;
      if (head.abbreviation == nullptr) {
        leave();
        continue;
      }
      const uint32_t depth = depth_;
      if (head.abbreviation->is_wanted || is_type_of_unit(unit, head.start)) {
        status = visitor.visit(unit, head, reader);
      } else {
        status = info_.skip_attributes(unit, head, reader);
      }
      if (head.abbreviation->has_children && depth_ == depth) ++counted_;
    }
    return errors_.add(status, "the unit at offset 0x[0_u32x] of its debug information is damaged[|]", unit.start);
  }

  /// Ends a list of children. Some end lists that nothing began.
  void leave() {
    if (counted_ > 0) {
      --counted_;
    } else if (depth_ > 0) {
      counted_ = frames_[--depth_].counted;
    }
  }

  static constexpr uint32_t kMostLevels = 4096;

  FileView file_;
  const Errors &errors_;
  KIV_ALLOCATOR *pool_;
  DebugInfo info_;
  Frame *frames_ = nullptr;
  uint32_t depth_ = 0;
  uint32_t counted_ = 0;  // entries inside the innermost scope, or in none, that are around the current one
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
  /// For the entry at an offset. False without memory.
  [[nodiscard]] bool add(const Unit &unit, uint32_t start, const Known &known) {
    Row *row = place(pool_, Row{{&unit, start}, known});
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
