#include "examples/kiv_inspect/debug_walk.h"

#include <functional>

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/dwarf_codes.h"

namespace kiv::inspect {
namespace {

int by_place(const void *key, const void *value) {
  const auto &a = *static_cast<const ReferredEntries::Key *>(key);
  const auto &b = *static_cast<const ReferredEntries::Key *>(value);
  if (a.unit != b.unit) return std::less<>()(a.unit, b.unit) ? -1 : 1;
  return compare(a.offset, b.offset);
}

}  // namespace

bool is_scope(uint64_t tag) {
  switch (tag) {
    case dwarf::kNamespace:
    case dwarf::kModule:
    case dwarf::kClassType:
    case dwarf::kStructureType:
    case dwarf::kUnionType:
    case dwarf::kInterfaceType:
    case dwarf::kEnumerationType:
      return true;
    default:
      return false;
  }
}

bool can_be_completed(uint64_t tag) {
  return is_scope(tag) || tag == dwarf::kConstant || tag == dwarf::kVariable || tag == dwarf::kMember;
}

bool is_referred_to(const Unit &unit, const EntryHead &head) {
  const Abbreviation &abbreviation = *head.abbreviation;
  return (abbreviation.is_declaration && can_be_completed(abbreviation.tag)) || is_type_of_unit(unit, head.start);
}

bool ReferredEntries::open(KIV_ALLOCATOR *pool) {
  pool_ = pool;
  entries_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_place, nullptr, nullptr);
  return entries_ != nullptr;
}

Status ReferredEntries::find_key(const DebugInfo &info, const Unit &unit, const Entry &entry, const Key **found) const {
  EntryPlace place;
  const Status status = info.find(unit, entry.completed ? entry.completed : entry.signature, &place);
  const Key key = {place.unit, place.offset};
  *found = static_cast<const Key *>(kiv_avl_find(entries_, &key));
  return status;
}

}  // namespace kiv::inspect
