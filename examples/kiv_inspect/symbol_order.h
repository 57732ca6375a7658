// Symbols in other orders than that of their addresses.
#ifndef KIV_INSPECT_SYMBOL_ORDER_H
#define KIV_INSPECT_SYMBOL_ORDER_H

#include "examples/kiv_inspect/pointer_vector.h"
#include "examples/kiv_inspect/symbol_table.h"
#include "kiv_prq.h"

namespace kiv::inspect {

using SymbolVector = PointerVector<Symbol>;

/// For a vector that is sorted by the bytes of the names; symbols of one name by address.
int by_name_and_address(const void *a, const void *b);

/// The largest of the symbols that are added.
///
/// Representation. A queue with the smallest of them on top, which a larger symbol pushes out. Of equally large ones
/// the first that were added stay.
/// Cost. For the n largest of m symbols, O(n) memory and O(m log n) compares.
class LargestSymbols {
 public:
  LargestSymbols(KIV_ALLOCATOR *allocator, uint64_t most);
  ~LargestSymbols() { kiv_prq_delete(queue_); }
  LargestSymbols(const LargestSymbols &) = delete;
  LargestSymbols &operator=(const LargestSymbols &) = delete;

  /// False without memory. Symbols are not copied.
  [[nodiscard]] bool add(const Symbol &symbol);

  /// Takes them all out, in ascending order. False without memory.
  [[nodiscard]] bool move_to(SymbolVector *symbols);

 private:
  KIV_PRQ *queue_;  // null: without memory
  uint64_t most_;
  uint64_t added_ = 0;
  uint32_t position_ = 0;  // nobody asks where a symbol is in the queue
};

}  // namespace kiv::inspect

#endif
