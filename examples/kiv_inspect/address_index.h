// What lies where in a program: its sections and symbols by the ranges of addresses that they take.
//
// Representation. A record for each section and symbol, which is a node of an interval tree.
// Cost. O(log n) steps for each of them when the index is made, and for each that is found.
#ifndef KIV_INSPECT_ADDRESS_INDEX_H
#define KIV_INSPECT_ADDRESS_INDEX_H

#include "examples/kiv_inspect/pointer_vector.h"
#include "examples/kiv_inspect/section_table.h"
#include "examples/kiv_inspect/status.h"
#include "examples/kiv_inspect/symbol_table.h"
#include "kiv_ivtree.h"

namespace kiv::inspect {

/// A section or a symbol; the other one is null.
struct Occupant {
  const Section *section;
  const Symbol *symbol;
  uint32_t number;       // sections first, then symbols in the order of their table
  KIV_IVTREE_NODE node;  // from its first to its last address

  AddressRange addresses() const { return {node.low, node.high}; }
  std::string_view name() const { return symbol != nullptr ? symbol->name : section->name; }
  char letter() const { return symbol != nullptr ? letter_of(symbol->kind) : 'S'; }
};

/// By the first address, at one address by number.
int by_first_address(const void *a, const void *b);

class AddressIndex {
 public:
  /// REQUIRES: the errors outlive this.
  explicit AddressIndex(const Errors &errors) : errors_(errors) { (void)kiv_ivtree_new(&tree_, nullptr); }
  AddressIndex(const AddressIndex &) = delete;
  AddressIndex &operator=(const AddressIndex &) = delete;

  /// Memory comes from the pool and is not given back. REQUIRES: sections, symbols and pool outlive this.
  Status open(const SectionTable &sections, const SymbolTable &symbols, KIV_ALLOCATOR *pool);

  /// Appends what shares an address with the range, in no order.
  Status find(AddressRange range, PointerVector<Occupant> *found);

 private:
  bool add(const Section *section, const Symbol *symbol, AddressRange addresses, KIV_ALLOCATOR *pool);

  const Errors &errors_;
  KIV_IVTREE tree_;
  uint32_t count_ = 0;
};

}  // namespace kiv::inspect

#endif
