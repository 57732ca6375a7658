#include "examples/kiv_inspect/type_table.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {
namespace {

// REQUIRES: neither is the program.
int by_contents(const void *key, const void *value) {
  const auto &a = *static_cast<const TypeNode *>(key), &b = *static_cast<const TypeNode *>(value);
  if (a.around != b.around) return compare(a.around->number, b.around->number);
  if (a.kind != b.kind) return compare(a.kind, b.kind);
  const int name = a.name.compare(b.name);
  return name != 0 ? name : compare_values(a.value, b.value);
}

constexpr size_t kNoMatch = SIZE_MAX;

/// How much of the path the names down to a node are, when they are what it starts with.
size_t match(std::string_view path, const TypeNode &node) {
  constexpr std::string_view kSeparator = "::";
  const size_t around = node.around->matched;
  if (around == kNoMatch || node.name.empty()) return around;
  std::string_view rest = path.substr(around);
  if (around > 0) {
    if (!rest.starts_with(kSeparator)) return kNoMatch;
    rest.remove_prefix(kSeparator.size());
  }
  return rest.starts_with(node.name) ? path.size() - rest.size() + node.name.size() : kNoMatch;
}

}  // namespace

Status TypeTable::open(KIV_ALLOCATOR *pool) {
  pool_ = pool;
  known_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_contents, nullptr, nullptr);
  first_ = last_ = place(pool, TypeNode{});
  return known_ != nullptr && first_ != nullptr ? Status{} : errors_.out_of_memory();
}

Status TypeTable::add(TypeNode *around, TypeKind kind, std::string_view name, const ConstantValue &value,
                      TypeNode **node) {
  TypeNode added = {nullptr, around, last_->number + 1, kind, false, name, value, 0};
  *node = static_cast<TypeNode *>(kiv_avl_find(known_, &added));
  if (*node != nullptr) return {};
  if (!name.empty()) added.name = place_text(pool_, name);
  TypeNode *fresh = place(pool_, added);
  if (fresh == nullptr || (added.name.data() == nullptr && !name.empty()) || kiv_avl_insert(known_, fresh) != 0)
    return errors_.out_of_memory();
  around->has_more = true;
  last_->next = fresh;
  last_ = *node = fresh;
  return {};
}

const TypeNode *TypeTable::find(std::string_view name) const {
  const TypeNode *found = nullptr;
  for (TypeNode *node = first_->next; node != nullptr; node = node->next) {
    node->matched = match(name, *node);
    if (node->matched != name.size() || node->name.empty() || node->kind == TypeKind::enumerator) continue;
    if (found == nullptr || (node->has_more && !found->has_more)) found = node;
  }
  return found;
}

}  // namespace kiv::inspect
