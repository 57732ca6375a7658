// The walk through all entries of the debug information, and the declarations on its way that later entries complete.
#ifndef KIV_INSPECT_DEBUG_WALK_H
#define KIV_INSPECT_DEBUG_WALK_H

#include "examples/kiv_inspect/debug_info.h"
#include "examples/kiv_inspect/pool.h"
#include "kiv_avl.h"

namespace kiv::inspect {

/// Entries nest as deep as the blocks and scopes of a program's text.
inline constexpr uint32_t kMostLevels = 4096;

/// Namespaces and the types that have names in them.
bool is_scope(uint64_t tag);

/// Whether other entries of the program refer to an entry as the one that has its scopes: a declaration of a scope or a
/// constant that they complete, or the type of a type unit, which they declare, not always in its scopes.
bool is_referred_to(const Unit &unit, const Entry &entry);

/// The visitor gets each entry, in the order of the sections, and
///   void start()               before the first one of a unit
///   Status visit(unit, entry)  for an entry; what follows are its children if it has any
///   void leave()               at the end of a list of children; also of lists that nothing began
template <class Visitor>
Status walk_entries(DebugInfo &info, const Errors &errors, Visitor &visitor) {
  // The types of version 4 first: they are declared in the other section.
  Status status;
  for (const bool in_types : {true, false}) {
    for (const Unit *unit = info.first_unit(); status.ok() && unit != nullptr; unit = unit->next) {
      if (unit->is_in_types != in_types) continue;
      visitor.start();
      for (uint32_t at = unit->first; status.ok() && at < unit->bytes.size();) {
        Entry entry;
        status = info.read_entry(*unit, at, &entry);
        if (!status.ok()) break;
        at = entry.next;
        if (entry.tag == 0) {
          visitor.leave();
        } else {
          status = visitor.visit(*unit, entry);
        }
      }
      status = errors.add(status, "the unit at offset 0x[0_u32x] of its debug information is damaged[|]", unit->start);
    }
  }
  return status;
}

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
