#include "examples/kiv_inspect/address_index.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {

int by_first_address(const void *a, const void *b) {
  const auto &x = *static_cast<const Occupant *>(a), &y = *static_cast<const Occupant *>(b);
  const int address = compare(x.node.low, y.node.low);
  return address != 0 ? address : compare(x.number, y.number);
}

bool AddressIndex::add(const Section *section, const Symbol *symbol, AddressRange addresses, KIV_ALLOCATOR *pool) {
  auto *occupant = place(pool, Occupant{section, symbol, count_++, {}});
  if (occupant == nullptr) return false;
  (void)kiv_ivtree_insert_node(&tree_, &occupant->node, addresses.first, addresses.last);
  occupant->node.user_data = reinterpret_cast<uintptr_t>(occupant);
  return true;
}

Status AddressIndex::open(const SectionTable &sections, const SymbolTable &symbols, KIV_ALLOCATOR *pool) {
  struct Filling {
    AddressIndex *index;
    KIV_ALLOCATOR *pool;
    int digits;
    int ok;
  } filling = {this, pool, symbols.address_digits, 1};
  sections.walk(
      [](void *value, void *context) {
        const auto *section = static_cast<const Section *>(value);
        auto &f = *static_cast<Filling *>(context);
        return f.ok = f.index->add(section, nullptr, section->addresses, f.pool);
      },
      &filling);
  symbols.walk(
      [](void *value, void *context) {
        const auto *symbol = static_cast<const Symbol *>(value);
        auto &f = *static_cast<Filling *>(context);
        return f.ok = f.ok && f.index->add(nullptr, symbol, symbol->addresses(f.digits), f.pool);
      },
      &filling);
  return filling.ok ? Status{} : errors_.out_of_memory();
}

Status AddressIndex::find(AddressRange range, PointerVector<Occupant> *found) {
  struct Search {
    PointerVector<Occupant> *found;
    int ok;
  } search = {found, 1};
  const int failed = kiv_ivtree_enumerate_overlapping(
      &tree_, nullptr, range.first, range.last,
      [](KIV_IVTREE *, KIV_IVTREE_NODE *node, void *context) {
        auto &s = *static_cast<Search *>(context);
        return s.ok = s.found->append(*reinterpret_cast<const Occupant *>(node->user_data));
      },
      &search);
  return failed == 0 && search.ok ? Status{} : errors_.out_of_memory();
}

}  // namespace kiv::inspect
