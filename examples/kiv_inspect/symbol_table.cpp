#include "examples/kiv_inspect/symbol_table.h"

#include <algorithm>

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {
namespace {

int compare_rank(const Symbol &a, const Symbol &b) {
  const int kind = compare(a.kind, b.kind);
  return kind != 0 ? kind : compare(a.binding, b.binding);
}

int by_address_and_name(const void *key, const void *value) {
  const auto &a = *static_cast<const Symbol *>(key), &b = *static_cast<const Symbol *>(value);
  const int address = compare(a.address, b.address);
  return address != 0 ? address : a.name.compare(b.name);
}

int by_address_rank_and_name(const void *key, const void *value) {
  const auto &a = *static_cast<const Symbol *>(key), &b = *static_cast<const Symbol *>(value);
  const int address = compare(a.address, b.address);
  if (address != 0) return address;
  const int rank = compare_rank(a, b);
  return rank != 0 ? rank : a.name.compare(b.name);
}

}  // namespace

Status SymbolTable::open(KIV_ALLOCATOR *pool) {
  pool_ = pool;
  in_order_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_address_rank_and_name, nullptr, nullptr);
  by_name_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_address_and_name, nullptr, nullptr);
  return in_order_ != nullptr && by_name_ != nullptr ? Status{} : errors_.out_of_memory();
}

Status SymbolTable::add(const Symbol &symbol) {
  auto *known = static_cast<Symbol *>(kiv_avl_find(by_name_, &symbol));
  if (known == nullptr) {
    known = place(pool_, symbol);
    if (known == nullptr || kiv_avl_insert(by_name_, known) != 0) return errors_.out_of_memory();
    ++count_;
    return kiv_avl_insert(in_order_, known) == 0 ? Status{} : errors_.out_of_memory();
  }
  known->size = std::max(known->size, symbol.size);
  if (compare_rank(symbol, *known) >= 0) return {};
  (void)kiv_avl_detach(in_order_, known);
  known->kind = symbol.kind;
  known->binding = symbol.binding;
  return kiv_avl_insert(in_order_, known) == 0 ? Status{} : errors_.out_of_memory();
}

namespace {

/// A walk from the last symbol to the first.
struct Estimation {
  const SectionTable &sections;
  uint64_t address;  // of the symbols that the walk is at
  uint64_t last;     // in front of the next higher one
};

int estimate_size(void *value, void *context) {
  auto &symbol = *static_cast<Symbol *>(value);
  auto &walk = *static_cast<Estimation *>(context);
  if (symbol.address != walk.address) {
    walk.last = walk.address - 1;
    walk.address = symbol.address;
  }
  if (symbol.size != 0) return 1;
  const Section *section = walk.sections.around(symbol.address);
  if (section != nullptr) symbol.size = std::min(walk.last, section->addresses.last) - symbol.address + 1;
  return 1;
}

}  // namespace

void SymbolTable::estimate_sizes(const SectionTable &sections) {
  const auto *highest = static_cast<const Symbol *>(kiv_avl_largest(in_order_));
  if (highest == nullptr) return;
  Estimation walk = {sections, highest->address, UINT64_MAX};
  kiv_avl_sequential_reverse_walk(in_order_, estimate_size, &walk);
}

const Symbol *SymbolTable::nearest(uint64_t address) const {
  // No symbol is named "", so these keys lie before all symbols at their address.
  const Symbol above = {address + 1, 0, "", SymbolKind::function, SymbolBinding::global};
  const auto *last = static_cast<const Symbol *>(address == UINT64_MAX ? kiv_avl_largest(in_order_)
                                                                       : kiv_avl_find_largest_less(in_order_, &above));
  if (last == nullptr) return nullptr;
  const Symbol first = {last->address, 0, "", SymbolKind::function, SymbolBinding::global};
  return static_cast<const Symbol *>(kiv_avl_find_least_greater(in_order_, &first));
}

void SymbolTable::walk(KIV_AVL_WALK function, void *context) const {
  (void)kiv_avl_conditional_sequential_walk(in_order_, function, context);
}

}  // namespace kiv::inspect
